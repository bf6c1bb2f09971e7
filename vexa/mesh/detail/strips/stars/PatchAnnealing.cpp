#include "vexa/mesh/detail/strips/stars/PatchAnnealing.h"

#include "vexa/mesh/detail/strips/flow/Labels.h"

namespace vexa::mesh::detail {

PatchAnnealing::PatchAnnealing(double endCost, std::uint32_t seed, WorkTeam& team) : random_(seed), team_(team) {
    constexpr int warmPasses = 8;
    constexpr int coldPasses = 2;
    constexpr double ratio = 0.935; // from 0.4 to 0.25
    double temperature = 0.4 * endCost / 1.5;
    for (int i = 0; i < warmPasses; ++i) {
        odds_.emplace_back(temperature, endCost);
        temperature *= ratio;
    }
    odds_.insert(odds_.end(), coldPasses, StarOdds(coldTemperature, endCost));
}

/// Divides the triangles in another way than before, so that stars between patches are not always the same.
void PatchAnnealing::divide(const StripPartition& partition, std::uint32_t patchSize, const Poll& poll) {
    const auto quarters = static_cast<std::uint32_t>(2 + random_.draw() % 5);
    labels_.reset();
    groups_.emplace(partition, patchSize * quarters / 4, team_, poll);
    labels_.emplace(partition, *groups_, static_cast<std::uint32_t>(random_.draw()), poll);
    groups_->release();
}

void PatchAnnealing::run(StripPartition& partition, StripMonitor& monitor, std::uint32_t patchSize) {
    constexpr std::uint32_t roundsPerDivision = 16;
    if (rounds_ % roundsPerDivision == 0) {
        divide(partition, patchSize, monitor.poller());
    }
    std::uint32_t level = rounds_++ % PatchGroups::levels;
    if (groups_->begin(level) == groups_->rest()) {
        level = 0; // All of the mesh is one patch.
    }
    labelByLinks(partition);
    labels_->load(partition, monitor.poller());
    const std::vector<LabelCode> earlier = labels_->codes();
    for (const StarOdds& odds : odds_) {
        if (!labels_->passOverLevel(level, odds, team_, monitor)) {
            break;
        }
    }
    labels_->linkChanged(partition, earlier, monitor.poller());
}

} // namespace vexa::mesh::detail
