#include "vexa/mesh/detail/strips/StripLengths.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace vexa::mesh::detail {

namespace {

/// Cuts one strip, given by the half-edges over which it leaves all triangles but the last.
class StripCutter {
public:
    StripCutter(StripPartition& partition, std::uint32_t maxTriangles)
        : partition_(partition), maxTriangles_(maxTriangles) {}

    void cut(const std::vector<HalfEdgeId>& exits) {
        const std::size_t count = exits.size() + 1;
        const std::size_t parts = (count + maxTriangles_ - 1) / maxTriangles_;
        std::size_t begin = 0;
        for (std::size_t part = 1; part < parts; ++part) {
            // What is left must fit into the other parts.
            const std::size_t othersHold = (parts - part) * maxTriangles_;
            const std::size_t lowest = std::max(begin + 1, count - othersHold);
            const std::size_t highest = std::min(begin + maxTriangles_, count - 1);
            begin = findCut(exits, std::clamp(count * part / parts, lowest, highest), lowest, highest);
            partition_.cut(exits[begin - 1]);
        }
    }

private:
    /// The triangles before the cut: as many as wanted, or up to two more or less where that saves a swap.
    [[nodiscard]] std::size_t findCut(const std::vector<HalfEdgeId>& exits, std::size_t wanted, std::size_t lowest,
                                      std::size_t highest) const {
        for (const int offset : {0, -1, 1, -2, 2}) {
            const std::size_t place = wanted + static_cast<std::size_t>(offset);
            if (place >= lowest && place <= highest && partition_.isSwap(exits[place - 1])) {
                return place;
            }
        }
        return wanted;
    }

    StripPartition& partition_;
    std::size_t maxTriangles_;
};

} // namespace

void limitStripLengths(StripPartition& partition, std::uint32_t maxTriangles, const Poll& poll) {
    cutLoops(partition, poll);
    StripCutter cutter(partition, maxTriangles);
    std::vector<HalfEdgeId> exits;
    WorkMeter meter(poll);
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        meter.add(1 + exits.size());
        exits.clear();
        if (partition.linkCount(triangle) != 1) {
            continue;
        }
        for (HalfEdgeId leaving = partition.exitOfEnd(triangle); leaving != noHalfEdge;
             leaving = partition.follow(leaving)) {
            exits.push_back(leaving);
        }
        if (exits.size() >= maxTriangles) {
            cutter.cut(exits);
        }
    }
}

} // namespace vexa::mesh::detail
