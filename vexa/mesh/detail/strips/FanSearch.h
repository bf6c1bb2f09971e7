#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"

#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// A vertex that may become the centre of a fan.
struct FanCandidate {
    std::uint32_t centre = 0;
    std::uint32_t size = 0; ///< half-edges that start at the centre
    HalfEdgeId start = 0;   ///< the first of them
};

/// The fans that were cut from a graph.
struct FanSet {
    struct Fan {
        std::uint32_t centre;
        HalfEdgeId start; ///< starts at the centre
        std::uint32_t begin;
        std::uint32_t end;
    };

    [[nodiscard]] std::span<const TriangleId> triangles(const Fan& fan) const {
        return {order.data() + fan.begin, order.data() + fan.end};
    }

    std::vector<Fan> fans;
    std::vector<TriangleId> order; ///< triangles of all fans, each fan's in the order of the walk around its centre
    std::uint32_t cost = 0;        ///< indices, by the number of half-edges at the centres
};

/// Every vertex of a triangle list that has enough triangles, in ascending order.
///
/// \param triangles three vertex indices per triangle
std::vector<FanCandidate> findFanCandidates(std::span<const unsigned int> triangles, std::uint32_t minFanTriangles);

/// Takes the free triangles around each candidate, in their order, if they are all free and close a ring.
///
/// Leaves `stateInFan` in them, and one free neighbour less in the triangles around.
FanSet cutFans(CompactGraph& graph, std::span<const FanCandidate> candidates);

} // namespace vexa::mesh::detail
