#include "vexa/mesh/detail/strips/Tunnelling.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace vexa::mesh::detail {

namespace {

/// Indices that a join of two strips saves: three of a strip's start and its restart index, and once in a few strips the
/// one for parity, so that a fourth makes the result better.
constexpr int joinValue = 4;

/// Indices that a sequence may cost before its last step.
constexpr int maxDebt = 1;

constexpr int maxDepth = 2;

/// Steps along strips for each triangle, on average, after which a search takes strips that are long both ways for closed
/// ones. No model comes near it; without it, strips as long as the mesh beside many ends would make the search quadratic.
constexpr std::uint64_t maxStepsPerTriangle = 256;
/// Steps of a walk that is always allowed.
constexpr std::uint64_t shortWalk = 64;

class Tunnel {
public:
    Tunnel(StripPartition& partition, TunnelLimits limits, int stripCost)
        : partition_(partition), limits_(limits), stripCost_(stripCost),
          maxWalked_(maxStepsPerTriangle * partition.count()) {}

    /// Looks for a sequence that saves indices and leaves it applied.
    bool extend(TriangleId end) {
        steps_ = limits_.steps;
        linkedCount_ = 0;
        return extend(end, limits_.depth, 0);
    }

    /// Indices that all sequences saved.
    [[nodiscard]] std::uint64_t saved() const { return saved_; }
    /// Triangles that it has walked past.
    [[nodiscard]] std::uint64_t walked() const { return walked_; }

private:
    bool extend(TriangleId end, int depth, int debt) {
        return joinNeighbour(end, debt) || (depth > 0 && takeFromNeighbour(end, depth, debt));
    }

    bool joinNeighbour(TriangleId end, int debt);
    bool takeFromNeighbour(TriangleId end, int depth, int debt);
    bool takeByCutting(HalfEdgeId exit, HalfEdgeId cut, HalfEdgeId kept, int swapsOfTaken, int depth, int debt);

    [[nodiscard]] bool isJoinable(HalfEdgeId exit) const {
        return !partition_.isLinked(exit) && partition_.twin(exit) != partition_.border();
    }
    [[nodiscard]] bool touchesEnd(TriangleId triangle) const {
        // No branch for each: which of them is an end could not be predicted.
        const HalfEdgeId* const twin = partition_[triangle].twin;
        return std::min({partition_.linkCount(triangleOf(twin[0])), partition_.linkCount(triangleOf(twin[1])),
                         partition_.linkCount(triangleOf(twin[2]))}) < 2;
    }
    [[nodiscard]] int swaps(TriangleId triangle) const { return countSwaps(partition_, triangle); }
    [[nodiscard]] int swapAt(HalfEdgeId link) const { return partition_.isSwap(link) ? 1 : 0; }

    /// Whether the strip through a link has an end that can be found. Walks both ways at once: the nearer end decides, and
    /// the memory accesses of the two overlap.
    [[nodiscard]] bool isOpen(HalfEdgeId link) {
        HalfEdgeId ahead = partition_.follow(link);
        HalfEdgeId back = partition_.follow(partition_.twin(link));
        const std::uint64_t last = std::max(maxWalked_, walked_ + shortWalk);
        while (ahead != noHalfEdge && back != noHalfEdge && ahead != link && walked_ != last) {
            ahead = partition_.follow(ahead);
            back = partition_.follow(back);
            ++walked_;
        }
        return ahead == noHalfEdge || back == noHalfEdge;
    }
    [[nodiscard]] bool areAllOpen() {
        for (std::size_t i = linkedCount_; i-- > 0;) {
            if (!isOpen(linked_[i])) {
                return false;
            }
        }
        return true;
    }

    StripPartition& partition_;
    TunnelLimits limits_;
    int stripCost_;
    std::uint64_t saved_ = 0;
    std::uint64_t walked_ = 0;
    std::uint64_t maxWalked_;
    int steps_ = 0;
    std::array<HalfEdgeId, maxDepth + 1> linked_{}; ///< the links that the sequence has made so far
    std::size_t linkedCount_ = 0;
};

bool Tunnel::joinNeighbour(TriangleId end, int debt) {
    for (std::uint32_t place = 0; place < 3; ++place) {
        const HalfEdgeId exit = halfEdgeOf(end, place);
        const TriangleId other = triangleOf(partition_.twin(exit));
        if (!isJoinable(exit) || !partition_.isEnd(other)) {
            continue;
        }
        const bool canClose = linkedCount_ != 0 || (partition_.links(end) != 0 && partition_.links(other) != 0);
        const int before = swaps(end) + swaps(other);
        partition_.link(exit);
        const int after = swaps(end) + swaps(other) - swapAt(exit);
        if (debt + after - before < joinValue) {
            linked_[linkedCount_++] = exit;
            // Walking the whole strip is expensive: only for sequences that pay.
            if (!canClose || areAllOpen()) {
                saved_ += static_cast<std::uint64_t>(stripCost_ - (debt + after - before));
                return true;
            }
            --linkedCount_;
        }
        partition_.cut(exit);
    }
    return false;
}

bool Tunnel::takeFromNeighbour(TriangleId end, int depth, int debt) {
    for (std::uint32_t place = 0; place < 3; ++place) {
        const HalfEdgeId exit = halfEdgeOf(end, place);
        if (!isJoinable(exit)) {
            continue;
        }
        const TriangleId taken = triangleOf(partition_.twin(exit));
        const EdgeSet links = partition_.links(taken);
        if (linkTables.count[links] != 2) {
            continue;
        }
        if (--steps_ < 0) {
            return false;
        }
        const std::uint32_t first = linkTables.first[links];
        const HalfEdgeId one = halfEdgeOf(taken, first);
        const HalfEdgeId other = halfEdgeOf(taken, linkTables.other[links][first]);
        const int swapsOfTaken = swapAt(one) + swapAt(other);
        if (takeByCutting(exit, one, other, swapsOfTaken, depth, debt) ||
            takeByCutting(exit, other, one, swapsOfTaken, depth, debt)) {
            return true;
        }
    }
    return false;
}

/// Links the triangle across `exit`, after cutting it off at `cut`, one of its own two links. The other one is `kept`.
bool Tunnel::takeByCutting(HalfEdgeId exit, HalfEdgeId cut, HalfEdgeId kept, int swapsOfTaken, int depth, int debt) {
    const TriangleId end = triangleOf(exit);
    const EdgeSet endLinks = partition_.links(end);
    const HalfEdgeId beyond = partition_.follow(cut);
    const TriangleId newEnd = triangleOf(partition_.twin(cut));
    const int before = swapsOfTaken + (beyond != noHalfEdge ? swapAt(beyond) : 0);
    // With the last move, only a join or the swaps removed can pay.
    if (depth == 1 && debt >= before && !touchesEnd(newEnd)) {
        return false;
    }
    partition_.cut(cut);
    partition_.link(exit);
    const int after =
        swapAt(exit) + swapAt(kept) + (endLinks != 0 ? swapAt(halfEdgeOf(end, linkTables.first[endLinks])) : 0);
    const int newDebt = debt + after - before;
    if (newDebt <= maxDebt) {
        linked_[linkedCount_++] = exit;
        if (newDebt < 0 ? areAllOpen() : extend(newEnd, depth - 1, newDebt)) {
            saved_ += static_cast<std::uint64_t>(std::max(-newDebt, 0));
            return true;
        }
        --linkedCount_;
    }
    partition_.cut(exit);
    partition_.link(cut);
    return false;
}

} // namespace

std::uint64_t tunnel(StripPartition& partition, TunnelLimits limits, int stripCost, StripMonitor& monitor) {
    constexpr int attempts = 4;
    Tunnel tunnel(partition, limits, stripCost);
    // As a step along a strip costs less than a look at a triangle.
    constexpr std::uint64_t stepsPerTriangle = 8;
    std::uint64_t walked = 0;
    TriangleId nextPoll = 0;
    for (TriangleId triangle = 0; triangle < partition.count() && tunnel.saved() < limits.saving; ++triangle) {
        if (triangle >= nextPoll || tunnel.walked() - walked > stepsPerTriangle * pollInterval) {
            if (!monitor.poll(triangle, partition.count())) {
                break;
            }
            walked = tunnel.walked();
            nextPoll = triangle + pollInterval;
        }
        for (int i = 0; i < attempts && partition.isEnd(triangle) && tunnel.extend(triangle); ++i) {
        }
    }
    return tunnel.saved();
}

} // namespace vexa::mesh::detail
