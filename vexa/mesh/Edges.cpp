#include "vexa/mesh/Edges.h"

#include "vexa/mesh/detail/edges/EdgeLists.h"
#include "vexa/mesh/detail/strips/HugePages.h"

#include <algorithm>
#include <cstddef>

namespace vexa::mesh {

namespace {

constexpr std::uint32_t noVertex = ~std::uint32_t{0};

} // namespace

std::vector<Edge> buildEdges(std::span<const unsigned int> triangles) {
    detail::EdgeLists lists("buildEdges", triangles);
    std::vector<Edge> edges;
    // As many as a closed surface has; others may have up to twice as many.
    edges.reserve(triangles.size() / 2 + 16);
    detail::adviseHugePages(edges.data(), edges.capacity() * sizeof(Edge));
    lists.walk([&](std::uint32_t edge, std::size_t triangle, std::uint32_t place, bool isNew) {
        const unsigned int* const corners = &triangles[triangle];
        const std::uint32_t opposite = corners[detail::after(place + 1)];
        if (isNew) {
            const std::uint32_t from = corners[place];
            const std::uint32_t to = corners[detail::after(place)];
            edges.push_back({{std::min(from, to), std::max(from, to)}, 1, {opposite, noVertex}});
        } else if (++edges[edge].triangleCount == 2) {
            edges[edge].opposites[1] = opposite;
        }
    });
    return edges;
}

} // namespace vexa::mesh
