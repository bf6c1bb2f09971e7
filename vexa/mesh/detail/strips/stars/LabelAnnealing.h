#pragma once

#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <cstdint>
#include <functional>

namespace vexa::mesh::detail {

/// Where the cooling begins. More heat undoes more of the first labels, and takes more passes to pay off.
enum class Heat { Low, Usual, High };

struct AnnealingOptions {
    double endCost;     ///< indices for one end of a strip: half of what a strip costs
    std::uint32_t seed; ///< of the random numbers
    unsigned sweeps;    ///< of a cost split, the labels of which are tried as a start besides those given; 0: none
    Heat heat;          ///< low in any case if annealing starts from the labels of the split
    /// Returns how much of the cooling is done, from 0 to 1, given the number of passes made.
    std::function<double(std::uint32_t)> cooling;
    std::uint32_t patchSize = 4096; ///< triangles of a patch, on which one thread works
};

/// Improves the labels of a partition by simulated annealing and links the triangles accordingly.
///
/// A pass visits every star and draws the labels of all its triangles at once, each combination as likely as its cost at
/// the temperature says while everything around the star stands still. The temperature falls until changes for the worse
/// no longer happen. The labels must be set; see flow/Labels.h. What comes out does not depend on the size of the team.
///
/// \return false when the monitor's caller has stopped it; the links are then as they were
bool annealLabels(StripPartition& partition, const AnnealingOptions& options, WorkTeam& team, StripMonitor& monitor);

} // namespace vexa::mesh::detail
