#pragma once

#include <cstddef>
#include <vector>

namespace vexa::tool {

/// The edges of a triangle list, identified by their two vertex indices, in either order.
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
