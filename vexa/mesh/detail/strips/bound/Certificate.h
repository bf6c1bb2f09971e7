#pragma once

#include "vexa/mesh/detail/strips/bound/CostTable.h"
#include "vexa/mesh/detail/strips/bound/StarLayout.h"

#include <cstdint>
#include <span>

namespace vexa::mesh::detail {

/// A proven lower bound on the cost of all strips, in indices, from any split of the costs.
///
/// The kept tables may hold any numbers: what is left of an edge for its other star is computed from them without
/// rounding, so that the two add up to the costs exactly, and so do the stars' least costs. The cost of the strips in one
/// connected part of the mesh is a whole number, and at least that of one strip.
///
/// \param tables    the kept tables, `layout.tableCount()` of them
/// \param stripCost cost of a strip without its swaps
std::uint64_t certifyCost(const StarLayout& layout, const EdgeCosts& costs, std::span<const CostTable> tables,
                          std::uint64_t stripCost);

} // namespace vexa::mesh::detail
