#include "vexa/mesh/detail/graph/GraphNumbering.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>

namespace vexa::mesh::detail {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;
using TriangleList = HalfEdgeGraph::TriangleList;

constexpr std::int8_t largeState = std::numeric_limits<std::int8_t>::max();

bool isLarge(std::int32_t state) {
    return state < std::numeric_limits<std::int8_t>::min() || state >= largeState;
}

std::int8_t compactState(std::int32_t state) {
    return state < 0 ? stateReported : static_cast<std::int8_t>(std::min(state, 3));
}

bool mayBeCentre(const std::vector<HalfEdgeGraph::VertexHalfEdge>& list, std::uint32_t minFanTriangles) {
    return !list.empty() && list.size() >= minFanTriangles && list.front().second != nullptr;
}

/// Prefetches the neighbours of a triangle: each twin, and the start of its triangle, at most 88 bytes earlier.
void prefetchNeighbours(const Triangle& triangle) {
    for (const HalfEdge& halfEdge : triangle.halfEdge) {
        if (halfEdge.twin != nullptr) {
            __builtin_prefetch(halfEdge.twin);
            __builtin_prefetch(reinterpret_cast<const char*>(halfEdge.twin) - offsetof(Triangle, halfEdge[1]));
        }
    }
}

} // namespace

/// The number of triangles to be numbered, and their range of addresses.
struct GraphNumbering::Extent {
    Extent(const HalfEdgeGraph& source, const NumberingOptions& options) {
        add(source.freeTriangles);
        if (options.withClaimed) {
            add(source.claimedTriangles);
        }
        if (options.withStrips) {
            for (const auto& [isReversed, strip] : source.strips) {
                add(*strip);
            }
        }
    }

    void add(const TriangleList& list) {
        for (Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
            lowest = count == 0 || std::less<>()(triangle, lowest) ? triangle : lowest;
            highest = count == 0 || std::less<>()(highest, triangle) ? triangle : highest;
            largeStates += isLarge(triangle->state) ? 1 : 0;
            ++count;
        }
    }

    std::uint64_t count = 0;
    std::uint64_t largeStates = 0;
    Triangle* lowest = nullptr;
    Triangle* highest = nullptr;
};

GraphNumbering::GraphNumbering(const HalfEdgeGraph& source, const NumberingOptions& options)
    : GraphNumbering(source, options, Extent(source, options)) {}

GraphNumbering::GraphNumbering(const HalfEdgeGraph& source, const NumberingOptions& options, const Extent& extent)
    : pointers_(extent.count, extent.lowest, extent.highest), graph_(extent.count) {
    largeStates_.reserve(extent.largeStates);
    if (options.withFans) {
        fanCandidates_.reserve(static_cast<std::size_t>(
            std::count_if(source.vertexHalfEdges.begin(), source.vertexHalfEdges.end(),
                          [&](const auto& list) { return mayBeCentre(list, options.minFanTriangles); })));
    }

    // Nothing from here on throws.
    add(source.freeTriangles);
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
            prefetchNeighbours(*pointers_[id + ahead]);
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
            pointers_[id]->state = initialState(id);
        }
    }
}

void GraphNumbering::add(const TriangleList& list) {
    for (Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
        const std::int32_t state = triangle->state;
        if (isLarge(state)) {
            largeStates_.emplace_back(added_, state);
        }
        graph_[added_].initialState = isLarge(state) ? largeState : static_cast<std::int8_t>(state);
        graph_[added_].state = compactState(state);
        pointers_.set(added_, triangle);
        triangle->state = static_cast<std::int32_t>(added_++);
    }
}

std::int32_t GraphNumbering::initialState(TriangleId id) const {
    if (graph_[id].initialState != largeState) {
        return graph_[id].initialState;
    }
    return std::lower_bound(largeStates_.begin(), largeStates_.end(),
                            std::pair(id, std::numeric_limits<std::int32_t>::min()))
        ->second;
}

std::int32_t GraphNumbering::currentState(TriangleId id) const {
    const std::int8_t state = graph_[id].state;
    return state >= 0 ? state : initialState(id);
}

void GraphNumbering::link(TriangleId id) {
    for (std::size_t place = 0; place < 3; ++place) {
        graph_[id].twin[place] = twinOf(triangle(id).halfEdge[place]);
    }
}

/// The id of a half-edge that its triangle holds, or `noHalfEdge` if the triangle is not numbered.
HalfEdgeId GraphNumbering::find(const HalfEdge& halfEdge) const {
    const Triangle* const triangle = halfEdge.triangle;
    const auto id = static_cast<TriangleId>(triangle->state);
    if (id >= added_ || pointers_[id] != triangle) {
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
    // A triangle outside the lists cannot be taken. Those in strips still count as neighbours when a pass is undone.
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
