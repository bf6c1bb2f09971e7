#pragma once

#include "vexa/mesh/detail/strips/HalfEdgeId.h"
#include "vexa/mesh/detail/strips/LargeArray.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <deque>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vexa::mesh::detail {

/// The places of a value among four, as bits.
inline unsigned int findOneByOne(const std::array<std::uint32_t, 4>& values, std::uint32_t value) {
    return static_cast<unsigned int>(values[0] == value) | static_cast<unsigned int>(values[1] == value) << 1 |
           static_cast<unsigned int>(values[2] == value) << 2 | static_cast<unsigned int>(values[3] == value) << 3;
}

#ifdef __SSE2__
inline unsigned int findAtOnce(const std::array<std::uint32_t, 4>& values, std::uint32_t value) {
    const __m128i all = _mm_loadu_si128(reinterpret_cast<const __m128i*>(values.data()));
    const __m128i same = _mm_cmpeq_epi32(all, _mm_set1_epi32(static_cast<int>(value)));
    return static_cast<unsigned int>(_mm_movemask_ps(_mm_castsi128_ps(same)));
}
#else
inline unsigned int findAtOnce(const std::array<std::uint32_t, 4>& values, std::uint32_t value) {
    return findOneByOne(values, value);
}
#endif

/// The half-edges that still wait for their twins while triangles come one after the other, in 32 bytes per vertex.
///
/// Usually only a few wait at one vertex at the same time: there is room for four, and a list for the others.
class PendingEdges {
public:
    /// \param vertexCount below 4294967294, which marks the vertices with a list
    explicit PendingEdges(std::uint32_t vertexCount) : slots_(vertexCount) {
        std::fill_n(slots_.get(), vertexCount, Slots{});
    }

    void prefetch(std::uint32_t vertex) const { __builtin_prefetch(&slots_[vertex], 1); }

    /// Where half-edges from one vertex to another wait, for `take`. Reads only, and without a branch.
    [[nodiscard]] unsigned int find(std::uint32_t from, std::uint32_t to) const { return slots_[from].find(to); }

    /// Whether half-edges from one vertex to another may wait; false only if none does.
    [[nodiscard]] bool mayHave(std::uint32_t from, std::uint32_t to) const {
        return findOneByOne(slots_[from].to, to) != 0 || slots_[from].hasList();
    }

    /// Removes the earliest half-edge that waits from one vertex to another; `noHalfEdge` if there is none.
    ///
    /// \param found what `find` returned for them; only half-edges between others were added or removed since
    HalfEdgeId take(std::uint32_t from, std::uint32_t to, unsigned int found) {
        Slots& slots = slots_[from];
        if ((found & (found - 1)) != 0 || slots.hasList()) [[unlikely]] {
            return takeEarliest(slots, to);
        }
        return found == 0 ? noHalfEdge : slots.take(static_cast<unsigned int>(std::countr_zero(found)));
    }

    /// Adds a half-edge, which must be later than all others.
    ///
    /// \return false if so many wait at the vertex that searching them takes long; nothing is added then
    /// \throw std::bad_alloc memory for a list runs out
    bool add(std::uint32_t from, std::uint32_t to, HalfEdgeId halfEdge) {
        Slots& slots = slots_[from];
        const unsigned int room = slots.findUnused();
        if (room == 0) [[unlikely]] {
            return addToList(slots, to, halfEdge);
        }
        slots.put(static_cast<unsigned int>(std::countr_zero(room)), to, halfEdge);
        return true;
    }

private:
    static constexpr std::uint32_t unused = ~std::uint32_t{0};
    static constexpr std::uint32_t list = unused - 1;
    static constexpr int maxLinks =
        4; ///< of a list, with up to three half-edges each; sorted lists are faster than longer ones

    struct Slots {
        std::array<std::uint32_t, 4> to = {unused, unused, unused, unused};
        std::array<HalfEdgeId, 4> halfEdge = {}; ///< the last is the number of the next link where a list follows

        [[nodiscard]] bool hasList() const { return to[3] == list; }
        /// The slots with a half-edge to a vertex, as bits.
        [[nodiscard]] unsigned int find(std::uint32_t vertex) const { return findAtOnce(to, vertex); }
        /// The unused slots, as bits. One of them may have been written a moment ago, which reading all four at once would
        /// have to wait for.
        [[nodiscard]] unsigned int findUnused() const { return findOneByOne(to, unused); }
        HalfEdgeId take(unsigned int slot) {
            to[slot] = unused;
            return halfEdge[slot];
        }
        void put(unsigned int slot, std::uint32_t vertex, HalfEdgeId added) {
            to[slot] = vertex;
            halfEdge[slot] = added;
        }
    };

    Slots* next(const Slots& slots) { return slots.hasList() ? &links_[slots.halfEdge[3]] : nullptr; }

    [[gnu::noinline]] HalfEdgeId takeEarliest(Slots& first, std::uint32_t to) {
        Slots* earliest = nullptr;
        unsigned int slot = 0;
        for (Slots* link = &first; link != nullptr; link = next(*link)) {
            for (unsigned int i = 0; i < 4; ++i) {
                if (link->to[i] == to && (earliest == nullptr || link->halfEdge[i] < earliest->halfEdge[slot])) {
                    earliest = link;
                    slot = i;
                }
            }
        }
        return earliest == nullptr ? noHalfEdge : earliest->take(slot);
    }

    /// \param first all of its slots are in use
    [[gnu::noinline]] bool addToList(Slots& first, std::uint32_t to, HalfEdgeId halfEdge) {
        Slots* last = &first;
        for (int count = 0; last->hasList(); ++count) {
            if (count == maxLinks) {
                return false;
            }
            last = next(*last);
            if (const unsigned int room = last->findUnused(); room != 0) {
                last->put(static_cast<unsigned int>(std::countr_zero(room)), to, halfEdge);
                return true;
            }
        }
        Slots& added = links_.emplace_back();
        added.put(0, last->to[3], last->halfEdge[3]);
        added.put(1, to, halfEdge);
        last->put(3, list, static_cast<std::uint32_t>(links_.size() - 1));
        return true;
    }

    LargeArray<Slots> slots_; ///< of each vertex
    std::deque<Slots> links_; ///< of all lists; they stay where they are when one is added
};

} // namespace vexa::mesh::detail
