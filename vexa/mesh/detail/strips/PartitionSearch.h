#pragma once

#include "vexa/mesh/StripBuffer.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <cstdint>
#include <optional>
#include <span>

namespace vexa::mesh::detail {

constexpr unsigned maxEffort = 4;

struct FoundPartition {
    StripPartition partition;
    /// No lower effort needs fewer indices than this, joined in the same way, and neither does `buildPrimitives`; for
    /// strips of any length. May be less than what they need, down to 0, but never more. Nothing where only
    /// `countLowerEfforts` finds out.
    std::optional<std::uint64_t> lowerEffortsNeed;
};

/// Cuts triangles into strips of any length with as few indices as the effort finds. Efforts 3 and 4 never need more
/// than the strips from which they start, which are those that the search at effort 2 finds.
///
/// \param effort in place of that of the options
FoundPartition searchPartition(std::span<const unsigned int> triangles, unsigned effort,
                               const StripBufferOptions& options, WorkTeam& team, StripMonitor& monitor);

/// The number that `FoundPartition::lowerEffortsNeed` stands for, for the efforts below that of a search for flow, or
/// `enough` if they need as many.
///
/// Runs their greedy search, which ends as soon as it cannot need fewer.
std::uint64_t countLowerEfforts(std::span<const unsigned int> triangles, const StripPartition& partition,
                                StripJoin join, std::uint64_t enough, const Poll& poll = {});

/// Cuts strips that are longer than the options allow.
void limitLengths(StripPartition& partition, const StripBufferOptions& options, const Poll& poll);

} // namespace vexa::mesh::detail
