#pragma once

#include "vexa/mesh/detail/strips/PatchGroups.h"
#include "vexa/mesh/detail/strips/Polling.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"
#include "vexa/mesh/detail/strips/stars/FastRandom.h"
#include "vexa/mesh/detail/strips/stars/StarLabels.h"
#include "vexa/mesh/detail/strips/stars/StarOdds.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vexa::mesh::detail {

/// Anneals the labels of a third of some small patches at a time, while everything around them stands still: the strips
/// that change around one patch can mostly be judged apart from those around another. See StripChoice.
class PatchAnnealing {
public:
    /// \param endCost, seed see AnnealingOptions
    /// \param team          must outlive the object
    PatchAnnealing(double endCost, std::uint32_t seed, WorkTeam& team);

    /// Links the triangles of randomly chosen patches in another way. Links elsewhere stay. Closed loops may come out.
    ///
    /// \param partition always the same one, whose links may have changed
    /// \param patchSize mean number of triangles of a patch
    void run(StripPartition& partition, const Poll& poll, std::uint32_t patchSize = 256);

private:
    void divide(const StripPartition& partition, std::uint32_t patchSize, const Poll& poll);
    void chooseGroups(std::uint32_t level);

    FastRandom random_;
    WorkTeam& team_;
    std::vector<StarOdds> odds_; ///< of one pass after the other
    std::optional<PatchGroups> groups_;
    std::optional<StarLabels> labels_;
    std::vector<std::uint32_t> chosen_; ///< groups of the current round
    std::uint32_t rounds_ = 0;
};

} // namespace vexa::mesh::detail
