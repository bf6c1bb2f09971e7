#pragma once

#include "vexa/mesh/Strips.h"
#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/Polling.h"
#include "vexa/mesh/detail/strips/StripSet.h"

#include <cstdint>
#include <span>

namespace vexa::mesh::detail {

/// Numbers of indices that greedy strips need, counted from their turns: nothing is linked or written.
///
/// All are 0 if any strip is irregular, because its turns are not reliable.
struct GreedyCounts {
    std::uint64_t joined = 0; ///< by `joinPartition`
    std::uint64_t plain = 0;  ///< by `joinStrips`, in the order and direction in which `buildPrimitives` returns them
    std::uint64_t fixed = 0;  ///< `joined` without repeated indices for parity
};

/// \param strips those of `searchGreedily` on this graph
GreedyCounts countGreedy(const CompactGraph& graph, std::span<const unsigned int> triangles, const StripSet& strips,
                         StripJoin join, const Poll& poll = {});

} // namespace vexa::mesh::detail
