#pragma once

#include "io/Accessors.h"

#include <cstdint>
#include <vector>

namespace vexa::tool {

/// For each vertex the first one whose elements in all of the buffers are the same bytes.
///
/// \param values equally many elements each; not changed
/// \param count  of the elements, which matters if there are no buffers: then all are the same
std::vector<std::uint32_t> firstEqual(const std::vector<const AccessorData*>& values, std::size_t count);

/// For each vertex the first one of its class: the positions of any two neighbours in it are at most `tolerance` apart.
/// Positions that are not finite are joined only with equal ones.
///
/// \param positions three floats per element
/// \param kinds     vertices of different numbers are never joined
std::vector<std::uint32_t> firstNear(const AccessorData& positions, const std::vector<std::uint32_t>& kinds,
                                     double tolerance);

} // namespace vexa::tool
