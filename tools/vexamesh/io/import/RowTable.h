#pragma once

#include "base/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace vexa::tool {

/// Numbers rows of bytes from 0 in the order of their first appearance; rows of equal bytes have the same number.
/// Amortised constant time per row.
class RowTable {
public:
    /// \param rowSize bytes of a row, a multiple of 4
    explicit RowTable(std::size_t rowSize) : rowSize_(rowSize), slots_(initialSlots, unused) {}

    /// \param row `rowSize` bytes, not part of the table
    unsigned int indexOf(const unsigned char* row) {
        if (2 * size_ >= slots_.size()) {
            grow();
        }
        std::uint32_t& slot = slotOf(row);
        if (slot == unused) {
            slot = static_cast<std::uint32_t>(size_++);
            rows_.insert(rows_.end(), row, row + rowSize_);
        }
        return slot;
    }

    /// How many different rows there are.
    [[nodiscard]] std::size_t size() const { return size_; }

    /// The different rows, one after the other.
    [[nodiscard]] const Bytes& rows() const { return rows_; }

private:
    static constexpr std::uint32_t unused = 0xffffffff;
    static constexpr std::size_t initialSlots = 1024; // a power of two, as every later size

    std::uint32_t& slotOf(const unsigned char* row) {
        std::uint64_t hash = 0;
        for (std::size_t i = 0; i < rowSize_; i += sizeof(std::uint32_t)) {
            hash = (hash ^ loadValue<std::uint32_t>(row + i)) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 32;
        }
        std::size_t at = hash & (slots_.size() - 1);
        while (slots_[at] != unused && std::memcmp(rows_.data() + slots_[at] * rowSize_, row, rowSize_) != 0) {
            at = (at + 1) & (slots_.size() - 1);
        }
        return slots_[at];
    }

    void grow() {
        slots_.assign(2 * slots_.size(), unused);
        for (std::size_t i = 0; i < size_; ++i) {
            slotOf(rows_.data() + i * rowSize_) = static_cast<std::uint32_t>(i);
        }
    }

    std::size_t rowSize_;
    std::size_t size_ = 0;
    std::vector<std::uint32_t> slots_;
    Bytes rows_;
};

} // namespace vexa::tool
