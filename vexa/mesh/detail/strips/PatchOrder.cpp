#include "vexa/mesh/detail/strips/PatchOrder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vexa::mesh::detail {

namespace {

/// Grows patches breadth-first, one after the other.
class PatchGrowth {
public:
    explicit PatchGrowth(const CompactGraph& graph) : graph_(graph), isTaken_(graph.count()) {
        order_.reserve(graph.count());
    }

    std::vector<TriangleId> run(const Poll& poll) {
        while (order_.size() < graph_.count()) {
            if (poll) {
                poll();
            }
            growPatch(nextSeed());
        }
        return std::move(order_);
    }

private:
    static constexpr std::size_t patchSize = 1024;

    void take(TriangleId triangle) {
        isTaken_[triangle] = 1;
        order_.push_back(triangle);
    }

    void growPatch(TriangleId seed) {
        const std::size_t begin = order_.size();
        take(seed);
        for (std::size_t i = begin; i < order_.size(); ++i) {
            for (const HalfEdgeId across : graph_[order_[i]].twin) {
                const TriangleId neighbour = triangleOf(across);
                if (graph_.isSentinel(across) || isTaken_[neighbour] != 0) {
                    continue;
                }
                if (order_.size() - begin < patchSize) {
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

    const CompactGraph& graph_;
    std::vector<TriangleId> order_;
    std::vector<std::uint8_t> isTaken_;
    std::vector<TriangleId> seeds_;
    std::size_t nextSeed_ = 0;
    TriangleId firstLeft_ = 0;
};

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

std::vector<TriangleId> patchOrder(const CompactGraph& graph, const Poll& poll) {
    return PatchGrowth(graph).run(poll);
}

} // namespace vexa::mesh::detail
