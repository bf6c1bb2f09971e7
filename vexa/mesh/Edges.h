#pragma once

#include "vexa/mesh/Export.h"

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
/// preceding triangle has them. Triangles with two equal corners have no edges. All other triangles count, whatever
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

} // namespace vexa::mesh
