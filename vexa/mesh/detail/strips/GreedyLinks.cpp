#include "vexa/mesh/detail/strips/GreedyLinks.h"

#include "vexa/mesh/detail/strips/Random.h"
#include "vexa/mesh/detail/strips/StripWalk.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <cstddef>

namespace vexa::mesh::detail {

namespace {

class PollingObserver final : public SearchObserver {
public:
    explicit PollingObserver(const Poll& poll) : poll_(poll) {}

    void onInvalidTriangle() override {}
    void onWork() override {
        if (poll_) {
            poll_();
        }
    }
    bool onPass(std::uint32_t, std::int32_t, std::int32_t, std::int32_t) override { return true; }

private:
    const Poll& poll_;
};

/// Links a strip over the edges by which it grew.
void linkAsGrown(StripPartition& partition, std::span<const StripTriangle> strip) {
    HalfEdgeId leaving = strip[0];
    for (std::size_t i = 1; i < strip.size(); ++i) {
        __builtin_prefetch(&partition[triangleOf(strip.data()[i + StripSet::lookAhead / 2])], 1);
        partition.link(leaving);
        const HalfEdgeId entered = partition.twin(leaving);
        leaving = placeOf(strip[i]) == leavesBefore ? prevOf(entered) : nextOf(entered);
    }
}

/// Links a strip over the first edge that each two of its triangles share, as `buildPrimitives` writes it.
void linkByFirstEdges(StripPartition& partition, const CompactGraph& graph, std::span<const StripTriangle> strip) {
    for (std::size_t i = 1; i < strip.size(); ++i) {
        partition.link(findExit(graph, triangleOf(strip[i - 1]), triangleOf(strip[i])));
    }
}

} // namespace

StripSet searchGreedily(CompactGraph& graph, std::span<const unsigned int> triangles, const Poll& poll) {
    for (TriangleId triangle = 0; triangle < graph.count(); ++triangle) {
        if (isCollapsed(triangles.data() + std::size_t{3} * triangle)) {
            graph[triangle].state = stateInFan;
        }
    }
    OwnRandom random;
    PollingObserver observer(poll);
    return searchStrips(graph, {1, true, graph.count(), 0}, random, observer).strips;
}

void linkStrips(StripPartition& partition, const CompactGraph& graph, const StripSet& strips, const Poll& poll) {
    WorkMeter meter(poll);
    for (std::size_t i = 0; i < strips.size(); ++i) {
        const StripSet::Strip strip = strips[i];
        meter.add(strip.triangles.size());
        if (strip.isIrregular) {
            linkByFirstEdges(partition, graph, strip.triangles);
        } else {
            linkAsGrown(partition, strip.triangles);
        }
    }
}

} // namespace vexa::mesh::detail
