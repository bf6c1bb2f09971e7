#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// Elements at equal distances; bytes between them are never read.
struct VertexRow {
    const unsigned char* bytes; ///< of any alignment
    std::size_t size;           ///< of an element, in bytes
    std::size_t stride;         ///< from one to the next, in bytes
};

/// For each vertex the first one whose elements in all of the rows are the same bytes.
///
/// \param rows  if there are none, all vertices are the same
/// \param count of the vertices, below 2^32
/// \throw std::bad_alloc if memory runs out
/// Cost: linear.
std::vector<std::uint32_t> firstEqual(std::span<const VertexRow> rows, std::size_t count);

/// For each vertex the first one of its class: the positions of any two neighbours in it are at most `tolerance` apart.
/// Zeros of both signs are equal, and positions that are not finite are joined with nothing.
///
/// \param positions of three floats each
/// \param kinds     one per vertex; vertices of different kinds are never joined
/// \param tolerance at least 0
/// \throw std::bad_alloc if memory runs out
/// Cost: linear as long as few vertices are within the tolerance of one another without being joined.
std::vector<std::uint32_t> firstNear(const VertexRow& positions, std::span<const std::uint32_t> kinds,
                                     double tolerance);

} // namespace vexa::mesh::detail
