#pragma once

#include <cstddef>
#include <new>
#include <span>
#include <sys/mman.h>

namespace vexa::test {

/// An index list of any length without memory: reading any of it crashes.
class UnreadableIndices {
public:
    explicit UnreadableIndices(std::size_t count)
        : count_(count), begin_(::mmap(nullptr, count * sizeof(unsigned int), PROT_NONE,
                                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
        if (begin_ == MAP_FAILED) {
            throw std::bad_alloc();
        }
    }
    UnreadableIndices(const UnreadableIndices&) = delete;
    UnreadableIndices& operator=(const UnreadableIndices&) = delete;
    ~UnreadableIndices() { ::munmap(begin_, count_ * sizeof(unsigned int)); }

    [[nodiscard]] std::span<const unsigned int> get() const {
        return {static_cast<const unsigned int*>(begin_), count_};
    }

private:
    std::size_t count_;
    void* begin_;
};

} // namespace vexa::test
