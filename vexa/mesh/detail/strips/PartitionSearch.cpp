#include "vexa/mesh/detail/strips/PartitionSearch.h"

#include "vexa/mesh/detail/strips/CacheOrder.h"
#include "vexa/mesh/detail/strips/EdgePairing.h"
#include "vexa/mesh/detail/strips/GreedyLinks.h"
#include "vexa/mesh/detail/strips/JoinOrder.h"
#include "vexa/mesh/detail/strips/ParityRepair.h"
#include "vexa/mesh/detail/strips/PatchOrder.h"
#include "vexa/mesh/detail/strips/StripLengths.h"
#include "vexa/mesh/detail/strips/Tunnelling.h"
#include "vexa/mesh/detail/strips/flow/ChargeCancelling.h"
#include "vexa/mesh/detail/strips/flow/FanGraph.h"
#include "vexa/mesh/detail/strips/flow/Labels.h"
#include "vexa/mesh/detail/strips/stars/LabelAnnealing.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

namespace {

constexpr TunnelLimits shortTunnels{1, 100};
constexpr TunnelLimits longTunnels{2, 200};

/// A search through so many triangles that has found much to improve needs no comparison with the lower effort.
constexpr TriangleId manyTriangles = 16384;

void limitLengths(StripPartition& partition, const StripBufferOptions& options) {
    std::uint32_t longest = options.forVertexCache ? cacheStripLength(partition) : 0;
    if (options.maxTriangles != 0) {
        longest = longest == 0 ? options.maxTriangles : std::min(longest, options.maxTriangles);
    }
    if (longest != 0) {
        limitStripLengths(partition, longest);
    }
}

/// Whether a mesh is so irregular that no greedy search comes near the flow: many charges, few borders, and large
/// pieces. On a closed surface without handles, triangles are twice the fans less four; so many more fans are pieces.
bool isIrregular(const FanGraph& fans, const StripPartition& partition) {
    const std::size_t triangles = partition.liveCount();
    return triangles >= manyTriangles && fans.chargedCount() > fans.count() / 64 &&
           partition.borderCount() < triangles / 8 &&
           fans.count() < triangles / 2 + partition.borderCount() / 2 + triangles / 64;
}

class PartitionSearch {
public:
    PartitionSearch(std::span<const unsigned int> triangles, const StripBufferOptions& options, StripMonitor& monitor)
        : triangles_(triangles), options_(options), monitor_(monitor) {}

    StripPartition run() {
        switch (options_.effort) {
        case 0:
            return searchGreedily();
        case 1:
            return searchByTunnels();
        default:
            return searchByFlow();
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    CompactGraph pair() {
        monitor_.startPhase(StripPhase::Pairing, 0.3);
        return pairEdges(triangles_);
    }
    StripPartition searchGreedily();
    StripPartition searchByTunnels();
    StripPartition searchByFlow();
    StripPartition pairForFlow();
    bool linkByFlow(StripPartition& partition);
    void extendStrips(StripPartition& partition);
    void anneal(StripPartition& partition, const std::function<double(std::uint32_t)>& cooling);
    void annealUntil(StripPartition& partition, Clock::time_point start);

    std::uint64_t count(StripPartition& partition) const;
    void keepBetter(StripPartition& partition, const LinkSnapshot& earlier) const;

    std::span<const unsigned int> triangles_;
    const StripBufferOptions& options_;
    StripMonitor& monitor_;
};

StripPartition PartitionSearch::searchGreedily() {
    CompactGraph graph = pair();
    monitor_.startPhase(StripPhase::Greedy, 0.3);
    const StripSet strips = detail::searchGreedily(graph, triangles_);
    StripPartition partition(graph, triangles_);
    linkStrips(partition, graph, strips);
    return partition;
}

/// Indices after the lengths are limited. Cuts closed loops.
std::uint64_t PartitionSearch::count(StripPartition& partition) const {
    cutLoops(partition);
    const LinkSnapshot whole(partition);
    limitLengths(partition, options_);
    const std::uint64_t indices = countIndices(triangles_, partition, options_.join);
    whole.restore(partition);
    return indices;
}

/// Goes back to earlier links if they need fewer indices.
void PartitionSearch::keepBetter(StripPartition& partition, const LinkSnapshot& earlier) const {
    const std::uint64_t newCount = count(partition);
    const LinkSnapshot later(partition);
    earlier.restore(partition);
    if (newCount <= count(partition)) {
        later.restore(partition);
    }
}

/// From the greedy strips. A sequence of moves never adds indices but those for parity, which can outweigh the gain only
/// where little was gained.
StripPartition PartitionSearch::searchByTunnels() {
    StripPartition partition = searchGreedily();
    const LinkSnapshot greedy(partition);
    monitor_.startPhase(StripPhase::Tunnelling, 0.7);
    const std::uint64_t sequences = tunnel(partition, shortTunnels, monitor_);
    if (partition.count() < manyTriangles || sequences < partition.count() / 256) {
        keepBetter(partition, greedy);
    }
    return partition;
}

StripPartition PartitionSearch::searchByFlow() {
    const Clock::time_point start = Clock::now();
    StripPartition partition = pairForFlow();
    const bool isSuperior = linkByFlow(partition);
    if (monitor_.isStopped()) {
        return searchGreedily();
    }
    monitor_.startPhase(StripPhase::Tunnelling, options_.effort >= 3 ? 0.1 : 0.7);
    extendStrips(partition);
    if (!isSuperior) {
        StripPartition other = searchByTunnels();
        if (count(other) < count(partition)) {
            partition = std::move(other);
        }
    }
    if (options_.effort >= 3) {
        constexpr std::uint32_t passes = 120;
        anneal(partition, [](std::uint32_t pass) { return static_cast<double>(pass) / passes; });
    }
    if (options_.effort >= 4) {
        annealUntil(partition, start);
    }
    return partition;
}

void PartitionSearch::extendStrips(StripPartition& partition) {
    tunnel(partition, shortTunnels, monitor_);
    tunnel(partition, longTunnels, monitor_);
}

/// Anneals the labels and keeps the links that come out if they are better.
void PartitionSearch::anneal(StripPartition& partition, const std::function<double(std::uint32_t)>& cooling) {
    monitor_.startPhase(StripPhase::Annealing, 0.9);
    const LinkSnapshot earlier(partition);
    labelByLinks(partition);
    const bool isRestart = options_.join == StripJoin::Restart;
    annealLabels(partition, {isRestart ? 1.5 : 2.0, options_.seed, cooling}, monitor_);
    cutLoops(partition);
    monitor_.startPhase(StripPhase::Tunnelling, 0.7);
    extendStrips(partition);
    if (isRestart) {
        repairParity(partition, monitor_);
    }
    keepBetter(partition, earlier);
}

/// Anneals for what is left of the time since `start`.
void PartitionSearch::annealUntil(StripPartition& partition, Clock::time_point start) {
    using Seconds = std::chrono::duration<double>;
    const double budget = options_.microsecondsPerTriangle * 1e-6 * partition.count();
    const Clock::time_point begin = Clock::now();
    const double left = budget - Seconds(begin - start).count();
    anneal(partition,
           [begin, left](std::uint32_t) { return left <= 0 ? 1 : Seconds(Clock::now() - begin).count() / left; });
}

StripPartition PartitionSearch::pairForFlow() {
    const CompactGraph graph = pair();
    return {graph, triangles_, isScattered(graph, 60) ? patchOrder(graph) : std::vector<TriangleId>()};
}

/// Returns whether the result needs no comparison with the lower effort.
bool PartitionSearch::linkByFlow(StripPartition& partition) {
    monitor_.startPhase(StripPhase::Flow, 0.5);
    FanGraph fans(partition, monitor_);
    const bool isSuperior = isIrregular(fans, partition);
    cancelCharges(partition, fans, monitor_);
    fans = {};
    if (!monitor_.isStopped()) {
        linkByLabels(partition, monitor_);
    }
    return isSuperior;
}

} // namespace

StripPartition searchPartition(std::span<const unsigned int> triangles, const StripBufferOptions& options,
                               StripMonitor& monitor) {
    StripPartition partition = PartitionSearch(triangles, options, monitor).run();
    limitLengths(partition, options);
    return partition;
}

} // namespace vexa::mesh::detail
