#pragma once

#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/graph/TrianglePointers.h"
#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/FanSearch.h"

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

struct NumberingOptions {
    bool withClaimed;              ///< the claimed triangles too, after the free ones, as if they had no free neighbour
    bool withStrips;               ///< the triangles of stored strips too, at the end
    bool withFans;                 ///< fan candidates
    std::uint32_t minFanTriangles; ///< fewest half-edges at a candidate's centre
};

/// A half-edge graph's triangles by id, in the order of their lists, with their links as ids.
///
/// From the numbering to the commit each triangle's `state` is its id, so that a pointer leads to the id at once.
/// Unless the states are handed over, they are restored at the end.
class GraphNumbering {
public:
    /// \throw std::length_error more triangles than a compact graph holds; the source is unchanged after any exception
    GraphNumbering(const HalfEdgeGraph& source, const NumberingOptions& options);
    ~GraphNumbering();
    GraphNumbering(const GraphNumbering&) = delete;
    GraphNumbering& operator=(const GraphNumbering&) = delete;

    /// Triangles that are not in stored strips: the first ids.
    [[nodiscard]] std::uint32_t freeCount() const { return freeCount_; }
    CompactGraph& graph() { return graph_; }
    [[nodiscard]] std::span<const FanCandidate> fanCandidates() const { return fanCandidates_; }
    [[nodiscard]] HalfEdgeGraph::Triangle& triangle(TriangleId id) const { return *pointers_[id]; }
    /// The state that a triangle came with, less the neighbours that fans took.
    [[nodiscard]] std::int32_t currentState(TriangleId id) const;

    /// Prefetches the pointer to a triangle, and then the triangle.
    void prefetchPointer(TriangleId id) const { pointers_.prefetch(id); }
    void prefetchTriangle(TriangleId id) const { __builtin_prefetch(pointers_[id], 1); }

    /// From now on the caller sets the state of every triangle.
    void handOverStates() { ownsStates_ = false; }
    /// Frees the links, once the states are handed over. Afterwards only `triangle` may be called.
    void releaseLinks() { graph_.release(); }

private:
    struct Extent;

    GraphNumbering(const HalfEdgeGraph& source, const NumberingOptions& options, const Extent& extent);
    void add(const HalfEdgeGraph::TriangleList& list);
    [[nodiscard]] std::int32_t initialState(TriangleId id) const;
    void link(TriangleId id);
    void findCandidates(const HalfEdgeGraph& source, std::uint32_t minFanTriangles);
    [[nodiscard]] HalfEdgeId find(const HalfEdgeGraph::HalfEdge& halfEdge) const;
    [[nodiscard]] HalfEdgeId twinOf(const HalfEdgeGraph::HalfEdge& halfEdge) const;

    TrianglePointers pointers_;
    std::vector<std::pair<TriangleId, std::int32_t>>
        largeStates_; ///< initial states that a compact triangle can't hold
    std::uint32_t added_ = 0;
    std::uint32_t freeCount_ = 0;
    bool ownsStates_ = true;
    CompactGraph graph_;
    std::vector<FanCandidate> fanCandidates_; ///< in the order of their centres
};

} // namespace vexa::mesh::detail
