#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// Small meshes for the tests, as index lists of triangles. All are the same on every run and every platform.
namespace meshes {

using Indices = std::vector<unsigned int>;

struct NamedMesh {
    std::string name;
    Indices indices;
};

/// A seeded generator whose numbers do not depend on the standard library in use.
class Random {
public:
    explicit Random(std::uint32_t seed);
    /// A number from 0 to limit - 1; limit is at least 1.
    unsigned int below(unsigned int limit);
    /// True in the given percentage of calls.
    bool chance(unsigned int percent);

private:
    std::mt19937 engine_;
};

Indices singleTriangle();
Indices twoTriangles();
/// n triangles whose indices as a triangle strip are 0, 1, 2, ... n + 1.
Indices strip(unsigned int n);
/// The indices of a strip of consecutive vertices.
Indices run(unsigned int first, std::size_t count);
/// n triangles around vertex 0, the ring closed. n is at least 2.
Indices closedFan(unsigned int n);
Indices openFan(unsigned int n);
Indices tetrahedron();
Indices octahedron();
Indices icosahedron();
/// 2 * width * height triangles; vertices row by row.
Indices grid(unsigned int width, unsigned int height);
Indices cylinder(unsigned int around, unsigned int height);
/// A grid closed in both directions, 2 * width * height triangles. Both are at least 3 for a manifold.
Indices torus(unsigned int width, unsigned int height);
/// A ball: two poles with fans of the given number of slices and stacks - 2 rings of quads between them.
Indices sphere(unsigned int slices, unsigned int stacks);
/// The ball without its caps and without one column of its quads.
Indices openSphere(unsigned int slices, unsigned int stacks);
/// Two closed fans that share only their centre, vertex 0.
Indices pinchedVertex(unsigned int first, unsigned int second);
Indices doubledSameWinding();
Indices doubledOppositeWinding();
/// Four triangles on the edge 0-1, two in each direction.
Indices fourOnAnEdge();
/// n triangles on the edge 0-1, in alternating directions.
Indices book(unsigned int n);
/// A band of n quads, joined with a half turn: winding cannot agree everywhere. n is at least 3.
Indices moebius(unsigned int n);
/// n triangles that share vertex 0 and no edge.
Indices hub(unsigned int n);
/// n triangles, each touching the next in one corner.
Indices chain(unsigned int n);
/// n triangles that share nothing.
Indices scattered(unsigned int n);
/// n pairs of triangles that share an edge.
Indices pairs(unsigned int n);

/// Triangles with random corners, some of them collapsed.
Indices soup(unsigned int vertexCount, unsigned int triangleCount, std::uint32_t seed);

Indices joined(const Indices& first, const Indices& second);
/// With offset added to every index.
Indices shifted(const Indices& mesh, unsigned int offset);
/// Triangles in random order.
Indices shuffled(const Indices& mesh, std::uint32_t seed);
/// Every triangle starting at a random corner.
Indices turned(const Indices& mesh, std::uint32_t seed);
/// Vertices numbered otherwise, within the numbers in use.
Indices relabelled(const Indices& mesh, std::uint32_t seed);
/// The given percentage of triangles wound the other way.
Indices flipped(const Indices& mesh, unsigned int percent, std::uint32_t seed);
/// The given percentage of triangles with one corner moved onto another.
Indices collapsed(const Indices& mesh, unsigned int percent, std::uint32_t seed);
/// The given percentage of triangles once more at the end, some of them wound the other way.
Indices doubled(const Indices& mesh, unsigned int percent, std::uint32_t seed);
/// Without the given percentage of triangles.
Indices holed(const Indices& mesh, unsigned int percent, std::uint32_t seed);
/// All of the above at once, in moderation.
Indices damaged(const Indices& mesh, std::uint32_t seed);

struct Family {
    std::string name;
    std::vector<NamedMesh> meshes;
};

/// The meshes on which implementations are compared: 0 to 3,000 triangles, whole and damaged in every known way.
/// The families are "Plain", "Knotted" (more than two triangles on an edge, shared edges in plenty, windings that
/// disagree), "Soups", "Variants" (shuffled, flipped, holed and so on) and "Large".
std::vector<Family> families();
/// The meshes of one family; throws std::out_of_range for an unknown name.
std::vector<NamedMesh> family(const std::string& name);
/// The meshes of all families.
std::vector<NamedMesh> suite();

} // namespace meshes
