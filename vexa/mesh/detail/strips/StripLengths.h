#pragma once

#include "vexa/mesh/detail/strips/StripPartition.h"

#include <cstdint>

namespace vexa::mesh::detail {

/// Cuts strips into parts of about equal length, none with more than `maxTriangles`, if possible where a swap is saved.
/// Closed loops are cut first.
///
/// \param maxTriangles at least 1
void limitStripLengths(StripPartition& partition, std::uint32_t maxTriangles, const Poll& poll = {});

} // namespace vexa::mesh::detail
