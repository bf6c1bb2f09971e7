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

void PatchAnnealing::chooseGroups(std::uint32_t level) {
    constexpr std::uint64_t onceIn = 3;
    chosen_.clear();
    for (std::uint32_t group = groups_->begin(level); group < groups_->begin(level + 1); ++group) {
        if (random_.draw() % onceIn == 0) {
            chosen_.push_back(group);
        }
    }
    if (chosen_.empty()) {
        chosen_.push_back(static_cast<std::uint32_t>(random_.draw() % groups_->rest()));
    }
}

void PatchAnnealing::run(StripPartition& partition, const Poll& poll, std::uint32_t patchSize) {
    constexpr std::uint32_t roundsPerDivision = 16;
    if (rounds_ % roundsPerDivision == 0) {
        divide(partition, patchSize, poll);
    }
    chooseGroups(rounds_++ % PatchGroups::levels);
    labelByLinks(partition);
    labels_->load(partition, poll);
    const std::vector<LabelCode> earlier = labels_->codes();
    for (const StarOdds& odds : odds_) {
        labels_->passOverGroups(chosen_, odds, poll);
    }
    labels_->linkChanged(partition, earlier, poll);
}

} // namespace vexa::mesh::detail
