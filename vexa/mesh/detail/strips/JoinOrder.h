#pragma once

#include "vexa/mesh/Strips.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// Writes the strips of a partition as one index list. Closed loops are cut.
///
/// Joined by restart, each strip begins at whichever of its ends suits an even position, and repeats an index only when
/// neither does. Joined by degenerate triangles, strips are put in an order in which each begins at a position that it
/// suits: only when every strip has an even number of indices and both kinds occur, a single index is repeated.
std::vector<unsigned int> joinPartition(std::span<const unsigned int> triangles, StripPartition& partition,
                                        StripJoin join, StripMonitor& monitor);

/// Calls `take` with each strip of a partition, as indices that begin at an even position. Closed loops are cut.
void forEachStrip(std::span<const unsigned int> triangles, StripPartition& partition, StripMonitor& monitor,
                  const std::function<void(std::span<const unsigned int>)>& take);

/// Number of indices that `joinPartition` writes.
std::uint64_t countIndices(std::span<const unsigned int> triangles, StripPartition& partition, StripJoin join,
                           const Poll& poll = {});

} // namespace vexa::mesh::detail
