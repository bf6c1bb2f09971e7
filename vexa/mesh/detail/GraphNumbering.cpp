#include "vexa/mesh/detail/GraphNumbering.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace vexa::mesh::detail {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;
using TriangleList = HalfEdgeGraph::TriangleList;

void collect(std::vector<Triangle*>& triangles, const TriangleList& list) {
    for (Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
        triangles.push_back(triangle);
    }
}

/// While it lives, each triangle's `state` is its id, so that a pointer leads to the id at once.
class IdsInStates {
public:
    explicit IdsInStates(const std::vector<Triangle*>& triangles) : triangles_(triangles), states_(triangles.size()) {
        for (std::size_t id = 0; id < triangles_.size(); ++id) {
            states_[id] = triangles_[id]->state;
            triangles_[id]->state = static_cast<std::int32_t>(id);
        }
    }
    ~IdsInStates() {
        for (std::size_t id = 0; id < triangles_.size(); ++id) {
            triangles_[id]->state = states_[id];
        }
    }
    IdsInStates(const IdsInStates&) = delete;
    IdsInStates& operator=(const IdsInStates&) = delete;

    [[nodiscard]] std::int32_t stateOf(TriangleId id) const { return states_[id]; }

    /// The id of a half-edge that is one of its triangle's three, or `noHalfEdge` when the triangle is not numbered.
    [[nodiscard]] HalfEdgeId find(const HalfEdge& halfEdge) const {
        const Triangle* const triangle = halfEdge.triangle;
        const auto id = static_cast<std::uint32_t>(triangle->state);
        if (id >= triangles_.size() || triangles_[id] != triangle) {
            return noHalfEdge;
        }
        return halfEdgeOf(id, static_cast<std::uint32_t>(&halfEdge - triangle->halfEdge));
    }

private:
    const std::vector<Triangle*>& triangles_;
    std::vector<std::int32_t> states_;
};

std::int8_t compactState(std::int32_t state) {
    return state < 0 ? stateReported : static_cast<std::int8_t>(std::min(state, 3));
}

HalfEdgeId compactTwin(const HalfEdge& halfEdge, const IdsInStates& ids, const CompactGraph& graph) {
    if (halfEdge.twin == nullptr) {
        return graph.border();
    }
    const HalfEdgeId twin = ids.find(*halfEdge.twin);
    if (twin != noHalfEdge) {
        return twin;
    }
    // A triangle outside the lists can't be taken; those of strips still count as neighbours when a pass is undone.
    return halfEdge.twin->triangle->state < Triangle::inStrip ? graph.border() : graph.claimed();
}

std::vector<FanCandidate> findCandidates(const HalfEdgeGraph& source, std::uint32_t minFanTriangles,
                                         const IdsInStates& ids) {
    std::vector<FanCandidate> candidates;
    for (std::size_t vertex = 0; vertex < source.vertexHalfEdges.size(); ++vertex) {
        const auto& list = source.vertexHalfEdges[vertex];
        if (list.empty() || list.size() < minFanTriangles || list.front().second == nullptr) {
            continue;
        }
        if (const HalfEdgeId start = ids.find(*list.front().second); start != noHalfEdge) {
            candidates.push_back({static_cast<std::uint32_t>(vertex), static_cast<std::uint32_t>(list.size()), start});
        }
    }
    return candidates;
}

} // namespace

GraphNumbering numberTriangles(const HalfEdgeGraph& source, const NumberingOptions& options) {
    std::vector<Triangle*> triangles;
    collect(triangles, source.freeTriangles);
    const std::size_t freeListSize = triangles.size();
    if (options.withClaimed) {
        collect(triangles, source.claimedTriangles);
    }
    const std::size_t freeCount = triangles.size();
    if (options.withStrips) {
        for (const auto& [isReversed, strip] : source.strips) {
            collect(triangles, *strip);
        }
    }

    CompactGraph graph(triangles.size());
    GraphNumbering numbering{std::move(triangles), static_cast<std::uint32_t>(freeCount), std::move(graph), {}};
    const IdsInStates ids(numbering.triangles);
    for (TriangleId id = 0; id < numbering.graph.count(); ++id) {
        CompactTriangle& record = numbering.graph[id];
        for (std::size_t place = 0; place < 3; ++place) {
            record.twin[place] = compactTwin(numbering.triangles[id]->halfEdge[place], ids, numbering.graph);
        }
        record.state = id < freeListSize ? compactState(ids.stateOf(id))
                       : id < freeCount  ? std::int8_t{0}
                                         : stateInStrip;
    }
    numbering.graph.findIrregular();
    if (options.withFans) {
        numbering.fanCandidates = findCandidates(source, options.minFanTriangles, ids);
    }
    return numbering;
}

} // namespace vexa::mesh::detail
