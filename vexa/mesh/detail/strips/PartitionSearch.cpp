#include "vexa/mesh/detail/strips/PartitionSearch.h"

#include "vexa/mesh/detail/strips/CacheOrder.h"
#include "vexa/mesh/detail/strips/EdgePairing.h"
#include "vexa/mesh/detail/strips/GreedyCounts.h"
#include "vexa/mesh/detail/strips/GreedyLinks.h"
#include "vexa/mesh/detail/strips/JoinOrder.h"
#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/ParityRepair.h"
#include "vexa/mesh/detail/strips/PatchOrder.h"
#include "vexa/mesh/detail/strips/StripChoice.h"
#include "vexa/mesh/detail/strips/StripLengths.h"
#include "vexa/mesh/detail/strips/Tunnelling.h"
#include "vexa/mesh/detail/strips/flow/ChargeCancelling.h"
#include "vexa/mesh/detail/strips/flow/FanGraph.h"
#include "vexa/mesh/detail/strips/flow/Labels.h"
#include "vexa/mesh/detail/strips/stars/LabelAnnealing.h"
#include "vexa/mesh/detail/strips/stars/PatchAnnealing.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

namespace {

/// Sweeps of the cost split from which annealing starts.
constexpr unsigned minSweeps = 8;

constexpr std::uint32_t defaultAnnealingPasses = 88;
/// Annealing in fewer passes starts without sweeps, which would take longer than they save.
constexpr std::uint32_t minPassesForSweeps = 40;

/// Effort 1 tunnels to the end in meshes of fewer triangles.
constexpr std::uint64_t smallMesh = 1024;

constexpr std::uint64_t noLimit = std::numeric_limits<std::uint64_t>::max();

/// Effort 1 ends when it has saved a sixth of what the greedy strips cost, but for small meshes. It rarely gets there;
/// but it could never get further, so that better strips need no comparison with it.
std::uint64_t maxTunnelSaving(const GreedyCounts& greedy, std::uint64_t triangleCount) {
    return triangleCount < smallMesh || greedy.fixed == 0 ? noLimit : (greedy.fixed - triangleCount) / 6;
}

/// No strips of effort 1 need fewer indices than this.
std::uint64_t leastOfTunnels(const GreedyCounts& greedy, std::uint64_t triangleCount) {
    const std::uint64_t saving = maxTunnelSaving(greedy, triangleCount);
    return saving == noLimit ? 0 : greedy.fixed - std::min(greedy.fixed, saving + maxSavingPerTriangle);
}

std::uint64_t leastOfLowerEfforts(const GreedyCounts& greedy, std::uint64_t triangleCount) {
    return std::min({greedy.joined, greedy.plain, leastOfTunnels(greedy, triangleCount)});
}

/// The greedy indices, those for parity not counted, from which no strips of effort 1 need fewer than `enough`, which is
/// not less than the number of triangles.
std::uint64_t greedyCountFor(std::uint64_t enough, std::uint64_t triangleCount) {
    // The saving is rounded down, which makes up for the rounding here: `leastOfTunnels` of the result is not less.
    return (6 * (enough + maxSavingPerTriangle) - triangleCount) / 5;
}

class PartitionSearch {
public:
    PartitionSearch(std::span<const unsigned int> triangles, const StripBufferOptions& options, WorkTeam& team,
                    StripMonitor& monitor)
        : triangles_(triangles), options_(options), team_(team), monitor_(monitor),
          stripCost_(options.join == StripJoin::Restart ? 3 : 4) {}

    FoundPartition run(unsigned effort) {
        switch (effort) {
        case 0:
            return searchByGreed();
        case 1:
            return searchByTunnels();
        default:
            return searchByFlow(effort);
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    CompactGraph pair() {
        monitor_.startPhase(StripPhase::Pairing, 0.3);
        return pairEdges(triangles_, monitor_.poller());
    }
    /// Greedy strips, linked, and what they cost.
    struct GreedyPartition {
        StripPartition partition;
        GreedyCounts counts;
    };
    GreedyPartition cutGreedily();
    FoundPartition searchByGreed();
    FoundPartition searchByTunnels();
    FoundPartition searchByFlow(unsigned effort);
    void linkByFlow(StripPartition& partition);
    void lengthenStrips(StripPartition& partition, StripMonitor& monitor) const;
    void extendStrips(StripPartition& partition);
    void anneal(StripPartition& partition, unsigned sweeps, Heat heat,
                const std::function<double(std::uint32_t)>& cooling);
    void annealUntil(StripPartition& partition, Clock::time_point start);
    void annealPatches(StripPartition& partition, const std::function<double()>& done);

    std::uint64_t count(StripPartition& partition) const;
    void keepBetter(StripPartition& partition, const LinkSnapshot& earlier) const;

    std::span<const unsigned int> triangles_;
    const StripBufferOptions& options_;
    WorkTeam& team_;
    StripMonitor& monitor_;
    int stripCost_; ///< indices of a strip's start and of its joint
    bool hasManyCharges_ = false;
};

PartitionSearch::GreedyPartition PartitionSearch::cutGreedily() {
    CompactGraph graph = pair();
    monitor_.startPhase(StripPhase::Greedy, 0.3);
    const StripSet strips = searchGreedily(graph, triangles_, monitor_.poller());
    StripPartition partition(graph, triangles_, {}, monitor_.poller());
    linkStrips(partition, strips, monitor_.poller());
    monitor_.endPass(StripChange::Greedy, partition);
    return {std::move(partition), countGreedy(graph, triangles_, strips, options_.join, monitor_.poller())};
}

FoundPartition PartitionSearch::searchByGreed() {
    GreedyPartition greedy = cutGreedily();
    return {std::move(greedy.partition), greedy.counts.plain};
}

/// Indices after the lengths are limited. Cuts closed loops.
std::uint64_t PartitionSearch::count(StripPartition& partition) const {
    cutLoops(partition, monitor_.poller());
    const LinkSnapshot whole(partition);
    limitLengths(partition, options_, monitor_.poller());
    const std::uint64_t indices = countIndices(triangles_, partition, options_.join, monitor_.poller());
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

FoundPartition PartitionSearch::searchByTunnels() {
    auto [partition, greedy] = cutGreedily();
    monitor_.startPhase(StripPhase::Tunnelling, 0.7);
    tunnel(partition, {1, 100, maxTunnelSaving(greedy, partition.liveCount())}, stripCost_, monitor_);
    monitor_.endPass(StripChange::Tunnelling, partition);
    return {std::move(partition), std::min(greedy.joined, greedy.plain)};
}

FoundPartition PartitionSearch::searchByFlow(unsigned effort) {
    const Clock::time_point start = Clock::now();
    CompactGraph graph = pair();
    StripPartition partition(graph, triangles_,
                             isScattered(graph, 60) ? patchOrder(graph, monitor_.poller()) : LargeVector<TriangleId>(),
                             monitor_.poller());
    monitor_.startPhase(StripPhase::Greedy, 0.2);
    // Otherwise the greedy search comes last, because it can end early if it knows these strips.
    const bool isCountedFirst = team_.hasThreads() || options_.onProgress;
    StripSet strips;
    GreedyCounts greedy;
    const auto countGreedily = [&](const Poll& poll) {
        strips = searchGreedily(graph, triangles_, poll);
        greedy = countGreedy(graph, triangles_, strips, options_.join, poll);
        graph.release();
        if (!options_.onProgress) {
            strips = {};
        }
    };
    std::optional<SideTask> greedyCount;
    if (isCountedFirst) {
        greedyCount.emplace(team_, countGreedily, monitor_.poller());
    } else {
        graph.release();
    }
    linkByFlow(partition);
    if (monitor_.isStopped()) {
        greedyCount->wait();
        partition.cutAll();
        linkStrips(partition, strips);
        monitor_.endPass(StripChange::Greedy, partition);
        return {std::move(partition), greedy.plain};
    }
    monitor_.endPass(StripChange::Flow, partition);
    monitor_.startPhase(StripPhase::Tunnelling, effort >= 3 ? 0.1 : 0.7);
    extendStrips(partition);
    if (effort >= 3) {
        const std::uint32_t passes = options_.annealingPasses == 0 ? defaultAnnealingPasses : options_.annealingPasses;
        // Too few passes do not make up for what a higher temperature undoes.
        const bool isShort = passes < minPassesForSweeps;
        anneal(partition, isShort ? 0 : minSweeps, isShort ? Heat::Low : Heat::Usual,
               [passes](std::uint32_t pass) { return static_cast<double>(pass) / passes; });
    }
    if (effort >= 4) {
        annealUntil(partition, start);
    }
    if (!isCountedFirst) {
        return {std::move(partition), std::nullopt};
    }
    greedyCount->wait();
    if (monitor_.isStopped()) {
        const LinkSnapshot found(partition);
        const std::uint64_t indices = count(partition);
        partition.cutAll();
        linkStrips(partition, strips);
        if (indices <= count(partition)) {
            found.restore(partition);
        }
    }
    const std::uint64_t least = leastOfLowerEfforts(greedy, partition.liveCount());
    return {std::move(partition), least};
}

void PartitionSearch::lengthenStrips(StripPartition& partition, StripMonitor& monitor) const {
    tunnel(partition, {1, 100, noLimit}, stripCost_, monitor);
    tunnel(partition, {2, 200, noLimit}, stripCost_, monitor);
}

void PartitionSearch::extendStrips(StripPartition& partition) {
    lengthenStrips(partition, monitor_);
    monitor_.endPass(StripChange::Tunnelling, partition);
}

/// Anneals the labels and keeps the links that come out if they are better.
void PartitionSearch::anneal(StripPartition& partition, unsigned sweeps, Heat heat,
                             const std::function<double(std::uint32_t)>& cooling) {
    monitor_.startPhase(StripPhase::Annealing, 0.9);
    if (monitor_.isStopped()) {
        return;
    }
    const LinkSnapshot earlier(partition);
    labelByLinks(partition);
    const bool isRestart = options_.join == StripJoin::Restart;
    // Where charges are few and far apart, sweeps do not find the long ways between them.
    if (!annealLabels(partition, {isRestart ? 1.5 : 2.0, options_.seed, hasManyCharges_ ? sweeps : 0, heat, cooling},
                      team_, monitor_)) {
        return;
    }
    cutLoops(partition, monitor_.poller());
    monitor_.endPass(StripChange::Annealing, partition);
    monitor_.startPhase(StripPhase::Tunnelling, 0.7);
    extendStrips(partition);
    if (isRestart) {
        repairParity(partition, monitor_);
        monitor_.endPass(StripChange::Parity, partition);
    }
    keepBetter(partition, earlier);
}

/// Anneals for what is left of the time since `start`.
void PartitionSearch::annealUntil(StripPartition& partition, Clock::time_point start) {
    using Seconds = std::chrono::duration<double>;
    const double budget = options_.microsecondsPerTriangle * 1e-6 * partition.count();
    const Clock::time_point begin = Clock::now();
    const double left = budget - Seconds(begin - start).count();
    if (left <= 0) {
        return;
    }
    // A sweep takes about a sixth of a microsecond a triangle, so that they have a small part of the time.
    constexpr double maxSweeps = 48;
    const auto sweeps = static_cast<unsigned>(std::clamp<double>(left * 1e6 / partition.count(), minSweeps, maxSweeps));
    // The first half of it whole, the second half patch by patch.
    const double half = left / 2;
    anneal(partition, sweeps, hasManyCharges_ ? Heat::Usual : Heat::High,
           [begin, half](std::uint32_t) { return Seconds(Clock::now() - begin).count() / half; });
    annealPatches(partition, [begin, left] { return Seconds(Clock::now() - begin).count() / left; });
}

/// Anneals patches again and again, and keeps the strips around each if they are better.
///
/// \param done part of the time that has passed
void PartitionSearch::annealPatches(StripPartition& partition, const std::function<double()>& done) {
    if (monitor_.isStopped()) {
        return;
    }
    monitor_.startPhase(StripPhase::Annealing, 0.9);
    cutLoops(partition, monitor_.poller());
    const LinkSnapshot first(partition);
    const bool isRestart = options_.join == StripJoin::Restart;
    PatchAnnealing patches(isRestart ? 1.5 : 2.0, options_.seed, team_);
    StripChoice choice(options_.join);
    // Rounds do not know how far all of them are.
    std::function<bool(const StripProgress&)> onProgress;
    if (options_.onProgress) {
        onProgress = [&](const StripProgress&) { return monitor_.poll(std::min(done(), 1.0), 1); };
    }
    StripMonitor monitor(onProgress);
    while (done() < 1 && !monitor.isStopped()) {
        const LinkSnapshot earlier(partition);
        patches.run(partition, monitor);
        cutLoops(partition, monitor.poller());
        lengthenStrips(partition, monitor);
        if (isRestart) {
            repairParity(partition, monitor);
        }
        choice.keepBetter(partition, earlier, monitor.poller());
    }
    monitor_.endPass(StripChange::Annealing, partition);
    keepBetter(partition, first);
}

void PartitionSearch::linkByFlow(StripPartition& partition) {
    monitor_.startPhase(StripPhase::Flow, 0.5);
    FanGraph fans(partition, monitor_);
    hasManyCharges_ = fans.chargedCount() > fans.count() / 8;
    cancelCharges(partition, fans, monitor_);
    fans = {};
    if (!monitor_.isStopped()) {
        linkByLabels(partition, monitor_);
    }
}

} // namespace

FoundPartition searchPartition(std::span<const unsigned int> triangles, unsigned effort,
                               const StripBufferOptions& options, WorkTeam& team, StripMonitor& monitor) {
    return PartitionSearch(triangles, options, team, monitor).run(effort);
}

std::uint64_t countLowerEfforts(std::span<const unsigned int> triangles, const StripPartition& partition,
                                StripJoin join, std::uint64_t enough, const Poll& poll) {
    const std::uint64_t triangleCount = partition.liveCount();
    if (triangleCount < smallMesh) {
        return 0;
    }
    CompactGraph graph = graphOf(partition, poll);
    std::uint64_t maxExcess = noLimit;
    // The turns of irregular strips are not reliable, and plain strips may need no joint by degenerate triangles.
    if (join == StripJoin::Restart && graph.isRegular()) {
        maxExcess = greedyCountFor(enough, triangleCount) + 1 - triangleCount;
    }
    const StripSet strips = searchGreedily(graph, triangles, poll, maxExcess);
    if (strips.triangleCount() < triangleCount) {
        return enough;
    }
    return leastOfLowerEfforts(countGreedy(graph, triangles, strips, join, poll), triangleCount);
}

void limitLengths(StripPartition& partition, const StripBufferOptions& options, const Poll& poll) {
    std::uint32_t longest = options.forVertexCache ? cacheStripLength(partition) : 0;
    if (options.maxTriangles != 0) {
        longest = longest == 0 ? options.maxTriangles : std::min(longest, options.maxTriangles);
    }
    if (longest != 0) {
        limitStripLengths(partition, longest, poll);
    }
}

} // namespace vexa::mesh::detail
