#pragma once

#include "vexa/mesh/Strips.h"
#include "vexa/mesh/detail/strips/Polling.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

#include <cstdint>
#include <vector>

namespace vexa::mesh::detail {

/// Chooses between two ways to link the same triangles, separately for each set of triangles that no strip of either way
/// leaves.
class StripChoice {
public:
    explicit StripChoice(StripJoin join) : join_(join) {}

    /// Goes back to earlier links where strips need fewer indices with them; where both need the same, the newer ones stay.
    /// Neither way may have closed loops.
    ///
    /// Cost: linear in the number of triangles, and in those of the strips that differ.
    void keepBetter(StripPartition& partition, const LinkSnapshot& earlier, const Poll& poll = {});

private:
    void collect(const StripPartition& partition, const LinkSnapshot& earlier, TriangleId start);
    [[nodiscard]] std::uint64_t countTwice(const StripPartition& partition) const;
    [[nodiscard]] bool repeatsIndex(const StripPartition& partition, TriangleId end) const;

    StripJoin join_;
    std::vector<TriangleId> set_; ///< the newest set of triangles
    std::vector<EdgeSet> links_;  ///< of these, to come back to
    std::vector<bool> isSeen_;
};

} // namespace vexa::mesh::detail
