#pragma once

#include "vexa/mesh/detail/strips/PatchGroups.h"
#include "vexa/mesh/detail/strips/Polling.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"
#include "vexa/mesh/detail/strips/stars/FastRandom.h"
#include "vexa/mesh/detail/strips/stars/StarLabels.h"
#include "vexa/mesh/detail/strips/stars/StarOdds.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vexa::mesh::detail {

/// Anneals the labels within small patches, while those between patches stand still, so that the strips that change in
/// one patch can mostly be judged apart from those in another. See StripChoice.
class PatchAnnealing {
public:
    /// \param endCost, seed see AnnealingOptions
    /// \param team          must outlive the object
    PatchAnnealing(double endCost, std::uint32_t seed, WorkTeam& team);

    /// Links the triangles within patches in another way; rounds alternate between two divisions of the mesh. Closed
    /// loops may come out. A round that the monitor's caller stops changes less.
    ///
    /// \param partition always the same one, whose links may have changed
    /// \param patchSize mean number of triangles of a patch
    void run(StripPartition& partition, StripMonitor& monitor, std::uint32_t patchSize = 512);

private:
    void divide(const StripPartition& partition, std::uint32_t patchSize, const Poll& poll);

    FastRandom random_;
    WorkTeam& team_;
    std::vector<StarOdds> odds_; ///< of one pass after the other
    std::optional<PatchGroups> groups_;
    std::optional<StarLabels> labels_;
    std::uint32_t rounds_ = 0;
};

} // namespace vexa::mesh::detail
