#pragma once

#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

namespace vexa::mesh::detail {

/// Joined by restart, a strip repeats an index if neither of its ends suits an even position. Lets strips take over
/// triangles from others where that saves such indices and adds no swaps in exchange. There must be no closed loops.
void repairParity(StripPartition& partition, StripMonitor& monitor);

} // namespace vexa::mesh::detail
