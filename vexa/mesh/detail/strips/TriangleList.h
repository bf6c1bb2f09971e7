#pragma once

#include "vexa/mesh/Types.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vexa::mesh::detail {

/// \param caller name of the public function, with which the message begins
/// \throw std::invalid_argument the number of indices is not a multiple of 3
void checkTriangleCount(const char* caller, std::size_t indexCount);

/// \param caller name of the public function, with which the message begins
/// \throw std::invalid_argument "CALLER: TYPE does not contain triangles": any type but lists, strips and fans of them
void checkContainsTriangles(const char* caller, PrimitiveType type);

/// \param caller name of the public function, with which the messages begin
/// \throw std::invalid_argument the number of indices is not a multiple of 3, or an index is 4294967295
void checkTriangles(const char* caller, std::span<const unsigned int> triangles);

/// Checks that a list can be cut into strips, its length first, without reading a list that is too long.
///
/// \throw std::length_error more triangles than `CompactGraph::maxCount`
/// Also throws what checkTriangles throws.
void checkStripTriangles(const char* caller, std::span<const unsigned int> triangles);

/// Whether two of the three corners are the same vertex.
constexpr bool isCollapsed(std::uint32_t v0, std::uint32_t v1, std::uint32_t v2) {
    return v0 == v1 || v1 == v2 || v2 == v0;
}
inline bool isCollapsed(const unsigned int* corners) {
    return isCollapsed(corners[0], corners[1], corners[2]);
}

} // namespace vexa::mesh::detail
