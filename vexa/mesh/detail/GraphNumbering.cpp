#include "vexa/mesh/detail/GraphNumbering.h"

#include <algorithm>
#include <cstddef>

namespace vexa::mesh::detail {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;
using TriangleList = HalfEdgeGraph::TriangleList;

std::uint64_t count(const TriangleList& list) {
    std::uint64_t count = 0;
    for (const Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
        ++count;
    }
    return count;
}

std::uint64_t countNumbered(const HalfEdgeGraph& source, const NumberingOptions& options) {
    std::uint64_t total = count(source.freeTriangles);
    if (options.withClaimed) {
        total += count(source.claimedTriangles);
    }
    if (options.withStrips) {
        for (const auto& [isReversed, strip] : source.strips) {
            total += count(*strip);
        }
    }
    return total;
}

std::int8_t compactState(std::int32_t state) {
    return state < 0 ? stateReported : static_cast<std::int8_t>(std::min(state, 3));
}

bool mayBeCentre(const std::vector<HalfEdgeGraph::VertexHalfEdge>& list, std::uint32_t minFanTriangles) {
    return !list.empty() && list.size() >= minFanTriangles && list.front().second != nullptr;
}

/// Brings the neighbours of a triangle near: where the twin is, and where its triangle begins, which is at most 88
/// bytes before.
void fetchNeighbours(const Triangle& triangle) {
    for (const HalfEdge& halfEdge : triangle.halfEdge) {
        if (halfEdge.twin != nullptr) {
            __builtin_prefetch(halfEdge.twin);
            __builtin_prefetch(reinterpret_cast<const char*>(halfEdge.twin) - offsetof(Triangle, halfEdge[1]));
        }
    }
}

} // namespace

GraphNumbering::GraphNumbering(const HalfEdgeGraph& source, const NumberingOptions& options)
    : graph_(countNumbered(source, options)) {
    triangles_ = LargeArray<Triangle*>(graph_.count());
    states_ = LargeArray<std::int32_t>(graph_.count());
    if (options.withFans) {
        fanCandidates_.reserve(static_cast<std::size_t>(
            std::count_if(source.vertexHalfEdges.begin(), source.vertexHalfEdges.end(),
                          [&](const auto& list) { return mayBeCentre(list, options.minFanTriangles); })));
    }

    // Nothing from here on throws.
    add(source.freeTriangles);
    for (TriangleId id = 0; id < added_; ++id) {
        graph_[id].state = compactState(states_[id]);
    }
    const TriangleId listed = added_;
    if (options.withClaimed) {
        add(source.claimedTriangles);
    }
    freeCount_ = added_;
    if (options.withStrips) {
        for (const auto& [isReversed, strip] : source.strips) {
            add(*strip);
        }
    }
    for (TriangleId id = listed; id < added_; ++id) {
        graph_[id].state = id < freeCount_ ? std::int8_t{0} : stateInStrip;
    }

    constexpr TriangleId ahead = 12;
    for (TriangleId id = 0; id < added_; ++id) {
        if (id + ahead < added_) {
            fetchNeighbours(*triangles_[id + ahead]);
        }
        link(id);
    }
    graph_.findIrregular();
    if (options.withFans) {
        findCandidates(source, options.minFanTriangles);
    }
}

GraphNumbering::~GraphNumbering() {
    if (ownsStates_) {
        for (TriangleId id = 0; id < added_; ++id) {
            triangles_[id]->state = states_[id];
        }
    }
}

std::int32_t GraphNumbering::currentState(TriangleId id) const {
    const std::int8_t state = graph_[id].state;
    return state >= 0 ? state : states_[id];
}

void GraphNumbering::add(const TriangleList& list) {
    for (Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
        triangles_[added_] = triangle;
        states_[added_] = triangle->state;
        triangle->state = static_cast<std::int32_t>(added_++);
    }
}

void GraphNumbering::link(TriangleId id) {
    for (std::size_t place = 0; place < 3; ++place) {
        graph_[id].twin[place] = twinOf(triangles_[id]->halfEdge[place]);
    }
}

/// The id of a half-edge that is one of its triangle's three, or `noHalfEdge` when the triangle is not numbered.
HalfEdgeId GraphNumbering::find(const HalfEdge& halfEdge) const {
    const Triangle* const triangle = halfEdge.triangle;
    const auto id = static_cast<TriangleId>(triangle->state);
    if (id >= added_ || triangles_[id] != triangle) {
        return noHalfEdge;
    }
    return halfEdgeOf(id, static_cast<std::uint32_t>(&halfEdge - triangle->halfEdge));
}

HalfEdgeId GraphNumbering::twinOf(const HalfEdge& halfEdge) const {
    if (halfEdge.twin == nullptr) {
        return graph_.border();
    }
    if (const HalfEdgeId twin = find(*halfEdge.twin); twin != noHalfEdge) {
        return twin;
    }
    // A triangle outside the lists can't be taken; those of strips still count as neighbours when a pass is undone.
    return halfEdge.twin->triangle->state < Triangle::inStrip ? graph_.border() : graph_.claimed();
}

void GraphNumbering::findCandidates(const HalfEdgeGraph& source, std::uint32_t minFanTriangles) {
    for (std::size_t vertex = 0; vertex < source.vertexHalfEdges.size(); ++vertex) {
        const auto& list = source.vertexHalfEdges[vertex];
        if (!mayBeCentre(list, minFanTriangles)) {
            continue;
        }
        if (const HalfEdgeId start = find(*list.front().second); start != noHalfEdge) {
            fanCandidates_.push_back(
                {static_cast<std::uint32_t>(vertex), static_cast<std::uint32_t>(list.size()), start});
        }
    }
}

} // namespace vexa::mesh::detail
