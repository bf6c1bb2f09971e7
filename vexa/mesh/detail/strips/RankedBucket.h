#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include <vector>

namespace vexa::mesh::detail {

/// A queue of triangles with removal in O(1) and the k-th entry in O(log n).
///
/// Entries are appended to a log that never moves; a bitmap marks those still present, and counts per 1,024,
/// 65,536 and 4,194,304 entries lead to the k-th.
class RankedBucket {
public:
    /// \param capacity number of entries that are ever pushed between two calls of `restart`
    explicit RankedBucket(std::uint32_t capacity)
        : log_(capacity), bits_(capacity / 64 + 1), fine_(capacity / fineSize + 1), coarse_(capacity / coarseSize + 1),
          top_(capacity / topSize + 1) {}

    [[nodiscard]] std::uint32_t size() const { return size_; }

    /// Appends a triangle; returns the position by which it can be erased.
    std::uint32_t push(TriangleId triangle) {
        const std::uint32_t position = end_++;
        log_[position] = triangle;
        bits_[position / 64] |= std::uint64_t{1} << (position % 64);
        ++fine_[position / fineSize];
        ++coarse_[position / coarseSize];
        ++top_[position / topSize];
        ++size_;
        return position;
    }

    /// Removes the entry at a position, which must be present.
    void erase(std::uint32_t position) {
        bits_[position / 64] &= ~(std::uint64_t{1} << (position % 64));
        --fine_[position / fineSize];
        --coarse_[position / coarseSize];
        --top_[position / topSize];
        --size_;
    }

    /// The triangle pushed at a position.
    [[nodiscard]] TriangleId entry(std::uint32_t position) const { return log_[position]; }

    /// Position of the k-th present entry in order of insertion, counted from 0; `k` is below `size`.
    [[nodiscard]] std::uint32_t find(std::uint32_t k) const {
        std::size_t i = skip(top_, 0, k);
        i = skip(coarse_, i * (topSize / coarseSize), k);
        i = skip(fine_, i * (coarseSize / fineSize), k);
        std::size_t word = i * (fineSize / 64);
        for (auto inWord = std::popcount(bits_[word]); k >= static_cast<std::uint32_t>(inWord);
             inWord = std::popcount(bits_[++word])) {
            k -= static_cast<std::uint32_t>(inWord);
        }
        std::uint64_t bits = bits_[word];
        for (; k > 0; --k) {
            bits &= bits - 1;
        }
        return static_cast<std::uint32_t>(word * 64 + static_cast<std::size_t>(std::countr_zero(bits)));
    }

    /// Calls `visit(triangle)` for every entry, in order of insertion. The visit may write the log's first entries, up
    /// to as many as it was called for.
    template <class Visit>
    void forEach(Visit visit) const {
        for (std::size_t word = 0; word * 64 < end_; ++word) {
            for (std::uint64_t bits = bits_[word]; bits != 0; bits &= bits - 1) {
                visit(log_[word * 64 + static_cast<std::size_t>(std::countr_zero(bits))]);
            }
        }
    }

    /// The log's storage, to be written before `restart`.
    TriangleId* log() { return log_.get(); }

    /// Empties the bucket and then takes in the first `count` entries of the log, at positions 0 to `count` - 1.
    void restart(std::uint32_t count) {
        fill(bits_, 64, count);
        fill(fine_, fineSize, count);
        fill(coarse_, coarseSize, count);
        fill(top_, topSize, count);
        end_ = count;
        size_ = count;
    }

private:
    static constexpr std::uint32_t fineSize = 1U << 10;
    static constexpr std::uint32_t coarseSize = 1U << 16;
    static constexpr std::uint32_t topSize = 1U << 22;

    /// From block `first` on, the block that holds the k-th entry; `k` becomes its rank in there.
    template <class Count>
    static std::size_t skip(const std::vector<Count>& counts, std::size_t first, std::uint32_t& k) {
        while (k >= counts[first]) {
            k -= counts[first++];
        }
        return first;
    }

    /// Counts, or bits, of `count` entries from the first on; the blocks after those in use are already zero.
    template <class Block>
    void fill(std::vector<Block>& blocks, std::uint32_t blockSize, std::uint32_t count) const {
        const std::size_t used = std::max(end_, count) / blockSize;
        for (std::size_t i = 0; i <= used; ++i) {
            const std::uint64_t begin = i * blockSize;
            const std::uint64_t inBlock = count <= begin ? 0 : std::min<std::uint64_t>(blockSize, count - begin);
            if constexpr (sizeof(Block) == 8) {
                blocks[i] = inBlock == 64 ? ~Block{0} : (Block{1} << inBlock) - 1;
            } else {
                blocks[i] = static_cast<Block>(inBlock);
            }
        }
    }

    LargeArray<TriangleId> log_;
    std::vector<std::uint64_t> bits_;
    std::vector<std::uint16_t> fine_;
    std::vector<std::uint32_t> coarse_;
    std::vector<std::uint32_t> top_;
    std::uint32_t end_ = 0;
    std::uint32_t size_ = 0;
};

} // namespace vexa::mesh::detail
