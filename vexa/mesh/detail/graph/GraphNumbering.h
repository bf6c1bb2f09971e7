#pragma once

#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/CompactGraph.h"
#include "vexa/mesh/detail/FanSearch.h"
#include "vexa/mesh/detail/TrianglePointers.h"

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

struct NumberingOptions {
    bool withClaimed; ///< the claimed triangles too, behind the free ones, as if they had no free neighbour
    bool withStrips;  ///< the triangles of stored strips too, at the end
    bool withFans;    ///< fan candidates
    std::uint32_t minFanTriangles; ///< fewest half-edges at a candidate's centre
};

/// A half-edge graph's triangles by id, in the order of their lists, with their links as ids.
///
/// From the numbering to the commit each triangle's `state` is its id, so that a pointer leads to the id at once.
/// Unless they are handed over, the states are put back in the end.
class GraphNumbering {
public:
    /// \throw std::length_error more triangles than a compact graph holds; whatever is thrown, the source is as it was
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

    /// Brings the pointer to a triangle near, then the triangle.
    void fetchPointer(TriangleId id) const { pointers_.fetch(id); }
    void fetchTriangle(TriangleId id) const { __builtin_prefetch(pointers_[id], 1); }

    /// From now on the caller sets the state of every triangle.
    void handOverStates() { ownsStates_ = false; }
    /// Frees the links, once the states are handed over. Nothing but `triangle` may be asked for afterwards.
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
