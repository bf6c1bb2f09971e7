#pragma once

#include <cstddef>
#include <vector>

namespace pictures {

struct Point {
    double x = 0;
    double y = 0;
};

/// A flat piece of a triangle mesh.
struct Patch {
    std::vector<Point> points;
    std::vector<unsigned int> triangles; ///< three counter-clockwise corners each, y pointing up

    [[nodiscard]] std::size_t triangleCount() const { return triangles.size() / 3; }
};

/// A hexagon cut into equilateral triangles, so that six meet at every inner vertex; then random edges are flipped, which
/// leaves vertices where five or seven meet, and the vertices are moved until the triangles look even.
///
/// \param radius edges from the centre to a corner of the hexagon
/// \param flips  edges to flip
Patch makePatch(int radius, unsigned int flips);

} // namespace pictures
