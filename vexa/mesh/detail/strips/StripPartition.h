#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/LargeArray.h"
#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/LinkTables.h"
#include "vexa/mesh/detail/strips/Polling.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// A triangle's neighbours and the edges over which strips run, in a quarter of a cache line.
struct LinkedTriangle {
    HalfEdgeId twin[3]; ///< the opposite half-edge over each edge; that of the sentinel triangle on a border
    EdgeSet links;      ///< edges linked with the neighbour's; all of a collapsed triangle and of the sentinel
    std::uint8_t flow;  ///< charge that flows over each edge, two bits each; see flow/Charges.h
    std::uint8_t label; ///< place of the edge that is to stay unlinked; see flow/Labels.h
    std::uint8_t unused;
};
static_assert(sizeof(LinkedTriangle) == 16);

/// A cut of triangles into strips, as the links between neighbours.
///
/// Every triangle is linked over at most two of its edges, so that linked triangles form strips, and closed loops as
/// long as nobody cuts them. Neighbours never change. A collapsed triangle belongs to no strip.
///
/// Along a strip, a triangle turns towards the next or the previous edge seen from the one that it is entered by. Turns
/// alternate; where two in a row are equal, the index list needs a swap: one index more.
class StripPartition {
public:
    /// Takes the neighbours from `graph`, with nothing linked.
    ///
    /// \param order the triangles in the order in which they are to be numbered; empty keeps that of the graph
    StripPartition(const CompactGraph& graph, std::span<const unsigned int> triangles,
                   LargeVector<TriangleId> order = {}, const Poll& poll = {});

    [[nodiscard]] TriangleId count() const { return count_; }
    /// Triangles that are not collapsed.
    [[nodiscard]] TriangleId liveCount() const { return liveCount_; }
    /// Edges of these that have no neighbour.
    [[nodiscard]] std::size_t borderCount() const { return borderCount_; }
    /// The half-edge on the far side of every border.
    [[nodiscard]] HalfEdgeId border() const { return halfEdgeOf(count_, 0); }

    LinkedTriangle& operator[](TriangleId triangle) { return triangles_[triangle]; }
    const LinkedTriangle& operator[](TriangleId triangle) const { return triangles_[triangle]; }

    [[nodiscard]] HalfEdgeId twin(HalfEdgeId halfEdge) const {
        return triangles_[triangleOf(halfEdge)].twin[placeOf(halfEdge)];
    }
    [[nodiscard]] EdgeSet links(TriangleId triangle) const { return triangles_[triangle].links; }
    [[nodiscard]] std::uint32_t linkCount(TriangleId triangle) const { return linkTables.count[links(triangle)]; }
    [[nodiscard]] bool isLinked(HalfEdgeId halfEdge) const {
        return (links(triangleOf(halfEdge)) >> placeOf(halfEdge) & 1) != 0;
    }
    [[nodiscard]] bool isCollapsed(TriangleId triangle) const { return links(triangle) == allEdges; }
    /// Whether a strip begins or ends here, or consists of this triangle alone.
    [[nodiscard]] bool isEnd(TriangleId triangle) const { return linkCount(triangle) < 2; }
    /// The half-edge over which the strip leaves one of its end triangles, which must not be alone.
    [[nodiscard]] HalfEdgeId exitOfEnd(TriangleId end) const { return halfEdgeOf(end, linkTables.first[links(end)]); }

    void link(HalfEdgeId halfEdge) {
        set(halfEdge);
        set(twin(halfEdge));
    }
    void cut(HalfEdgeId halfEdge) {
        clear(halfEdge);
        clear(twin(halfEdge));
    }

    /// The half-edge by which the strip that crosses `leaving` leaves the next triangle; `noHalfEdge` if it ends there.
    [[nodiscard]] HalfEdgeId follow(HalfEdgeId leaving) const {
        const HalfEdgeId entered = twin(leaving);
        const TriangleId triangle = triangleOf(entered);
        const std::uint32_t place = linkTables.other[links(triangle)][placeOf(entered)];
        return place == noPlace ? noHalfEdge : halfEdgeOf(triangle, place);
    }
    /// Which way the strip turns in the half-edge's triangle when entered by it.
    [[nodiscard]] std::uint8_t turn(HalfEdgeId entered) const {
        return linkTables.turn[links(triangleOf(entered))][placeOf(entered)];
    }
    /// Whether a linked edge needs a swap: seen from the edge, the strip turns the same way on both sides.
    [[nodiscard]] bool isSwap(HalfEdgeId halfEdge) const {
        return (turn(halfEdge) ^ turn(twin(halfEdge))) == (turnsNext ^ turnsPrev);
    }

    /// Number in the caller's list of the triangle with this id.
    [[nodiscard]] TriangleId original(TriangleId triangle) const {
        return order_.empty() ? triangle : order_[triangle];
    }

    /// The ids by the number in the caller's list; empty while they are the same.
    [[nodiscard]] LargeVector<TriangleId> newIds(const Poll& poll = {}) const;
    /// Cuts every link.
    void cutAll();

private:
    void set(HalfEdgeId halfEdge) {
        EdgeSet& links = triangles_[triangleOf(halfEdge)].links;
        links = static_cast<EdgeSet>(links | 1U << placeOf(halfEdge));
    }
    void clear(HalfEdgeId halfEdge) {
        EdgeSet& links = triangles_[triangleOf(halfEdge)].links;
        links = static_cast<EdgeSet>(links & ~(1U << placeOf(halfEdge)));
    }

    LargeArray<LinkedTriangle> triangles_; ///< and a sentinel after the last
    TriangleId count_;
    TriangleId liveCount_ = 0;
    std::size_t borderCount_ = 0;
    LargeVector<TriangleId> order_; ///< caller's number of each triangle; empty while they are the same
};

/// The graph that a partition was made of, in the order of the caller's list.
CompactGraph graphOf(const StripPartition& partition, const Poll& poll = {});

/// The links of a partition, to come back to.
class LinkSnapshot {
public:
    explicit LinkSnapshot(const StripPartition& partition);
    void restore(StripPartition& partition) const;
    [[nodiscard]] EdgeSet links(TriangleId triangle) const { return links_[triangle]; }

private:
    std::vector<EdgeSet> links_;
};

/// Number of swaps over the links of a triangle.
inline int countSwaps(const StripPartition& partition, TriangleId triangle) {
    int swaps = 0;
    const EdgeSet links = partition.links(triangle);
    for (std::uint32_t place = 0; place < 3; ++place) {
        swaps += (links >> place & 1) != 0 && partition.isSwap(halfEdgeOf(triangle, place)) ? 1 : 0;
    }
    return swaps;
}

/// Cuts a closed loop of linked triangles where that saves most swaps. Returns the half-edge that was cut.
HalfEdgeId cutLoop(StripPartition& partition, TriangleId triangle);

/// Cuts every closed loop.
void cutLoops(StripPartition& partition, const Poll& poll = {});

/// Indices beyond one a triangle, parity aside: three a strip, one a swap. Counts joints by restart, but for the one that
/// the last strip does not need.
std::uint64_t countExtraIndices(const StripPartition& partition);

} // namespace vexa::mesh::detail
