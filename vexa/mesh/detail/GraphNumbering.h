#pragma once

#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/CompactGraph.h"
#include "vexa/mesh/detail/FanSearch.h"

#include <cstdint>
#include <vector>

namespace vexa::mesh::detail {

/// A half-edge graph's triangles by id, with their links as ids.
struct GraphNumbering {
    std::vector<HalfEdgeGraph::Triangle*> triangles;
    std::uint32_t freeCount; ///< triangles that are not in stored strips: the first ids
    CompactGraph graph;
    std::vector<FanCandidate> fanCandidates; ///< in the order of their centres
};

struct NumberingOptions {
    bool withClaimed; ///< the claimed triangles too, behind the free ones, as if they had no free neighbour
    bool withStrips;  ///< the triangles of stored strips too, at the end
    bool withFans;    ///< fan candidates
    std::uint32_t minFanTriangles; ///< fewest half-edges at a candidate's centre
};

/// Numbers the triangles in the order of their lists. Whatever is thrown, the source is as it was.
///
/// 	hrow std::length_error more triangles than a compact graph holds
GraphNumbering numberTriangles(const HalfEdgeGraph& source, const NumberingOptions& options);

} // namespace vexa::mesh::detail
