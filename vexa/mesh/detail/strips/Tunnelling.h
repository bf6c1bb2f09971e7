#pragma once

#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

#include <cstdint>

namespace vexa::mesh::detail {

struct TunnelLimits {
    int depth;            ///< triangles that a strip may take over from others in one attempt
    int steps;            ///< attempts to take over a triangle from one end
    std::uint64_t saving; ///< ends at the next triangle when so many indices are saved
};

/// Most indices that are saved at one triangle: by four sequences of moves, each of which joins two strips at most and
/// removes the swaps at a few links.
constexpr std::uint64_t maxSavingPerTriangle = 64;

/// Pushes strip ends on through other strips as long as the number of indices falls. Returns how many were saved, those
/// for parity not counted.
///
/// A strip can take over a triangle from the middle of another one, which is cut there and gets a new end; after some of
/// these, the end may meet another, and the two strips become one. A sequence is kept if what it saves exceeds the swaps
/// that it adds. No strip becomes a closed loop; loops that are there already remain.
///
/// \param stripCost indices that a strip costs by its ends, to count what is saved: at least 3
std::uint64_t tunnel(StripPartition& partition, TunnelLimits limits, int stripCost, StripMonitor& monitor);

} // namespace vexa::mesh::detail
