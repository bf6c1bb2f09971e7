#include "vexa/mesh/detail/strips/FanSearch.h"

#include <algorithm>
#include <cstddef>
#include <utility>

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
    // By vertex and then by place in the list, which is the order in which a graph would have entered them.
    std::vector<std::pair<unsigned int, HalfEdgeId>> starts(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        starts[i] = {triangles[i], halfEdgeOf(static_cast<TriangleId>(i / 3), static_cast<std::uint32_t>(i % 3))};
    }
    std::sort(starts.begin(), starts.end());
    std::vector<FanCandidate> candidates;
    for (auto first = starts.begin(); first != starts.end();) {
        const auto end =
            std::find_if(first, starts.end(), [first](const auto& start) { return start.first != first->first; });
        const auto size = static_cast<std::uint32_t>(end - first);
        if (size >= minFanTriangles) {
            candidates.push_back({first->first, size, first->second});
        }
        first = end;
    }
    return candidates;
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
