#pragma once

#include "vexa/mesh/detail/strips/HalfEdgeId.h"
#include "vexa/mesh/detail/strips/LargeArray.h"

#include <cstdint>

namespace vexa::mesh::detail {

/// One triangle as the optimiser sees it.
struct CompactTriangle {
    /// The opposite half-edge across each edge; one of a sentinel triangle if no neighbour can be taken there.
    HalfEdgeId twin[3];
    /// 0 to 3: free, with this number of free neighbours. Otherwise one of the states below.
    std::int8_t state;
    /// Number of neighbours outside fans: the state after the strips of a pass are undone.
    std::uint8_t degree;
    /// The state that the triangle came with, or 127 for one that does not fit.
    std::int8_t initialState;
    /// Shares several edges with one neighbour, or is linked in one direction only. Rules for strips of simple triangles
    /// need not hold here.
    bool isIrregular;
};
static_assert(sizeof(CompactTriangle) == 16);

constexpr std::int8_t stateSplitOff = -1;
constexpr std::int8_t stateInStrip = -10;
constexpr std::int8_t stateInFan = -20;
/// A free triangle that came with a negative state: it is in the bucket of state 3, and no strip enters it.
constexpr std::int8_t stateReported = -3;

/// The adjacency of a list of triangles in 16 bytes per triangle. Ids follow the order of the list.
class CompactGraph {
public:
    /// Maximum number of triangles: together with the sentinels, as many as half-edge ids can represent.
    static constexpr std::uint64_t maxCount = (std::uint64_t{1} << 30) - 3;

    /// \throw std::length_error more than `maxCount`
    static void checkCount(std::uint64_t count);

    /// Allocates `count` uninitialised triangles, followed by the sentinels.
    ///
    /// \throw std::length_error more than `maxCount`
    explicit CompactGraph(std::uint64_t count);

    [[nodiscard]] TriangleId count() const { return count_; }
    /// Stands for a missing neighbour, and for one that is excluded by a fan or the caller.
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

    /// Frees the triangles, which must not be accessed afterwards.
    void release() { triangles_ = {}; }

    /// Sets `isIrregular` of every triangle, once the twins are known.
    void findIrregular();
    /// Whether no triangle is irregular.
    [[nodiscard]] bool isRegular() const;
    /// Sets `degree` of every triangle, once the fans are cut.
    void countDegrees();

private:
    LargeArray<CompactTriangle> triangles_;
    TriangleId count_;
};

} // namespace vexa::mesh::detail
