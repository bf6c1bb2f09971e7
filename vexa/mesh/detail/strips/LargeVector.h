#pragma once

#include "vexa/mesh/detail/strips/HugePages.h"

#include <cstddef>
#include <new>
#include <vector>

namespace vexa::mesh::detail {

/// Maps large blocks, so that they return to the system as soon as they are freed. The heap keeps a free block below one
/// that is in use, and in a process that had much memory before, it places them like that: arrays of one phase would add to
/// those of the next.
template <class T>
class LargeAllocator {
public:
    using value_type = T; // NOLINT(readability-identifier-naming)

    LargeAllocator() = default;
    template <class Other>
    LargeAllocator(const LargeAllocator<Other>&) {}

    T* allocate(std::size_t count) {
        const std::size_t size = count * sizeof(T);
        return static_cast<T*>(size < mappedSize ? ::operator new(size) : mapMemory(size));
    }
    void deallocate(T* data, std::size_t count) noexcept {
        const std::size_t size = count * sizeof(T);
        if (size < mappedSize) {
            ::operator delete(data);
        } else {
            unmapMemory(data, size);
        }
    }

    bool operator==(const LargeAllocator&) const { return true; }

private:
    static constexpr std::size_t mappedSize = std::size_t{256} << 10;
};

/// A vector for an entry a triangle or vertex, in huge pages if it is large enough for them.
template <class T>
using LargeVector = std::vector<T, LargeAllocator<T>>;

} // namespace vexa::mesh::detail
