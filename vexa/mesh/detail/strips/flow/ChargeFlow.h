#pragma once

#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/flow/FanGraph.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace vexa::mesh::detail {

/// Units of charge that flow over a half-edge, modulo 3; over its twin flows the negative.
inline std::uint32_t flowOver(const LinkedTriangle& triangle, std::uint32_t place) {
    return triangle.flow >> 2 * place & 3U;
}

/// Records the paths along which charge is moved in the triangles of a partition.
///
/// Moves are collected and applied many at a time, so that their scattered memory accesses overlap instead of stalling
/// the search that makes them.
class ChargeFlow {
public:
    ChargeFlow(StripPartition& partition, const FanGraph& fans) : partition_(partition), fans_(fans) {}

    /// Moves `units` of charge away from a fan, over the edge at `place` among its neighbours.
    void move(FanId fan, std::uint32_t place, std::uint32_t units) {
        moves_[count_++] = {fan, place << 2 | units};
        if (count_ == moves_.size()) {
            flush();
        }
    }
    /// Applies what is collected; to be called after the last move.
    void flush();

private:
    struct Move {
        FanId fan;
        std::uint32_t placeAndUnits;
    };

    void apply(const Move& move);
    void add(HalfEdgeId halfEdge, std::uint32_t units);

    StripPartition& partition_;
    const FanGraph& fans_;
    std::array<Move, 128> moves_{};
    std::size_t count_ = 0;
};

} // namespace vexa::mesh::detail
