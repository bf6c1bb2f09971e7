#pragma once

#include "ops/Edges.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexa::tool {

/// Hues that people with the common kinds of colour blindness tell apart, each light and dark; the vermilion of the same
/// family is kept for triangles that are split off.
constexpr std::array<std::uint32_t, 12> partPalette{0x56b4e9, 0xe69f00, 0x009e73, 0xf0e442, 0x0072b2, 0xcc79a7,
                                                    0xb5dff5, 0x9a6a05, 0x86d3b8, 0x4d5f9e, 0xf6c98c, 0x8a4a70};
constexpr std::uint32_t leftOverColour = 0x9a9a9a;

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

/// Joins parts of a mesh with their neighbours to groups.
///
/// \param edges     of the triangles
/// \param partOf    part of each triangle
/// \param parts     number of parts
/// \param triangles that a group should have; those without further neighbours have fewer, and none has twice as many
///                  unless a single part does
/// \return the group of each part, numbered from 0
std::vector<std::uint32_t> groupParts(const std::vector<EdgeUse>& edges, const std::vector<std::uint32_t>& partOf,
                                      std::size_t parts, std::size_t triangles);

} // namespace vexa::tool
