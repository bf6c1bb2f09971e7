#include "vexa/mesh/detail/strips/GreedyLinks.h"

#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/Random.h"
#include "vexa/mesh/detail/strips/StripWalk.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <cstddef>

namespace vexa::mesh::detail {

namespace {

class PollingObserver final : public SearchObserver {
public:
    explicit PollingObserver(const Poll& poll) : poll_(poll) {}

    void onWork() override {
        if (poll_) {
            poll_();
        }
    }

private:
    const Poll& poll_;
};

class StripLinking {
public:
    explicit StripLinking(StripPartition& partition, const Poll& poll)
        : partition_(partition), newIds_(partition.newIds(poll)) {}

    void link(const StripSet::Strip& strip) {
        if (strip.isIrregular) {
            linkByFirstEdges(strip.triangles);
        } else {
            linkAsGrown(strip.triangles);
        }
    }

private:
    [[nodiscard]] TriangleId idOf(StripTriangle triangle) const {
        return newIds_.empty() ? triangleOf(triangle) : newIds_[triangleOf(triangle)];
    }

    /// Links a strip over the edges by which it grew.
    void linkAsGrown(std::span<const StripTriangle> strip) {
        HalfEdgeId leaving = halfEdgeOf(idOf(strip[0]), placeOf(strip[0]));
        for (std::size_t i = 1; i < strip.size(); ++i) {
            __builtin_prefetch(&partition_[idOf(strip.data()[i + StripSet::lookAhead / 2])], 1);
            partition_.link(leaving);
            const HalfEdgeId entered = partition_.twin(leaving);
            leaving = placeOf(strip[i]) == leavesBefore ? prevOf(entered) : nextOf(entered);
        }
    }

    /// Links a strip over the first edge that each two of its triangles share, as `buildPrimitives` writes it.
    void linkByFirstEdges(std::span<const StripTriangle> strip) {
        for (std::size_t i = 1; i < strip.size(); ++i) {
            partition_.link(findExit(partition_, idOf(strip[i - 1]), idOf(strip[i])));
        }
    }

    StripPartition& partition_;
    LargeVector<TriangleId> newIds_;
};

} // namespace

StripSet searchGreedily(CompactGraph& graph, std::span<const unsigned int> triangles, const Poll& poll,
                        std::uint64_t maxExcess) {
    for (TriangleId triangle = 0; triangle < graph.count(); ++triangle) {
        if (isCollapsed(triangles.data() + std::size_t{3} * triangle)) {
            graph[triangle].state = stateInFan;
        }
    }
    OwnRandom random;
    PollingObserver observer(poll);
    return searchStrips(graph, {1, true, graph.count(), 0, maxExcess}, random, observer).strips;
}

void linkStrips(StripPartition& partition, const StripSet& strips, const Poll& poll) {
    StripLinking linking(partition, poll);
    WorkMeter meter(poll);
    for (std::size_t i = 0; i < strips.size(); ++i) {
        meter.add(strips[i].triangles.size());
        linking.link(strips[i]);
    }
}

} // namespace vexa::mesh::detail
