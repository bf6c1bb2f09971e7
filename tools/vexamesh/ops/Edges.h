#pragma once

#include <array>
#include <cstddef>
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
///
/// \param triangles three indices per triangle
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

/// The edges of a triangle list.
struct EdgeCounts {
    std::size_t edges = 0;
    std::size_t border = 0;      ///< of one triangle
    std::size_t nonManifold = 0; ///< of more than two triangles

    /// Whether no edge is a border.
    [[nodiscard]] bool isClosed() const { return edges > 0 && border == 0; }
};

/// \param triangles three indices per triangle, none degenerate
EdgeCounts countEdges(const std::vector<unsigned int>& triangles);

} // namespace vexa::tool
