#include "vexa/mesh/detail/strips/FanSearch.h"

#include "vexa/mesh/detail/strips/DenseIndices.h"

#include <algorithm>
#include <cstddef>

namespace vexa::mesh::detail {

namespace {

/// The half-edge that leaves the same vertex in the next triangle around it.
HalfEdgeId nextSpoke(const CompactGraph& graph, HalfEdgeId spoke) {
    return graph.twin(prevOf(spoke));
}

/// Whether the triangles around the vertex at which a half-edge starts are all free and close a ring.
bool isFreeRing(const CompactGraph& graph, HalfEdgeId start) {
    // The sentinels have negative states: a border is not a free triangle.
    HalfEdgeId spoke = start;
    do {
        if (graph.state(spoke) < 0) {
            return false;
        }
        spoke = nextSpoke(graph, spoke);
    } while (spoke != start);
    return true;
}

void claim(CompactGraph& graph, TriangleId triangle) {
    for (const HalfEdgeId across : graph[triangle].twin) {
        std::int8_t& state = graph[triangleOf(across)].state;
        if (state > 0) {
            --state;
        }
    }
    graph[triangle].state = stateInFan;
}

} // namespace

std::vector<FanCandidate> findFanCandidates(std::span<const unsigned int> triangles, std::uint32_t minFanTriangles) {
    const DenseIndices dense(triangles);
    // In the order of the list, in which a graph would have entered the half-edges: the first one is the start.
    std::vector<FanCandidate> all(dense.vertexCount());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        FanCandidate& candidate = all[dense.indices()[i]];
        if (candidate.size++ == 0) {
            candidate.centre = triangles[i];
            candidate.start = halfEdgeOf(static_cast<TriangleId>(i / 3), static_cast<std::uint32_t>(i % 3));
        }
    }
    const std::uint32_t minSize = std::max(minFanTriangles, 1U);
    std::erase_if(all, [minSize](const FanCandidate& candidate) { return candidate.size < minSize; });
    return all;
}

FanSet cutFans(CompactGraph& graph, std::span<const FanCandidate> candidates) {
    FanSet set;
    for (const FanCandidate& candidate : candidates) {
        if (!isFreeRing(graph, candidate.start)) {
            continue;
        }
        const auto begin = static_cast<std::uint32_t>(set.order.size());
        HalfEdgeId spoke = candidate.start;
        do {
            set.order.push_back(triangleOf(spoke));
            claim(graph, triangleOf(spoke));
            spoke = nextSpoke(graph, spoke);
        } while (spoke != candidate.start);
        set.fans.push_back({candidate.centre, candidate.start, begin, static_cast<std::uint32_t>(set.order.size())});
        set.cost += candidate.size + 2;
    }
    return set;
}

} // namespace vexa::mesh::detail
