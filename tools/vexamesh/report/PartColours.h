#pragma once

#include "ops/Edges.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexa::tool {

/// Gives every part of a mesh a colour, so that parts that share an edge have different ones where the number of
/// colours allows, and all colours are used about as often.
///
/// \param edges  of the triangles
/// \param partOf part of each triangle
/// \param parts  number of parts
/// \param colours at most 32
/// \param offset parts of preceding primitives: otherwise small primitives would all have the same colour
/// \return a colour below `colours` for each part
std::vector<std::uint8_t> colourParts(const std::vector<EdgeUse>& edges, const std::vector<std::uint32_t>& partOf,
                                      std::size_t parts, std::uint32_t colours, std::size_t offset = 0);

} // namespace vexa::tool
