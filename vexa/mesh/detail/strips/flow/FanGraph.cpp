#include "vexa/mesh/detail/strips/flow/FanGraph.h"

#include <algorithm>

namespace vexa::mesh::detail {

namespace {

constexpr FanId noFan = ~FanId{0};
constexpr TriangleId pollMask = (1U << 14) - 1;

} // namespace

FanGraph::FanGraph(const StripPartition& partition, StripMonitor& monitor)
    : fanOfCorner_(4 * std::size_t{partition.count()}),
      neighbours_(3 * std::size_t{partition.liveCount()} + partition.borderCount()),
      begins_(3 * std::size_t{partition.liveCount()} + 1), firsts_(3 * std::size_t{partition.liveCount()}),
      states_(3 * std::size_t{partition.liveCount()}) {
    std::fill_n(fanOfCorner_.get(), 4 * std::size_t{partition.count()}, noFan);
    for (TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        if ((triangle & pollMask) == 0) {
            monitor.poll(0.3 * triangle, partition.count());
        }
        if (partition.isCollapsed(triangle)) {
            continue;
        }
        for (std::uint32_t place = 0; place < 3; ++place) {
            if (fanOfCorner_[halfEdgeOf(triangle, place)] == noFan) {
                addFan(partition, halfEdgeOf(triangle, place));
            }
        }
    }
    begins_[count_] = static_cast<std::uint32_t>(listEnd_);
    // Now that every fan has its number, the corners become fans in place.
    forEachPolled(static_cast<std::uint32_t>(listEnd_), monitor.poller(),
                  [this](std::uint32_t i) { neighbours_[i] = fanOfCorner_[neighbours_[i]]; });
    fanOfCorner_ = {};
}

/// Lists, for each edge of the fan that this corner belongs to, the corner at its far end.
void FanGraph::addFan(const StripPartition& partition, HalfEdgeId corner) {
    const FanId id = count_++;
    const std::size_t begin = listEnd_;
    std::size_t end = begin;
    begins_[id] = static_cast<std::uint32_t>(begin);
    firsts_[id] = corner;
    const HalfEdgeId border = partition.border();
    HalfEdgeId spoke = corner;
    do {
        fanOfCorner_[spoke] = id;
        neighbours_[end++] = nextUnpredicted(spoke);
        spoke = partition.twin(prevUnpredicted(spoke));
    } while (spoke != border && spoke != corner);
    std::size_t size = end - begin;
    if (spoke != corner) {
        // Open: the list starts at the border on the other side.
        spoke = corner;
        for (HalfEdgeId across = partition.twin(spoke); across != border; across = partition.twin(spoke)) {
            spoke = nextUnpredicted(across);
            fanOfCorner_[spoke] = id;
            ++size;
        }
        firsts_[id] = spoke | openFan;
        end = begin;
        for (HalfEdgeId next = spoke; next != border; next = partition.twin(prevUnpredicted(spoke))) {
            spoke = next;
            neighbours_[end++] = nextUnpredicted(spoke);
        }
        neighbours_[end++] = prevUnpredicted(spoke);
    }
    const auto charge = static_cast<std::uint8_t>((3 - size % 3) % 3);
    states_[id] = charge;
    chargedCount_ += charge != 0 ? 1 : 0;
    listEnd_ = end;
}

FanGraph::Spoke FanGraph::findSpoke(const StripPartition& partition, FanId fan, std::uint32_t place) const {
    const std::uint32_t size = begins_[fan + 1] - begins_[fan];
    HalfEdgeId spoke = first(fan);
    if ((firsts_[fan] & openFan) != 0) {
        const bool isLast = place == size - 1;
        for (std::uint32_t steps = isLast ? place - 1 : place; steps != 0; --steps) {
            spoke = partition.twin(prevOf(spoke));
        }
        return isLast ? Spoke{prevOf(spoke), false} : Spoke{spoke, true};
    }
    if (2 * place <= size) {
        for (std::uint32_t steps = place; steps != 0; --steps) {
            spoke = partition.twin(prevOf(spoke));
        }
    } else {
        for (std::uint32_t steps = size - place; steps != 0; --steps) {
            spoke = nextOf(partition.twin(spoke));
        }
    }
    return {spoke, true};
}

} // namespace vexa::mesh::detail
