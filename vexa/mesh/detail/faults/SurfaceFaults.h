#pragma once

#include "vexa/mesh/detail/faults/FaultCollector.h"
#include "vexa/mesh/detail/vertices/VertexClasses.h"

#include <cstdint>
#include <span>

namespace vexa::mesh::detail {

/// Triangles, with those that must not be looked at.
struct Surface {
    std::span<const unsigned int> triangles; ///< three vertices each; [0 0 0] for one that is left out
    std::span<const std::uint64_t> leftOut;  ///< their numbers, sorted
    bool reportsCollapsed = true;
};

/// Finds triangles that are collapsed, without an area or duplicate, and edges that are borders, non-manifold or of
/// inconsistent winding.
///
/// \param positions three floats for each vertex; null for none
void findSurfaceFaults(const Surface& surface, const VertexRow* positions, FaultCollector& faults);

} // namespace vexa::mesh::detail
