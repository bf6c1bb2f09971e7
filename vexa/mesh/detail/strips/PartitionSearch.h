#pragma once

#include "vexa/mesh/StripBuffer.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

#include <span>

namespace vexa::mesh::detail {

constexpr unsigned maxEffort = 4;

/// Cuts triangles into strips with as few indices as the effort finds, none longer than the options allow; see
/// `buildStripBuffer`.
StripPartition searchPartition(std::span<const unsigned int> triangles, const StripBufferOptions& options,
                               StripMonitor& monitor);

} // namespace vexa::mesh::detail
