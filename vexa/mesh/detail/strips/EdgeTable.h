#pragma once

#include "vexa/mesh/detail/strips/LargeArray.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vexa::mesh::detail {

/// The half-edges of one or two triangles on each edge, which are as many as an edge takes. A hash table, so that the
/// cost depends neither on the number of triangles at a vertex nor on the number at an edge.
///
/// \tparam HalfEdge a pointer or an id
/// \tparam None     the value that stands for None
template <class HalfEdge, HalfEdge None>
class EdgeTable {
public:
    struct Occupants {
        int count = 0;            ///< half-edges in either direction; an edge with two is full
        HalfEdge opposite = None; ///< on an edge with one, that one if it runs the opposite way
    };

    /// \param edgeCount number of edges for which there is room at once; the table grows beyond that
    /// \throw std::bad_alloc no memory
    explicit EdgeTable(std::size_t edgeCount = 0) { allocate(edgeCount + edgeCount / 3 + 16); }

    /// The occupants of an edge between two different vertices.
    [[nodiscard]] Occupants find(std::uint32_t from, std::uint32_t to) const {
        const Slot& slot = slotOf(from, to);
        if (slot.isUnused()) {
            return {};
        }
        if (slot.only == None) {
            return {2, None};
        }
        return {1, slot.from == to ? slot.only : None};
    }

    /// Adds a half-edge to an edge that is not full; changes nothing if the edge is full or has that half-edge.
    ///
    /// \throw std::bad_alloc no memory; the table is unchanged
    void add(std::uint32_t from, std::uint32_t to, HalfEdge halfEdge) {
        Slot* slot = &slotOf(from, to);
        if (!slot->isUnused()) {
            slot->only = slot->only == halfEdge ? halfEdge : None;
            return;
        }
        if (used_ == slotCount() / 4 * 3) {
            grow();
            slot = &slotOf(from, to);
        }
        *slot = {from, to, halfEdge};
        ++used_;
    }

    /// Prefetches the entry of an edge.
    void prefetch(std::uint32_t from, std::uint32_t to) const { __builtin_prefetch(&slots_[placeOf(from, to)], 1); }

private:
    struct Slot {
        std::uint32_t from = 0; ///< direction of the first half-edge; equal to `to` while the slot is unused
        std::uint32_t to = 0;
        HalfEdge only = None; ///< the half-edge on an edge with one, `None` on a full edge

        [[nodiscard]] bool isUnused() const { return from == to; }
    };

    [[nodiscard]] std::size_t slotCount() const { return std::size_t{1} << (64 - shift_); }

    /// Where the search for an edge begins: the upper bits of its vertices, mixed as MurmurHash3 finishes.
    [[nodiscard]] std::size_t placeOf(std::uint32_t from, std::uint32_t to) const {
        std::uint64_t key = std::uint64_t{std::min(from, to)} << 32 | std::max(from, to);
        key ^= key >> 33;
        key *= 0xff51afd7ed558ccdU;
        key ^= key >> 33;
        key *= 0xc4ceb9fe1a85ec53U;
        return key >> shift_;
    }
    /// The slot of an edge, or the unused one where it belongs.
    [[nodiscard]] Slot& slotOf(std::uint32_t from, std::uint32_t to) const {
        std::size_t place = placeOf(from, to);
        while (true) {
            Slot& slot = slots_[place];
            const bool isSame = (slot.from == from && slot.to == to) || (slot.from == to && slot.to == from);
            if (isSame || slot.isUnused()) {
                return slot;
            }
            place = (place + 1) & (slotCount() - 1);
        }
    }

    void allocate(std::size_t minSlots) {
        const std::size_t count = std::bit_ceil(minSlots);
        slots_ = LargeArray<Slot>(count);
        std::fill_n(slots_.get(), count, Slot{});
        shift_ = 64 - std::countr_zero(count);
    }
    void grow() {
        EdgeTable larger;
        larger.allocate(2 * slotCount());
        for (const Slot* slot = slots_.get(); slot != slots_.get() + slotCount(); ++slot) {
            if (!slot->isUnused()) {
                larger.slotOf(slot->from, slot->to) = *slot;
            }
        }
        larger.used_ = used_;
        *this = std::move(larger);
    }

    LargeArray<Slot> slots_;
    int shift_ = 0;
    std::size_t used_ = 0;
};

} // namespace vexa::mesh::detail
