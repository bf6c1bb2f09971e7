#pragma once

#include "vexa/mesh/detail/strips/HugePages.h"

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>

namespace vexa::mesh::detail {

/// An uninitialised array that asks for huge pages when it is large: it is read and written all over, and with pages of
/// 4 KiB most of that would miss the translation buffer.
template <class T>
class LargeArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    LargeArray() = default;

    /// \throw std::bad_alloc no memory
    explicit LargeArray(std::size_t count) : data_(allocate(count * sizeof(T)), Free{count * sizeof(T)}) {}

    [[nodiscard]] T* get() const { return data_.get(); }
    T& operator[](std::size_t index) const { return data_.get()[index]; }

private:
    static T* allocate(std::size_t size) {
        if (size < hugePageSize) {
            return static_cast<T*>(::operator new(size));
        }
        return static_cast<T*>(mapMemory(size));
    }

    struct Free {
        std::size_t size = 0;
        void operator()(T* data) const {
            if (size < hugePageSize) {
                ::operator delete(data);
            } else {
                unmapMemory(data, size);
            }
        }
    };
    std::unique_ptr<T, Free> data_;
};

} // namespace vexa::mesh::detail
