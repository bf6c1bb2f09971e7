#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace vexa::tool {

/// An edge of a triangle list, whatever its direction, with one of its triangles.
struct EdgeUse {
    std::uint64_t key; ///< the smaller vertex in the upper half
    std::uint32_t triangle;

    [[nodiscard]] std::array<std::uint32_t, 2> ends() const {
        return {static_cast<std::uint32_t>(key >> 32), static_cast<std::uint32_t>(key)};
    }
};

/// Every edge of every triangle; uses of the same edge are adjacent.
std::vector<EdgeUse> sortedEdges(const std::vector<unsigned int>& triangles);

/// Calls `visit(first, last)` for each edge, with its uses.
template <typename Visit>
void forEachEdge(const std::vector<EdgeUse>& edges, const Visit& visit) {
    for (std::size_t i = 0; i < edges.size();) {
        std::size_t end = i + 1;
        while (end < edges.size() && edges[end].key == edges[i].key) {
            ++end;
        }
        visit(edges.data() + i, edges.data() + end);
        i = end;
    }
}

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
