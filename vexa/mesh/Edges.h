#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/Mesh.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh {

/// One undirected edge of a triangle list.
struct Edge {
    std::array<std::uint32_t, 2> vertices; ///< lower one first
    std::uint32_t triangleCount;           ///< 1: border; 2: shared; more: non-manifold
    /// The third corners of its first two triangles; the second one is 4294967295 if there is only one triangle.
    std::array<std::uint32_t, 2> opposites;
};

/// Lists the edges of a triangle list, straight from its indices.
///
/// The order is that of first occurrence: a triangle [a b c] contributes a-b, b-c and c-a, in this order, as far as no
/// preceding triangle has them. Triangles with two equal corners are left out. All other triangles count, whatever
/// their winding, also where an edge has more than two and where a triangle is a duplicate.
///
/// May run in several threads at once.
///
/// \param triangles vertex indices, three per triangle; may be empty
/// \return each edge once
/// \throw std::invalid_argument "buildEdges: N indices are not a whole number of triangles", or "buildEdges: index N is
///                              4294967295, which is reserved for primitive restart"
/// \throw std::length_error     more than 1431655764 triangles
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear for surfaces, also where one vertex is in very many triangles; O(n sqrt(n)) if nearly every pair of
/// vertices is an edge.
VEXA_MESH_EXPORT std::vector<Edge> buildEdges(std::span<const unsigned int> triangles);

/// Kinds of edges, as flags: a seam can be a crease, too. Every edge has at least one.
enum class EdgeClass : std::uint8_t {
    Smooth = 1,      ///< two triangles at no more than the crease angle, with the same vertices
    Border = 2,      ///< one triangle
    Crease = 4,      ///< two triangles at more than the crease angle
    Seam = 8,        ///< two triangles with equal positions but different vertices at an end
    NonManifold = 16 ///< more than two triangles
};
constexpr EdgeClass operator|(EdgeClass a, EdgeClass b) {
    return static_cast<EdgeClass>(static_cast<std::uint8_t>(a) | static_cast<std::uint8_t>(b));
}
/// Whether an edge has at least one of some classes.
constexpr bool hasAny(EdgeClass classes, EdgeClass of) {
    return (static_cast<std::uint8_t>(classes) & static_cast<std::uint8_t>(of)) != 0;
}

/// An edge of the surface, of which a seam has two sides.
struct ClassifiedEdge {
    std::array<std::uint32_t, 2> vertices; ///< lower one first; of a seam, those of its first triangle
    EdgeClass classes;
};

/// Options of `classifyEdges`.
struct EdgeOptions {
    float creaseAngle = 0.5235988F; ///< between the normals of two triangles, in radians; 30 degrees
};

/// Classifies the edges of a mesh. Vertices with equal positions count as one, whatever their other attributes.
///
/// Two triangles of opposite winding are compared as if one were turned over. A triangle without an area is at no angle
/// to its neighbours.
///
/// \param mesh    triangles of any type, with positions of three floats; not changed
/// \param options see EdgeOptions
/// \return each edge once, in the order of first occurrence, as `buildEdges`
/// \throw std::invalid_argument the primitive type does not contain triangles, positions of three floats are missing,
///                              the mesh holds an empty pointer, its attributes differ in their number of elements, or
///                              an index is out of range
/// \throw std::length_error     as buildEdges
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<ClassifiedEdge> classifyEdges(const Mesh& mesh, const EdgeOptions& options = {});

/// The edges of some classes as a `LINES` index list: two vertices for each.
///
/// \param classes edges with at least one of them, in order
VEXA_MESH_EXPORT std::vector<unsigned int> toLines(std::span<const ClassifiedEdge> edges, EdgeClass classes);

} // namespace vexa::mesh
