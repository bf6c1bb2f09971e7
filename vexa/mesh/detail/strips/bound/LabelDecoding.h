#pragma once

#include "vexa/mesh/detail/strips/PatchGroups.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <cstdint>

namespace vexa::mesh::detail {

/// Labels every triangle with the edge that is to stay unlinked, such that the labels cost little: as the stars want it
/// between which the costs were split by as many sweeps. Star by star, the triangles that have no label yet take those
/// that are cheapest for the star. The links stay as they are.
///
/// Needs about 60 bytes a triangle until it returns. The labels are the same on every machine.
///
/// \param endCost cost of one end of a strip, in units of `costUnit`
/// \return false when the monitor's caller has stopped it; the labels are then as they were
bool labelBySplittingCosts(StripPartition& partition, const PatchGroups& groups, std::int16_t endCost, unsigned sweeps,
                           WorkTeam& team, StripMonitor& monitor);

} // namespace vexa::mesh::detail
