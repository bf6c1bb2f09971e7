#pragma once

#include "vexa/mesh/Strips.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// Length to which strips are cut for the vertex cache: longer ones have left their first vertices behind when they end.
std::uint32_t cacheStripLength(const StripPartition& partition);

/// The strips of a partition as primitives that begin at an even position, in an order in which each finds many of its
/// vertices in a cache: the next is the one that would miss the fewest among those that touch a recently used vertex.
std::vector<IndexedPrimitive> orderForCache(std::span<const unsigned int> triangles, StripPartition& partition,
                                            StripMonitor& monitor);

} // namespace vexa::mesh::detail
