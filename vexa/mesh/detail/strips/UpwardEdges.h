#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/LargeArray.h"
#include "vexa/mesh/detail/strips/Polling.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

/// A half-edge that runs from a lower to a higher vertex, in the list of the lower one.
struct UpwardEdge {
    std::uint32_t to;
    HalfEdgeId halfEdge;
};

/// The upward half-edges of a mesh by their lower vertex, each list in the order of the triangles.
class UpwardEdges {
public:
    /// \param graph gets its triangles, without links: writing them while others are read takes no time of its own
    UpwardEdges(std::span<const unsigned int> triangles, std::uint32_t vertexCount, CompactGraph& graph,
                const Poll& poll);

    /// Removes the earliest remaining half-edge from `from` to `to`; `noHalfEdge` if there is none.
    HalfEdgeId take(std::uint32_t from, std::uint32_t to) {
        UpwardEdge* const begin = edges_.get() + (from == 0 ? 0 : ends_[from - 1]);
        UpwardEdge* const end = edges_.get() + ends_[from];
        if (end - begin > longList) {
            return takeSorted(begin, end, to);
        }
        UpwardEdge* const edge = std::find_if(begin, end, [to](const UpwardEdge& other) { return other.to == to; });
        if (edge == end) {
            return noHalfEdge;
        }
        edge->to = noVertex;
        return edge->halfEdge;
    }

    /// The result of removing the only half-edge between two vertices.
    struct OnlyEdge {
        HalfEdgeId halfEdge = noHalfEdge; ///< `noHalfEdge` if there is none
        bool isOnly = true;               ///< false if there are others, or it was removed before
    };
    OnlyEdge takeOnly(std::uint32_t from, std::uint32_t to);

    /// Calls `visit(from, to)` for all edges with three half-edges upward, at least once each.
    template <class Visit>
    void forEachTriple(Visit visit) const;

    /// Prefetches the list of a vertex.
    void prefetch(std::uint32_t vertex) const { __builtin_prefetch(edges_.get() + ends_[vertex]); }

private:
    static constexpr std::uint32_t noVertex = ~std::uint32_t{0};
    /// Longer lists are sorted and searched by bisection, so a hub with many edges is not quadratic.
    static constexpr std::ptrdiff_t longList = 64;

    void sortLongLists();
    HalfEdgeId takeSorted(UpwardEdge* begin, UpwardEdge* end, std::uint32_t to);
    static bool isBefore(const UpwardEdge& a, const UpwardEdge& b) { return a.to < b.to; }

    LargeArray<UpwardEdge> edges_;
    std::vector<std::uint32_t> ends_;  ///< per vertex, where its list ends
    std::vector<std::uint32_t> taken_; ///< for the first edge to each vertex in a long list, how many were removed
};

/// Calls `enter(triangle)` for every triangle, `visit(halfEdge, from, to)` for every half-edge of those that are not
/// collapsed, in order, and `announce(vertex)` for each of its vertices some triangles before.
template <class Enter, class Announce, class Visit>
void forEachHalfEdge(std::span<const unsigned int> triangles, const Poll& poll, Enter enter, Announce announce,
                     Visit visit) {
    constexpr std::size_t ahead = 16 * 3;
    forEachPolled(static_cast<TriangleId>(triangles.size() / 3), poll, [&](TriangleId triangle) {
        enter(triangle);
        const std::size_t i = std::size_t{3} * triangle;
        if (i + ahead < triangles.size()) {
            announce(triangles[i + ahead]);
            announce(triangles[i + ahead + 1]);
            announce(triangles[i + ahead + 2]);
        }
        const std::uint32_t v0 = triangles[i];
        const std::uint32_t v1 = triangles[i + 1];
        const std::uint32_t v2 = triangles[i + 2];
        if (!isCollapsed(v0, v1, v2)) {
            visit(halfEdgeOf(triangle, 0), v0, v1);
            visit(halfEdgeOf(triangle, 1), v1, v2);
            visit(halfEdgeOf(triangle, 2), v2, v0);
        }
    });
}

template <class Visit>
void UpwardEdges::forEachTriple(Visit visit) const {
    std::uint32_t first = 0;
    for (std::uint32_t from = 0; from < ends_.size(); ++from) {
        const UpwardEdge* const begin = edges_.get() + std::exchange(first, ends_[from]);
        const UpwardEdge* const end = edges_.get() + ends_[from];
        for (const UpwardEdge* edge = begin; end - edge >= 3; ++edge) {
            const bool isTriple =
                end - begin > longList
                    ? edge[2].to == edge->to
                    : std::count_if(edge, end, [edge](const UpwardEdge& other) { return other.to == edge->to; }) >= 3;
            if (isTriple) {
                visit(from, edge->to);
            }
        }
    }
}

/// A half-edge that runs from a higher to a lower vertex.
struct DownwardEdge {
    std::uint32_t lower;
    std::uint32_t higher;
    HalfEdgeId halfEdge;
};

/// Calls `visit(edges)` with all downward half-edges of triangles that are not collapsed, in order, some sixty at a
/// time, and prefetches the lists of their lower vertices before. Collected first, because which half-edges run
/// downward cannot be predicted.
template <class Visit>
void forEachDownward(std::span<const unsigned int> triangles, const UpwardEdges& upward, const Poll& poll,
                     Visit visit) {
    constexpr std::size_t maxDownward = 64;
    std::array<DownwardEdge, maxDownward + 1> edges;
    std::size_t count = 0;
    const auto visitFull = [&](TriangleId) {
        if (count + 3 > maxDownward) {
            visit(std::span<const DownwardEdge>(edges.data(), count));
            count = 0;
        }
    };
    forEachHalfEdge(
        triangles, poll, visitFull, [](std::uint32_t) {},
        [&](HalfEdgeId halfEdge, std::uint32_t from, std::uint32_t to) {
            edges[count] = {to, from, halfEdge};
            upward.prefetch(to);
            count += from > to ? 1 : 0;
        });
    visit(std::span<const DownwardEdge>(edges.data(), count));
}

} // namespace vexa::mesh::detail
