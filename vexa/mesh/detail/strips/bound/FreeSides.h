#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"

#include <span>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

/// Two triangles that a strip may join across an edge that more than two triangles share.
using TrianglePair = std::pair<TriangleId, TriangleId>;

/// Whether the twin of a half-edge says that nothing is known of its side: any of several triangles may be linked there.
inline bool isFreeSide(const CompactGraph& graph, HalfEdgeId twin) {
    return twin == graph.claimed();
}

/// Gives the half-edges at every edge where a strip can choose between several neighbours the twin `claimed()` in place
/// of the one that pairing them in order gave. Edges whose half-edges all run the same way stay borders.
///
/// \return pairs of the triangles at those edges, enough to join all that meet at one
/// Cost: O(n log n).
std::vector<TrianglePair> freeSharedSides(CompactGraph& graph, std::span<const unsigned int> triangles);

} // namespace vexa::mesh::detail
