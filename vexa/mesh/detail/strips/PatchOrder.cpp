#include "vexa/mesh/detail/strips/PatchOrder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vexa::mesh::detail {

namespace {

/// Grows patches breadth-first, one after the other.
///
/// \tparam Adjacency `count()`, `twin(halfEdge)` and whether that `isOutside(twin)`
template <class Adjacency>
class PatchGrowth {
public:
    explicit PatchGrowth(const Adjacency& adjacency) : adjacency_(adjacency), isTaken_(adjacency.count()) {
        order_.reserve(adjacency.count());
    }

    /// The triangles patch by patch. Calls `maxEnd(begin)` for the end of a patch that grows as far as it can.
    template <class MaxEnd>
    LargeVector<TriangleId> run(MaxEnd maxEnd, const Poll& poll) {
        while (order_.size() < adjacency_.count()) {
            if (poll) {
                poll();
            }
            growPatch(nextSeed(), maxEnd(order_.size()));
        }
        return std::move(order_);
    }

private:
    void take(TriangleId triangle) {
        isTaken_[triangle] = 1;
        order_.push_back(triangle);
    }

    void growPatch(TriangleId seed, std::size_t end) {
        const std::size_t begin = order_.size();
        take(seed);
        for (std::size_t i = begin; i < order_.size(); ++i) {
            for (std::uint32_t place = 0; place < 3; ++place) {
                const HalfEdgeId across = adjacency_.twin(halfEdgeOf(order_[i], place));
                const TriangleId neighbour = triangleOf(across);
                if (adjacency_.isOutside(across) || isTaken_[neighbour] != 0) {
                    continue;
                }
                if (order_.size() < end) {
                    take(neighbour);
                } else {
                    seeds_.push_back(neighbour);
                }
            }
        }
    }

    /// A triangle next to an earlier patch if there is one, else the first that is left.
    TriangleId nextSeed() {
        for (; nextSeed_ < seeds_.size(); ++nextSeed_) {
            if (isTaken_[seeds_[nextSeed_]] == 0) {
                return seeds_[nextSeed_];
            }
        }
        seeds_.clear();
        nextSeed_ = 0;
        while (isTaken_[firstLeft_] != 0) {
            ++firstLeft_;
        }
        return firstLeft_;
    }

    Adjacency adjacency_;
    LargeVector<TriangleId> order_;
    LargeVector<std::uint8_t> isTaken_;
    LargeVector<TriangleId> seeds_;
    std::size_t nextSeed_ = 0;
    TriangleId firstLeft_ = 0;
};

struct GraphAdjacency {
    const CompactGraph& graph;

    [[nodiscard]] TriangleId count() const { return graph.count(); }
    [[nodiscard]] HalfEdgeId twin(HalfEdgeId halfEdge) const { return graph.twin(halfEdge); }
    [[nodiscard]] bool isOutside(HalfEdgeId twin) const { return graph.isSentinel(twin); }
};

struct PartitionAdjacency {
    const StripPartition& partition;

    [[nodiscard]] TriangleId count() const { return partition.count(); }
    [[nodiscard]] HalfEdgeId twin(HalfEdgeId halfEdge) const { return partition.twin(halfEdge); }
    [[nodiscard]] bool isOutside(HalfEdgeId twin) const { return twin == partition.border(); }
};

template <class Adjacency>
LargeVector<std::uint32_t> patchesOf(const Adjacency& adjacency, std::uint32_t size, std::uint32_t offset,
                                     const Poll& poll) {
    const auto maxEnd = [=](std::size_t begin) { return ((begin + offset) / size + 1) * size - offset; };
    const LargeVector<TriangleId> order = PatchGrowth(adjacency).run(maxEnd, poll);
    LargeVector<std::uint32_t> patches(order.size());
    forEachPolled(adjacency.count(), poll, [&](std::uint32_t i) { patches[order[i]] = (i + offset) / size; });
    return patches;
}

} // namespace

bool isScattered(const CompactGraph& graph, unsigned percent) {
    constexpr TriangleId smallGraph = 20000;
    constexpr TriangleId farApart = 4096;
    if (graph.count() <= smallGraph) {
        return false;
    }
    std::uint64_t links = 0;
    std::uint64_t farLinks = 0;
    constexpr TriangleId samples = 4096;
    const TriangleId step = 1 + graph.count() / samples;
    for (std::uint64_t triangle = 0; triangle < graph.count(); triangle += step) {
        for (const HalfEdgeId across : graph[static_cast<TriangleId>(triangle)].twin) {
            if (!graph.isSentinel(across)) {
                const std::uint64_t neighbour = triangleOf(across);
                ++links;
                farLinks += std::max(triangle, neighbour) - std::min(triangle, neighbour) > farApart ? 1 : 0;
            }
        }
    }
    return farLinks * 100 > links * percent;
}

LargeVector<TriangleId> patchOrder(const CompactGraph& graph, const Poll& poll) {
    constexpr std::size_t patchSize = 1024;
    return PatchGrowth(GraphAdjacency{graph}).run([](std::size_t begin) { return begin + patchSize; }, poll);
}

LargeVector<std::uint32_t> patchesOf(const CompactGraph& graph, std::uint32_t size, std::uint32_t offset,
                                     const Poll& poll) {
    return patchesOf(GraphAdjacency{graph}, size, offset, poll);
}

LargeVector<std::uint32_t> patchesOf(const StripPartition& partition, std::uint32_t size, std::uint32_t offset,
                                     const Poll& poll) {
    return patchesOf(PartitionAdjacency{partition}, size, offset, poll);
}

} // namespace vexa::mesh::detail
