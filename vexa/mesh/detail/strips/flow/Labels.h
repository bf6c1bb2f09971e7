#pragma once

#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

namespace vexa::mesh::detail {

/// Labels every triangle with the edge that is to stay unlinked, and links neighbours of which neither leaves their
/// common edge. The partition must have no links, and the flow that cancels its charges.
///
/// The label across an edge follows from this side's label and the flow over the edge: counted from the edge, they are
/// equal without flow, and differ by the flow otherwise. So one label decides those of its whole surface, and of its
/// three choices the cheapest is taken. Around handles and holes a few edges remain that contradict their flow; they
/// cost a swap or an end.
void linkByLabels(StripPartition& partition, StripMonitor& monitor);

/// Labels every triangle with an edge that is not linked.
void labelByLinks(StripPartition& partition);

} // namespace vexa::mesh::detail
