#pragma once

#include "PatchMesh.h"
#include "Svg.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>
#include <vexa/mesh/Strips.h>

namespace pictures {

/// Maps a patch into a square of the drawing.
class Frame {
public:
    /// \param centre of the square, in pixels
    Frame(const Patch& patch, const Point& centre, double size);

    [[nodiscard]] Point operator()(const Point& point) const {
        return {centre_.x + scale_ * (point.x - middle_.x), centre_.y - scale_ * (point.y - middle_.y)};
    }
    /// Pixels of an edge of the regular lattice.
    [[nodiscard]] double scale() const { return scale_; }

private:
    Point centre_;
    Point middle_;
    double scale_;
};

using Corners = std::array<unsigned int, 3>;

/// A strip's triangles in order, and which of them are followed by a repeated index.
struct DecodedStrip {
    std::vector<Corners> triangles;
    std::vector<std::size_t> swaps;
};

DecodedStrip decodeStrip(const std::vector<unsigned int>& indices);

Point middleOf(const Patch& patch, const Corners& corners);
/// The middle of the edge that two triangles share.
Point gateOf(const Patch& patch, const Corners& a, const Corners& b);

/// Draws the triangles, all in one colour.
void drawMesh(Svg& svg, const Patch& patch, const Frame& frame);

/// Draws each strip in a colour of its own, with a line through its triangles, a dot at either end and a mark where an
/// index is repeated.
void drawStrips(Svg& svg, const Patch& patch, const Frame& frame,
                const std::vector<vexa::mesh::IndexedPrimitive>& strips);

/// "216 triangles, 12 strips, ..." for a caption.
std::string countsOf(const Patch& patch, const std::vector<vexa::mesh::IndexedPrimitive>& strips);

} // namespace pictures
