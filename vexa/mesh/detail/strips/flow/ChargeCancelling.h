#pragma once

#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/flow/FanGraph.h"

namespace vexa::mesh::detail {

/// Cancels the charges of fans along short paths and leaves the flow in the triangles of the partition, whose flow must
/// be zero before. What cannot be cancelled because its surface has no other charge keeps it.
///
/// Stopped early, it leaves charges that nothing cancels; the flow is valid all the same.
void cancelCharges(StripPartition& partition, FanGraph& fans, StripMonitor& monitor);

} // namespace vexa::mesh::detail
