#include "vexa/mesh/detail/strips/ParityRepair.h"

#include <algorithm>

namespace vexa::mesh::detail {

namespace {

/// The two end triangles of a strip, which are the same one if it is alone.
struct Ends {
    TriangleId first;
    TriangleId last;
};

class ParityRepair {
public:
    explicit ParityRepair(StripPartition& partition) : partition_(partition) {}

    /// Whether this is the lower end of a strip that suits odd positions only.
    [[nodiscard]] bool isOddStrip(TriangleId end) const {
        if (partition_.linkCount(end) != 1 || !startsOdd(end)) {
            return false;
        }
        const TriangleId other = walk(partition_.exitOfEnd(end));
        return end < other && startsOdd(other);
    }
    [[nodiscard]] TriangleId otherEnd(TriangleId end) const { return walk(partition_.exitOfEnd(end)); }

    /// Tries to extend a strip by a triangle of another one, which is cut there; returns whether that was done.
    bool extend(TriangleId end);

private:
    /// Whether the strip belongs at an odd position when it starts with this end. Strips of one or two triangles fit
    /// either.
    [[nodiscard]] bool startsOdd(TriangleId end) const {
        return partition_.linkCount(end) == 1 &&
               partition_.turn(partition_.twin(partition_.exitOfEnd(end))) == turnsNext;
    }
    /// The triangle that a strip ends with, from a half-edge that it crosses.
    [[nodiscard]] TriangleId walk(HalfEdgeId leaving) const {
        HalfEdgeId last = leaving;
        while (leaving != noHalfEdge) {
            last = leaving;
            leaving = partition_.follow(leaving);
        }
        return triangleOf(partition_.twin(last));
    }
    [[nodiscard]] Ends endsOf(TriangleId triangle) const;
    /// Repeated indices of the strips that two triangles belong to.
    [[nodiscard]] int countRepeats(TriangleId a, TriangleId b) const;
    [[nodiscard]] int swapAt(HalfEdgeId link) const { return partition_.isSwap(link) ? 1 : 0; }
    [[nodiscard]] bool isOpen(HalfEdgeId link) const {
        HalfEdgeId leaving = partition_.follow(link);
        while (leaving != noHalfEdge && leaving != link) {
            leaving = partition_.follow(leaving);
        }
        return leaving == noHalfEdge;
    }
    bool takeByCutting(HalfEdgeId exit, HalfEdgeId cut);

    StripPartition& partition_;
};

Ends ParityRepair::endsOf(TriangleId triangle) const {
    const EdgeSet links = partition_.links(triangle);
    const std::uint32_t one = linkTables.first[links];
    if (one == noPlace) {
        return {triangle, triangle};
    }
    const std::uint32_t two = linkTables.other[links][one];
    const TriangleId first = walk(halfEdgeOf(triangle, one));
    const TriangleId last = two == noPlace ? triangle : walk(halfEdgeOf(triangle, two));
    return {std::min(first, last), std::max(first, last)};
}

int ParityRepair::countRepeats(TriangleId a, TriangleId b) const {
    const auto repeats = [this](const Ends& ends) { return startsOdd(ends.first) && startsOdd(ends.last) ? 1 : 0; };
    const Ends first = endsOf(a);
    const Ends second = endsOf(b);
    return repeats(first) + (first.first == second.first ? 0 : repeats(second));
}

/// Links the triangle across `exit` after cutting it off at `cut`, if that saves indices.
bool ParityRepair::takeByCutting(HalfEdgeId exit, HalfEdgeId cut) {
    const TriangleId end = triangleOf(exit);
    const HalfEdgeId endLink = partition_.exitOfEnd(end);
    const TriangleId taken = triangleOf(cut);
    const HalfEdgeId kept = halfEdgeOf(taken, linkTables.other[partition_.links(taken)][placeOf(cut)]);
    const HalfEdgeId beyond = partition_.follow(cut);
    const TriangleId newEnd = triangleOf(partition_.twin(cut));
    if (newEnd == end) {
        return false;
    }
    const int swapsBefore = swapAt(cut) + swapAt(kept) + (beyond != noHalfEdge ? swapAt(beyond) : 0);
    const auto take = [&] {
        partition_.cut(cut);
        partition_.link(exit);
    };
    take();
    const int moreSwaps = swapAt(exit) + swapAt(kept) + swapAt(endLink) - swapsBefore;
    // Counting walks along the strips, and mostly there are more swaps.
    const bool isPossible = moreSwaps <= 0 && isOpen(exit);
    const int cost = isPossible ? moreSwaps + countRepeats(end, newEnd) : 0;
    partition_.cut(exit);
    partition_.link(cut);
    if (!isPossible || cost >= countRepeats(end, taken)) {
        return false;
    }
    take();
    return true;
}

bool ParityRepair::extend(TriangleId end) {
    for (std::uint32_t place = 0; place < 3; ++place) {
        const HalfEdgeId exit = halfEdgeOf(end, place);
        const TriangleId taken = triangleOf(partition_.twin(exit));
        const EdgeSet links = partition_.links(taken);
        if (partition_.isLinked(exit) || linkTables.count[links] != 2) {
            continue;
        }
        const std::uint32_t first = linkTables.first[links];
        if (takeByCutting(exit, halfEdgeOf(taken, first)) ||
            takeByCutting(exit, halfEdgeOf(taken, linkTables.other[links][first]))) {
            return true;
        }
    }
    return false;
}

} // namespace

void repairParity(StripPartition& partition, StripMonitor& monitor) {
    constexpr TriangleId pollMask = (1U << 12) - 1;
    ParityRepair repair(partition);
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        if ((triangle & pollMask) == 0 && !monitor.poll(triangle, partition.count())) {
            return;
        }
        if (repair.isOddStrip(triangle)) {
            const TriangleId other = repair.otherEnd(triangle);
            if (!repair.extend(triangle)) {
                repair.extend(other);
            }
        }
    }
}

} // namespace vexa::mesh::detail
