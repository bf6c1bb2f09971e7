#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/Polling.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/StripSearch.h"

#include <cstdint>
#include <limits>
#include <span>

namespace vexa::mesh::detail {

/// Cuts the triangles of a freshly paired graph by one greedy pass, the one that `buildPrimitives` makes. No strip takes
/// a collapsed triangle.
///
/// \param maxExcess as in `SearchOptions`
StripSet searchGreedily(CompactGraph& graph, std::span<const unsigned int> triangles, const Poll& poll = {},
                        std::uint64_t maxExcess = std::numeric_limits<std::uint64_t>::max());

/// Links the triangles of a partition, which must have no links, as strips found on its graph do.
void linkStrips(StripPartition& partition, const StripSet& strips, const Poll& poll = {});

} // namespace vexa::mesh::detail
