#include "vexa/mesh/detail/strips/StripWriter.h"

namespace vexa::mesh::detail {

unsigned int* StripWriter::grow(unsigned int* next) {
    const auto count = static_cast<std::size_t>(next - indices_.data());
    indices_.resize(2 * indices_.size());
    return indices_.data() + count;
}

WrittenStrip StripWriter::write(TriangleId end) {
    markWritten(end);
    const unsigned int* const corners = cornersOf(end);
    unsigned int* next = indices_.data();
    const EdgeSet links = partition_.links(end);
    if (links == 0) {
        next[0] = corners[0];
        next[1] = corners[1];
        next[2] = corners[2];
        return {{next, 3}, false, true, 1};
    }
    const std::uint32_t exit = linkTables.first[links];
    HalfEdgeId entered = partition_[end].twin[exit];
    std::uint8_t turn = partition_.turn(entered);
    // The first triangle is put such that the second one needs no swap.
    const bool startsOdd = turn == turnsNext;
    std::uint8_t turnBefore = turnsNext ^ turnsPrev ^ turn;
    unsigned int older = corners[startsOdd ? (exit + 1) % 3 : exit];
    unsigned int newest = corners[startsOdd ? exit : (exit + 1) % 3];
    next[0] = corners[(exit + 2) % 3];
    next[1] = older;
    next[2] = newest;
    next += 3;
    TriangleId count = 1;
    for (;;) {
        const TriangleId triangle = triangleOf(entered);
        const std::uint32_t place = placeOf(entered);
        const LinkedTriangle& record = partition_[triangle];
        markWritten(triangle);
        ++count;
        turn = linkTables.turn[record.links][place];
        const unsigned int apex = cornersOf(triangle)[place == 0 ? 2 : place - 1];
        // A swap repeats the index before the newest. No branch: it could not be predicted.
        const bool isSwap = turn == turnBefore;
        *next = older;
        next += isSwap ? 1 : 0;
        *next++ = apex;
        older = isSwap ? older : newest;
        newest = apex;
        if (turn == 0) {
            break;
        }
        turnBefore = turn;
        entered = record.twin[linkTables.other[record.links][place]];
        if (next + 3 >= indices_.data() + indices_.size()) {
            next = grow(next);
        }
    }
    return {{indices_.data(), next}, startsOdd, count == 2, count};
}

} // namespace vexa::mesh::detail
