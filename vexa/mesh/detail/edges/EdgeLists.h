#pragma once

#include "vexa/mesh/detail/strips/DenseIndices.h"
#include "vexa/mesh/detail/strips/LargeArray.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// The place of the corner after another of a triangle: 1, 2, 0 for 0, 1, 2.
constexpr std::uint32_t after(std::uint32_t place) {
    return place % 3 == 2 ? 0 : place % 3 + 1;
}

/// The undirected edges of a triangle list, numbered from 0 in the order of their first occurrence.
///
/// Each edge is in the list of one of its ends: of the one with the lower index, or, where that would make a list long,
/// of the one with fewer triangles. No list is then longer than the square root of six times the number of triangles,
/// and on a surface nearly all of them are short, next to a hub, too.
class EdgeLists {
public:
    /// \param triangles three vertex indices per triangle; must outlive the object
    /// \param caller    name of the public function, with which the messages begin
    /// \throw std::invalid_argument as checkTriangles
    /// \throw std::length_error     more triangles than edges can be numbered in 32 bits
    EdgeLists(const char* caller, std::span<const unsigned int> triangles);

    /// Calls `visit(edge, triangle, place, isNew)` for each half-edge of each triangle that is not collapsed, in order:
    /// the one from `triangles[triangle + place]` to `triangles[triangle + after(place)]`. Must be called once only.
    ///
    /// \return the number of edges
    template <class Visit>
    std::uint32_t walk(Visit visit);

private:
    struct List {
        std::uint32_t begin = 0;
        std::uint32_t end = 0; ///< of the entries so far
    };

    static constexpr unsigned blockSize = 4; ///< entries that are compared at once

    [[nodiscard]] bool isKey(std::uint32_t a, std::uint32_t b) const {
        if (!triangleCounts_.empty() && triangleCounts_[a] != triangleCounts_[b]) {
            return triangleCounts_[a] < triangleCounts_[b];
        }
        return a < b;
    }
    /// Where a vertex is in a list; its end if it is not.
    [[nodiscard]] std::uint32_t find(const List& list, std::uint32_t other) const {
        std::uint32_t i = list.begin;
        do {
            // Without a branch that depends on the place, which would be mispredicted half of the time.
            const std::uint32_t* const others = others_.get() + i;
            unsigned found = 0;
            for (unsigned k = 0; k < blockSize; ++k) {
                found |= static_cast<unsigned>(others[k] == other) << k;
            }
            if (found != 0) {
                return std::min(i + static_cast<std::uint32_t>(std::countr_zero(found)), list.end);
            }
            i += blockSize;
        } while (i < list.end);
        return list.end;
    }
    void countTriangles();
    std::uint32_t layOutLists();

    DenseIndices dense_;
    std::vector<List> lists_;
    std::vector<std::uint32_t> triangleCounts_; ///< per vertex; empty while indices decide
    LargeArray<std::uint32_t> others_;          ///< the other ends of the edges in the lists
    LargeArray<std::uint32_t> edges_;           ///< the numbers of the edges in the lists
};

template <class Visit>
std::uint32_t EdgeLists::walk(Visit visit) {
    constexpr std::size_t ahead = 3 * 16;
    const std::span<const unsigned int> triangles = dense_.indices();
    std::uint32_t edgeCount = 0;
    const auto visitHalfEdge = [&](std::size_t triangle, std::uint32_t place) {
        const std::uint32_t from = triangles[triangle + place];
        const std::uint32_t to = triangles[triangle + after(place)];
        const bool isFrom = isKey(from, to);
        const std::uint32_t other = isFrom ? to : from;
        List& list = lists_[isFrom ? from : to];
        if (const std::uint32_t i = find(list, other); i != list.end) {
            visit(edges_[i], triangle, place, false);
            return;
        }
        others_[list.end] = other;
        edges_[list.end++] = edgeCount;
        visit(edgeCount++, triangle, place, true);
    };
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        // Without effect on a list in order, and several times as fast on one in disorder.
        if (i + 2 * ahead < triangles.size()) {
            for (std::size_t k = 0; k < 3; ++k) {
                __builtin_prefetch(&lists_[triangles[i + 2 * ahead + k]], 1);
                __builtin_prefetch(others_.get() + lists_[triangles[i + ahead + k]].begin, 1);
            }
        }
        if (!isCollapsed(&triangles[i])) {
            visitHalfEdge(i, 0);
            visitHalfEdge(i, 1);
            visitHalfEdge(i, 2);
        }
    }
    return edgeCount;
}

} // namespace vexa::mesh::detail
