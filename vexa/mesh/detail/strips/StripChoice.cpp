#include "vexa/mesh/detail/strips/StripChoice.h"

#include <cstddef>

namespace vexa::mesh::detail {

void StripChoice::keepBetter(StripPartition& partition, const LinkSnapshot& earlier, const Poll& poll) {
    isSeen_.assign(partition.count(), false);
    WorkMeter meter(poll);
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        meter.add(1);
        if (earlier.links(triangle) == partition.links(triangle) || isSeen_[triangle]) {
            continue;
        }
        collect(partition, earlier, triangle);
        meter.add(set_.size());
        const std::uint64_t now = countTwice(partition);
        links_.clear();
        for (const TriangleId member : set_) {
            links_.push_back(partition.links(member));
            partition[member].links = earlier.links(member);
        }
        if (countTwice(partition) < now) {
            continue;
        }
        for (std::size_t i = 0; i < set_.size(); ++i) {
            partition[set_[i]].links = links_[i];
        }
    }
}

/// Lists the triangles that strips of either way join with one.
void StripChoice::collect(const StripPartition& partition, const LinkSnapshot& earlier, TriangleId start) {
    set_.assign(1, start);
    isSeen_[start] = true;
    for (std::size_t i = 0; i < set_.size(); ++i) {
        const std::uint32_t links = partition.links(set_[i]) | earlier.links(set_[i]);
        for (std::uint32_t place = 0; place < 3; ++place) {
            const TriangleId neighbour = triangleOf(partition.twin(halfEdgeOf(set_[i], place)));
            if ((links >> place & 1) != 0 && !isSeen_[neighbour]) {
                isSeen_[neighbour] = true;
                set_.push_back(neighbour);
            }
        }
    }
}

/// Twice the indices of the strips of the set, beyond one a triangle.
std::uint64_t StripChoice::countTwice(const StripPartition& partition) const {
    const std::uint64_t stripCost = join_ == StripJoin::Restart ? 3 : 4;
    std::uint64_t count = 0;
    for (const TriangleId triangle : set_) {
        // Every strip has two ends, and every link is seen from both sides.
        count += stripCost * (2 - partition.linkCount(triangle));
        count += static_cast<std::uint64_t>(countSwaps(partition, triangle));
        count += join_ == StripJoin::Restart && repeatsIndex(partition, triangle) ? 1 : 0;
    }
    return count;
}

/// Whether this is an end of a strip that suits odd positions only, from either end.
bool StripChoice::repeatsIndex(const StripPartition& partition, TriangleId end) const {
    const auto startsOdd = [&](TriangleId triangle) {
        return partition.turn(partition.twin(partition.exitOfEnd(triangle))) == turnsNext;
    };
    if (partition.linkCount(end) != 1 || !startsOdd(end)) {
        return false;
    }
    HalfEdgeId last = noHalfEdge;
    for (HalfEdgeId leaving = partition.exitOfEnd(end); leaving != noHalfEdge; leaving = partition.follow(leaving)) {
        last = leaving;
    }
    return startsOdd(triangleOf(partition.twin(last)));
}

} // namespace vexa::mesh::detail
