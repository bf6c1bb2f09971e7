#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/mman.h>

namespace vexa::mesh::detail {

constexpr std::size_t hugePageSize = std::size_t{2} << 20;

/// Asks for huge pages under memory that nobody has written yet, if it is large enough for one: with pages of 4 KiB,
/// walking all over it would miss the translation buffer, and writing it first would be one page fault after the other.
inline void adviseHugePages(void* data, std::size_t size) {
    constexpr std::uintptr_t page = 4096;
    const std::uintptr_t begin = (reinterpret_cast<std::uintptr_t>(data) + page - 1) / page * page;
    const std::uintptr_t end = (reinterpret_cast<std::uintptr_t>(data) + size) / page * page;
    if (size >= hugePageSize) {
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
    }
}

} // namespace vexa::mesh::detail
