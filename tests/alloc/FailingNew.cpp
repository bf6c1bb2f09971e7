#include "alloc/FailingNew.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> live{0};
std::atomic<std::size_t> count{0};
std::atomic<std::size_t> failFrom{unlimited};
std::atomic<std::size_t> failTo{unlimited};
std::atomic<std::size_t> sizeLimit{unlimited};
std::atomic<bool> failed{false};

void* allocate(std::size_t size) noexcept {
    const std::size_t number = count++;
    if ((number >= failFrom && number < failTo) || size > sizeLimit) {
        failed = true;
        return nullptr;
    }
    void* const memory = std::malloc(size != 0 ? size : 1);
    live += memory != nullptr ? 1 : 0;
    return memory;
}

void* allocateOrThrow(std::size_t size) {
    if (void* const memory = allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void release(void* memory) noexcept {
    live -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

} // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}

namespace vexa::test {

std::size_t liveAllocations() {
    return live;
}

FailingNew::FailingNew(std::size_t n, Mode mode) {
    failed = false;
    count = 0;
    failTo = mode == Mode::Once ? n + 1 : unlimited;
    failFrom = n;
}

FailingNew::FailingNew(std::size_t largestSize) {
    failed = false;
    sizeLimit = largestSize;
}

FailingNew::~FailingNew() {
    failFrom = unlimited;
    sizeLimit = unlimited;
}

bool FailingNew::hasFailed() const {
    return failed;
}

} // namespace vexa::test
