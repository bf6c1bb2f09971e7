#include "vexa/mesh/detail/strips/StripPartition.h"

#include "vexa/mesh/detail/strips/TriangleList.h"

#include <utility>

namespace vexa::mesh::detail {

StripPartition::StripPartition(const CompactGraph& graph, std::span<const unsigned int> triangles,
                               LargeVector<TriangleId> order, const Poll& poll)
    : triangles_(std::size_t{graph.count()} + 1), count_(graph.count()), order_(std::move(order)) {
    const LargeVector<TriangleId> ids = newIds(poll);
    const auto renumbered = [&](HalfEdgeId halfEdge) {
        return ids.empty() ? halfEdge : halfEdgeOf(ids[triangleOf(halfEdge)], placeOf(halfEdge));
    };
    forEachPolled(count_, poll, [&](TriangleId id) {
        const unsigned int* const corners = triangles.data() + std::size_t{3} * original(id);
        const bool isLive = !detail::isCollapsed(corners);
        LinkedTriangle& triangle = triangles_[id];
        triangle = {{}, isLive ? EdgeSet{0} : allEdges, 0, 0, 0};
        liveCount_ += isLive ? 1 : 0;
        for (std::uint32_t place = 0; place < 3; ++place) {
            triangle.twin[place] = renumbered(graph[original(id)].twin[place]);
            borderCount_ += isLive && triangle.twin[place] == border() ? 1 : 0;
        }
    });
    triangles_[count_] = {{border(), border(), border()}, allEdges, 0, 0, 0};
}

LargeVector<TriangleId> StripPartition::newIds(const Poll& poll) const {
    // One more for the sentinel.
    LargeVector<TriangleId> ids(order_.empty() ? 0 : order_.size() + 1, count_);
    forEachPolled(static_cast<TriangleId>(order_.size()), poll, [&](TriangleId id) { ids[order_[id]] = id; });
    return ids;
}

void StripPartition::cutAll() {
    for (TriangleId triangle = 0; triangle < count_; ++triangle) {
        triangles_[triangle].links = isCollapsed(triangle) ? allEdges : EdgeSet{0};
    }
}

CompactGraph graphOf(const StripPartition& partition, const Poll& poll) {
    CompactGraph graph(partition.count());
    forEachPolled(partition.count(), poll, [&](TriangleId id) {
        const HalfEdgeId* const twin = partition[id].twin;
        CompactTriangle& triangle = graph[partition.original(id)];
        triangle = {{graph.border(), graph.border(), graph.border()}, 0, 0, 0, false};
        for (std::uint32_t place = 0; place < 3; ++place) {
            if (twin[place] != partition.border()) {
                triangle.twin[place] = halfEdgeOf(partition.original(triangleOf(twin[place])), placeOf(twin[place]));
                ++triangle.state;
                triangle.isIrregular |= triangleOf(twin[place]) == triangleOf(twin[(place + 1) % 3]);
            }
        }
    });
    return graph;
}

LinkSnapshot::LinkSnapshot(const StripPartition& partition) : links_(partition.count()) {
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        links_[triangle] = partition.links(triangle);
    }
}

void LinkSnapshot::restore(StripPartition& partition) const {
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        partition[triangle].links = links_[triangle];
    }
}

HalfEdgeId cutLoop(StripPartition& partition, TriangleId triangle) {
    const HalfEdgeId start = partition.exitOfEnd(triangle);
    HalfEdgeId best = start;
    int mostSwaps = -1;
    HalfEdgeId before = start;
    HalfEdgeId leaving = partition.follow(start);
    do {
        // A cut takes the swap at the edge itself, and those that the two triangles next to it have with others.
        const HalfEdgeId after = partition.follow(leaving);
        const int swaps = (partition.isSwap(before) ? 1 : 0) + (partition.isSwap(leaving) ? 1 : 0) +
                          (partition.isSwap(after) ? 1 : 0);
        if (swaps > mostSwaps) {
            mostSwaps = swaps;
            best = leaving;
        }
        before = leaving;
        leaving = after;
    } while (before != start);
    partition.cut(best);
    return best;
}

void cutLoops(StripPartition& partition, const Poll& poll) {
    std::vector<bool> isOpen(partition.count());
    WorkMeter meter(poll);
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        meter.add(1);
        if (!partition.isEnd(triangle) || isOpen[triangle]) {
            continue;
        }
        isOpen[triangle] = true;
        HalfEdgeId leaving = partition.links(triangle) == 0 ? noHalfEdge : partition.exitOfEnd(triangle);
        for (; leaving != noHalfEdge; leaving = partition.follow(leaving)) {
            meter.add(1);
            isOpen[triangleOf(partition.twin(leaving))] = true;
        }
    }
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        meter.add(1);
        if (isOpen[triangle] || partition.isCollapsed(triangle)) {
            continue;
        }
        HalfEdgeId leaving = partition.twin(cutLoop(partition, triangle));
        for (leaving = partition.exitOfEnd(triangleOf(leaving)); leaving != noHalfEdge;
             leaving = partition.follow(leaving)) {
            meter.add(1);
            isOpen[triangleOf(leaving)] = true;
            isOpen[triangleOf(partition.twin(leaving))] = true;
        }
    }
}

std::uint64_t countExtraIndices(const StripPartition& partition) {
    std::uint64_t ends = 0;
    std::uint64_t swaps = 0;
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        if (!partition.isCollapsed(triangle)) {
            ends += 2 - partition.linkCount(triangle);
            swaps += static_cast<std::uint64_t>(countSwaps(partition, triangle));
        }
    }
    // Every strip has two ends, and every link was seen from both sides.
    return 3 * ends / 2 + swaps / 2;
}

} // namespace vexa::mesh::detail
