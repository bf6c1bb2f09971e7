#pragma once

#include "vexa/mesh/detail/LargeArray.h"
#include <cstdint>

namespace vexa::mesh::detail {

/// A half-edge in one word: four times its triangle's id, and its place 0, 1 or 2 in the triangle.
using HalfEdgeId = std::uint32_t;
using TriangleId = std::uint32_t;

constexpr HalfEdgeId halfEdgeOf(TriangleId triangle, std::uint32_t place) {
    return 4 * triangle + place;
}
constexpr TriangleId triangleOf(HalfEdgeId halfEdge) {
    return halfEdge >> 2;
}
constexpr std::uint32_t placeOf(HalfEdgeId halfEdge) {
    return halfEdge & 3;
}
constexpr HalfEdgeId nextOf(HalfEdgeId halfEdge) {
    return placeOf(halfEdge) == 2 ? halfEdge - 2 : halfEdge + 1;
}
constexpr HalfEdgeId prevOf(HalfEdgeId halfEdge) {
    return placeOf(halfEdge) == 0 ? halfEdge + 2 : halfEdge - 1;
}

/// One triangle as the optimiser sees it.
struct CompactTriangle {
    /// The opposite half-edge over each edge; one of a sentinel triangle where there is no neighbour that could be
    /// taken.
    HalfEdgeId twin[3];
    /// 0 to 3: free, with so many free neighbours. Otherwise one of the states below.
    std::int8_t state;
    /// Neighbours that no fan holds: the state after the strips of a pass are undone.
    std::uint8_t degree;
    /// The state that the triangle came with, or 127 for one that does not fit.
    std::int8_t initialState;
    /// Shares several edges with one neighbour, or is linked in one direction only: what holds for strips of simple
    /// triangles need not hold here.
    bool isIrregular;
};
static_assert(sizeof(CompactTriangle) == 16);

constexpr std::int8_t stateInStrip = -10;
constexpr std::int8_t stateInFan = -20;
/// A free triangle that came with a negative state: it waits with those of state 3, and no strip runs into it.
constexpr std::int8_t stateReported = -3;

/// The adjacency of a list of triangles on 16 bytes a triangle. Ids follow the order of the list.
class CompactGraph {
public:
    /// Most triangles of one graph: with the sentinels behind them, as many as half-edge ids can name.
    static constexpr std::uint64_t maxCount = (std::uint64_t{1} << 30) - 3;

    /// Space for `count` triangles, not initialised, and for the sentinels behind them.
    ///
    /// \throw std::length_error more than `maxCount`
    explicit CompactGraph(std::uint64_t count);

    [[nodiscard]] TriangleId count() const { return count_; }
    /// Stands for no neighbour, and for one that fans or the caller keep out for good.
    [[nodiscard]] HalfEdgeId border() const { return halfEdgeOf(count_, 0); }
    /// Stands for a neighbour outside the list that a strip has claimed.
    [[nodiscard]] HalfEdgeId claimed() const { return halfEdgeOf(count_ + 1, 0); }
    [[nodiscard]] bool isSentinel(HalfEdgeId halfEdge) const { return triangleOf(halfEdge) >= count_; }

    CompactTriangle& operator[](TriangleId triangle) { return triangles_[triangle]; }
    const CompactTriangle& operator[](TriangleId triangle) const { return triangles_[triangle]; }

    /// The half-edge across; a sentinel's where there is none.
    [[nodiscard]] HalfEdgeId twin(HalfEdgeId halfEdge) const {
        return triangles_[triangleOf(halfEdge)].twin[placeOf(halfEdge)];
    }
    /// State of the triangle that holds a half-edge.
    [[nodiscard]] std::int8_t state(HalfEdgeId halfEdge) const { return triangles_[triangleOf(halfEdge)].state; }

    /// Frees the triangles, which nothing may ask for any more.
    void release() { triangles_ = {}; }

    /// Sets `isIrregular` of every triangle, once the twins are known.
    void findIrregular();
    /// Whether no triangle is irregular.
    [[nodiscard]] bool isRegular() const;
    /// Sets `degree` of every triangle, once the fans are cut.
    void countDegrees();

    /// The half-edge by which a strip leaves `from` towards `to`: the first of those that they share, or none (-1, as
    /// unsigned) when they share none.
    [[nodiscard]] HalfEdgeId findExit(TriangleId from, TriangleId to) const;

private:
    LargeArray<CompactTriangle> triangles_;
    TriangleId count_;
};

constexpr HalfEdgeId noHalfEdge = ~HalfEdgeId{0};

} // namespace vexa::mesh::detail
