#include "vexa/mesh/detail/strips/GreedyCounts.h"

#include "vexa/mesh/detail/strips/StripWalk.h"

#include <cstddef>

namespace vexa::mesh::detail {

namespace {

/// The indices of one strip.
struct Written {
    std::uint64_t count;       ///< if it begins at the parity that it suits
    std::uint64_t evenPenalty; ///< 1 if it does not suit an even position from its first triangle
};

Written measure(std::span<const StripTriangle> strip) {
    // The second triangle is the first that has a turn, and the last one has none.
    std::uint64_t swaps = 0;
    for (std::size_t i = 2; i + 1 < strip.size(); ++i) {
        swaps += placeOf(strip[i]) == placeOf(strip[i - 1]) ? 1 : 0;
    }
    const bool startsOdd = strip.size() > 2 && placeOf(strip[1]) == leavesAfter;
    return {strip.size() + 2 + swaps, startsOdd ? 1U : 0U};
}

/// First and last index of a strip.
struct Tips {
    unsigned int first;
    unsigned int last;
};

Tips tipsOf(const CompactGraph& graph, const ListCorners& corners, std::span<const StripTriangle> strip) {
    const HalfEdgeId exit = strip.front();
    if (strip.size() == 1) {
        return {corners.apex(exit), corners.to(exit)};
    }
    const HalfEdgeId lastExit =
        strip.size() == 2 ? exit : findExit(graph, triangleOf(strip[strip.size() - 2]), triangleOf(strip.back()));
    return {corners.apex(exit), corners.apex(graph.twin(lastExit))};
}

/// Adds up strips as `joinStrips` joins them by degenerate triangles.
class PlainJoin {
public:
    void add(const Tips& tips, std::uint64_t count) {
        if (count_ != 0) {
            count_ += last_ != tips.first ? 2 : 0;
            count_ += count_ % 2;
        }
        count_ += count;
        last_ = tips.last;
    }
    [[nodiscard]] std::uint64_t count() const { return count_; }

private:
    std::uint64_t count_ = 0;
    unsigned int last_ = 0;
};

} // namespace

GreedyCounts countGreedy(const CompactGraph& graph, std::span<const unsigned int> triangles, const StripSet& strips,
                         StripJoin join, const Poll& poll) {
    const ListCorners corners{triangles.data()};
    std::uint64_t count = 0;
    std::uint64_t evenCount = 0;
    std::uint64_t oddOnly = 0;
    bool changesParity = false;
    PlainJoin plain;
    WorkMeter meter(poll);
    // `buildPrimitives` returns the newest strip first.
    for (std::size_t i = strips.size(); i-- > 0;) {
        const StripSet::Strip strip = strips[i];
        if (strip.isIrregular) {
            return {};
        }
        const Written written = measure(strip.triangles);
        meter.add(strip.triangles.size());
        const bool isCountOdd = written.count % 2 != 0;
        count += written.count;
        evenCount += written.count + written.evenPenalty;
        oddOnly += isCountOdd ? 0 : written.evenPenalty;
        changesParity |= isCountOdd;
        if (join == StripJoin::Degenerate) {
            plain.add(tipsOf(graph, corners, strip.triangles), written.count + written.evenPenalty);
        }
    }
    if (count == 0) {
        return {};
    }
    const std::uint64_t joints = strips.size() - 1;
    if (join == StripJoin::Restart) {
        return {count + joints + oddOnly, evenCount + joints, count + joints};
    }
    return {count + 2 * joints + (oddOnly != 0 && !changesParity ? 1 : 0), plain.count(), count + 2 * joints};
}

} // namespace vexa::mesh::detail
