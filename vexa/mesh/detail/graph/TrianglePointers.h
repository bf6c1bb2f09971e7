#pragma once

#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/strips/LargeArray.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace vexa::mesh::detail {

/// An array of pointers to triangles, on half the space where they lie within 32 GiB of each other.
class TrianglePointers {
public:
    using Triangle = HalfEdgeGraph::Triangle;

    TrianglePointers() = default;

    /// \param lowest, highest the triangles with the lowest and the highest address that will be set
    /// \throw std::bad_alloc no memory
    TrianglePointers(std::size_t count, Triangle* lowest, Triangle* highest)
        : base_(reinterpret_cast<std::uintptr_t>(lowest)),
          isNarrow_((reinterpret_cast<std::uintptr_t>(highest) - base_) / alignof(Triangle) <=
                    std::numeric_limits<std::uint32_t>::max()),
          narrow_(isNarrow_ ? count : 0), wide_(isNarrow_ ? 0 : count) {}

    Triangle* operator[](std::size_t index) const {
        return isNarrow_ ? reinterpret_cast<Triangle*>(base_ + alignof(Triangle) * narrow_[index]) : wide_[index];
    }
    void set(std::size_t index, Triangle* triangle) {
        if (isNarrow_) {
            narrow_[index] =
                static_cast<std::uint32_t>((reinterpret_cast<std::uintptr_t>(triangle) - base_) / alignof(Triangle));
        } else {
            wide_[index] = triangle;
        }
    }
    /// Prefetches an entry.
    void prefetch(std::size_t index) const {
        __builtin_prefetch(isNarrow_ ? static_cast<const void*>(&narrow_[index]) : &wide_[index]);
    }

private:
    std::uintptr_t base_ = 0;
    bool isNarrow_ = true;
    LargeArray<std::uint32_t> narrow_;
    LargeArray<Triangle*> wide_;
};

} // namespace vexa::mesh::detail
