#include "vexa/mesh/detail/strips/flow/ChargeFlow.h"

namespace vexa::mesh::detail {

void ChargeFlow::flush() {
    for (std::size_t i = 0; i < count_; ++i) {
        fans_.prefetchFirst(moves_[i].fan);
    }
    for (std::size_t i = 0; i < count_; ++i) {
        __builtin_prefetch(&partition_[triangleOf(fans_.first(moves_[i].fan))], 1);
    }
    for (std::size_t i = 0; i < count_; ++i) {
        apply(moves_[i]);
    }
    count_ = 0;
}

void ChargeFlow::apply(const Move& move) {
    const std::uint32_t units = move.placeAndUnits & 3;
    const FanGraph::Spoke spoke = fans_.findSpoke(partition_, move.fan, move.placeAndUnits >> 2);
    const std::uint32_t over = spoke.runsAway ? 3 - units : units;
    add(spoke.halfEdge, over);
    if (const HalfEdgeId across = partition_.twin(spoke.halfEdge); across != partition_.border()) {
        add(across, 3 - over);
    }
}

void ChargeFlow::add(HalfEdgeId halfEdge, std::uint32_t units) {
    LinkedTriangle& triangle = partition_[triangleOf(halfEdge)];
    const std::uint32_t place = placeOf(halfEdge);
    const std::uint32_t sum = (flowOver(triangle, place) + units) % 3;
    triangle.flow = static_cast<std::uint8_t>((triangle.flow & ~(3U << 2 * place)) | sum << 2 * place);
}

} // namespace vexa::mesh::detail
