#pragma once

#include "vexa/mesh/detail/strips/LargeArray.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace vexa::mesh::detail {

/// Number of a fan.
using FanId = std::uint32_t;

/// The fans of a mesh, a fan being triangles that hang together around a vertex: closed around an inner vertex, open at
/// the border, and several at a vertex where surfaces touch. Two fans are neighbours over each edge that joins their
/// vertices.
///
/// Where strips run through all triangles around a vertex without a swap or an end, every third edge stays unlinked, so
/// that their number must be a multiple of three. Otherwise the fan has a charge: what is missing to the next multiple.
class FanGraph {
public:
    FanGraph() = default;
    FanGraph(const StripPartition& partition, StripMonitor& monitor);

    [[nodiscard]] FanId count() const { return count_; }
    /// Fans with a charge before any is cancelled.
    [[nodiscard]] FanId chargedCount() const { return chargedCount_; }

    /// The fans over the edges around a fan, in the order of the walk around it.
    [[nodiscard]] std::span<const FanId> neighbours(FanId fan) const {
        return {neighbours_.get() + begins_[fan], neighbours_.get() + begins_[fan + 1]};
    }

    /// The charge of a fan in the two lowest bits; above them, a search has six of its own.
    std::uint8_t& state(FanId fan) { return states_[fan]; }
    /// The states of all fans. Loops over them keep this pointer: bytes may alias anything, so that the compiler would read
    /// it from memory again after every store.
    [[nodiscard]] std::uint8_t* states() { return states_.get(); }
    [[nodiscard]] std::uint32_t charge(FanId fan) const { return states_[fan] & 3U; }

    /// The half-edge over the edge at this place among the neighbours, running away from the fan's vertex, or towards it
    /// for the last edge of an open fan: only that one has a triangle on no other side.
    struct Spoke {
        HalfEdgeId halfEdge;
        bool runsAway;
    };
    [[nodiscard]] Spoke findSpoke(const StripPartition& partition, FanId fan, std::uint32_t place) const;

    void prefetchBegin(FanId fan) const { __builtin_prefetch(begins_.get() + fan); }
    void prefetchNeighbours(FanId fan) const { __builtin_prefetch(neighbours_.get() + begins_[fan]); }
    void prefetchFirst(FanId fan) const { __builtin_prefetch(firsts_.get() + fan); }
    [[nodiscard]] HalfEdgeId first(FanId fan) const { return firsts_[fan] & ~openFan; }

private:
    static constexpr HalfEdgeId openFan = HalfEdgeId{1} << 31;

    void addFan(const StripPartition& partition, HalfEdgeId corner);

    FanId count_ = 0;
    FanId chargedCount_ = 0;
    std::size_t listEnd_ = 0;
    // Sized for a fan a corner: memory that is never written takes no space.
    LargeArray<FanId> fanOfCorner_; ///< while the lists hold corners
    LargeArray<FanId> neighbours_;  ///< of all fans, one list after the other
    LargeArray<std::uint32_t> begins_;
    LargeArray<HalfEdgeId> firsts_; ///< where a fan's list starts, with `openFan`
    LargeArray<std::uint8_t> states_;
};

} // namespace vexa::mesh::detail
