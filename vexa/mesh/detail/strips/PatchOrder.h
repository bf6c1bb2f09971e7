#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/Polling.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

#include <cstdint>

namespace vexa::mesh::detail {

/// Whether more than this percentage of neighbours are far apart in the order of the triangles, so that walks over a
/// large graph would miss the cache at every step.
bool isScattered(const CompactGraph& graph, unsigned percent);

/// The triangles in an order that keeps neighbours close: in compact patches, each of which begins next to an earlier
/// one.
LargeVector<TriangleId> patchOrder(const CompactGraph& graph, const Poll& poll = {});

/// The patch of every triangle: compact ones of `size` triangles, but for the first, which has `offset` fewer, and the
/// last. Patches may consist of several pieces.
LargeVector<std::uint32_t> patchesOf(const CompactGraph& graph, std::uint32_t size, std::uint32_t offset,
                                     const Poll& poll = {});
LargeVector<std::uint32_t> patchesOf(const StripPartition& partition, std::uint32_t size, std::uint32_t offset,
                                     const Poll& poll = {});

} // namespace vexa::mesh::detail
