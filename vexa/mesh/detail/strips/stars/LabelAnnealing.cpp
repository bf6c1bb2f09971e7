#include "vexa/mesh/detail/strips/stars/LabelAnnealing.h"

#include "vexa/mesh/detail/strips/bound/CostTable.h"
#include "vexa/mesh/detail/strips/bound/LabelDecoding.h"
#include "vexa/mesh/detail/strips/stars/StarLabels.h"
#include "vexa/mesh/detail/strips/stars/StarOdds.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

namespace {

/// Temperature after so much of the cooling: it falls geometrically.
double temperatureAt(std::uint32_t step, std::uint32_t steps, Heat heat) {
    struct Cooling {
        double hottest;
        double ratio;
    };
    // The last temperature is 0.22 in all of them.
    const auto [hottest, ratio] = heat == Heat::Low     ? Cooling{0.4, 0.97434}
                                  : heat == Heat::Usual ? Cooling{0.6, 0.95731}
                                                        : Cooling{0.75, 0.94807};
    double temperature = hottest;
    for (std::uint32_t i = 0; i < step * 23 / std::max(1U, steps - 1); ++i) {
        temperature *= ratio;
    }
    return temperature;
}

/// Starts from the labels of a cost split if these cost less once both have cooled down. Returns whether they do.
bool trySplitCosts(StarLabels& labels, StripPartition& partition, const PatchGroups& groups,
                   const AnnealingOptions& options, WorkTeam& team, StripMonitor& monitor) {
    constexpr std::uint32_t coldPasses = 5;
    const auto endCost = static_cast<std::int16_t>(options.endCost * costUnit);
    if (!labels.cool(options.endCost, coldPasses, team, monitor, 0)) {
        return false;
    }
    const double given = labels.cost(partition, options.endCost, monitor.poller());
    std::vector<LabelCode> codes = labels.codes();
    if (!labelBySplittingCosts(partition, groups, endCost, options.sweeps, team, monitor)) {
        return false;
    }
    labels.load(partition, monitor.poller());
    labels.cool(options.endCost, coldPasses, team, monitor, 0);
    if (labels.cost(partition, options.endCost, monitor.poller()) < given) {
        return true;
    }
    labels.restore(std::move(codes));
    return false;
}

} // namespace

bool annealLabels(StripPartition& partition, const AnnealingOptions& options, WorkTeam& team, StripMonitor& monitor) {
    constexpr std::uint32_t coldPasses = 4;
    // Making the tables takes as long as a pass over ten thousand triangles.
    const std::uint32_t steps = std::clamp(partition.count() / 1024, 4U, 24U);
    const double scale = options.endCost / 1.5;
    PatchGroups groups(partition, options.patchSize, team, monitor.poller());
    StarLabels labels(partition, groups, options.seed, monitor.poller());
    const bool isSplit = options.sweeps != 0 && trySplitCosts(labels, partition, groups, options, team, monitor);
    groups.release();
    std::optional<StarOdds> odds;
    std::uint32_t step = steps;
    std::uint32_t passes = 0;
    bool goesOn = true;
    for (double done = options.cooling(0); done < 1 && goesOn; done = options.cooling(++passes)) {
        const std::uint32_t newStep = static_cast<std::uint32_t>(done * steps);
        if (newStep != step) {
            step = newStep;
            odds.emplace(scale * temperatureAt(step, steps, isSplit ? Heat::Low : options.heat), options.endCost);
        }
        goesOn = labels.pass(*odds, team, monitor, done);
    }
    if (!goesOn || !labels.cool(options.endCost, coldPasses, team, monitor, 1)) {
        return false;
    }
    labels.link(partition, monitor.poller());
    return true;
}

} // namespace vexa::mesh::detail
