#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/Polling.h"

#include <optional>
#include <span>

namespace vexa::mesh::detail {

/// The adjacency of a triangle list, straight from its indices.
///
/// Of the half-edges on one edge, the i-th that runs one way and the i-th that runs the other are twins. That is what
/// comes out when the triangles are inserted in order and each half-edge takes the earliest opposite one that is still
/// without a twin. A collapsed triangle is linked to nothing. Each state is the number of twins.
///
/// \param triangles three vertex indices per triangle, none of them 4294967295
/// Cost: linear for meshes, O(n log n) for edges at a vertex that has very many.
CompactGraph pairEdges(std::span<const unsigned int> triangles, const Poll& poll = {});

/// The same for a mesh without an edge at which more than two half-edges of triangles that are not collapsed meet;
/// nothing for any other. No triangle is marked as irregular.
std::optional<CompactGraph> pairManifoldEdges(std::span<const unsigned int> triangles);

/// The adjacency that inserting the triangles into a half-edge graph in their order leaves: a triangle on an edge that
/// already has two is linked to nothing and has `stateSplitOff`. No triangle is marked as irregular.
///
/// \return nothing for more triangles than `maxTriangles`, at most what a compact graph holds
/// Cost: linear for meshes, O(n log n) for edges at a vertex that has very many.
std::optional<CompactGraph> pairInOrder(std::span<const unsigned int> triangles,
                                        std::uint64_t maxTriangles = CompactGraph::maxCount);

} // namespace vexa::mesh::detail
