#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#endif

namespace vexa::mesh::detail {

constexpr std::size_t hugePageSize = std::size_t{2} << 20;

#ifdef MADV_HUGEPAGE

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

/// Memory of its own, in huge pages.
///
/// \throw std::bad_alloc no memory
inline void* mapMemory(std::size_t size) {
    void* const data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (data == MAP_FAILED) {
        throw std::bad_alloc();
    }
    adviseHugePages(data, size);
    return data;
}

inline void unmapMemory(void* data, std::size_t size) noexcept {
    munmap(data, size);
}

#else

// The memory of `new` elsewhere.
inline void adviseHugePages(void*, std::size_t) {}
inline void* mapMemory(std::size_t size) {
    return ::operator new(size);
}
inline void unmapMemory(void* data, std::size_t) noexcept {
    ::operator delete(data);
}

#endif

} // namespace vexa::mesh::detail
