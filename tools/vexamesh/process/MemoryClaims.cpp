#include "process/MemoryClaims.h"

#include "base/Errors.h"
#include "process/Memory.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

namespace vexa::tool {

/// A process in a table, in memory that all of them share.
struct ClaimSlot {
    std::atomic<pid_t> process{0};
    std::atomic<std::uint64_t> expected{
        0}; ///< bytes that it has once its work has taken what it claims; 0: nothing claimed
    std::atomic<bool> isRefused{false};
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "processes do not share locks");

namespace {

/// The claims of this process, and the table that it shares with others.
struct Claims {
    std::mutex mutex; ///< guards the two numbers below
    std::uint64_t claimed = 0;
    std::uint64_t base = 0; ///< resident when the oldest of the claims was made
    ClaimSlot alone;
    ClaimSlot* slots = nullptr; ///< of a table
    std::size_t count = 0;
    ClaimSlot* own = &alone;
};

Claims& claims() {
    static Claims instance;
    return instance;
}

constexpr std::uint64_t bytesPerMiB = 1 << 20;

std::uint64_t excess(std::uint64_t expected, std::uint64_t taken) {
    return expected - std::min(expected, taken);
}

/// Bytes of the free memory that claims will take but have not taken yet; of a number that all processes share also those
/// that the others have taken.
std::uint64_t takenByClaims(const Claims& all, const FreeMemory& free) {
    std::uint64_t bytes = all.claimed == 0 ? 0 : excess(all.base + all.claimed, residentMemory(::getpid()));
    for (std::size_t i = 0; i < all.count; ++i) {
        const pid_t process = all.slots[i].process;
        if (all.slots + i != all.own && process != 0) {
            const std::uint64_t resident = residentMemory(process);
            bytes += excess(all.slots[i].expected, resident) + (free.isShared ? resident : 0);
        }
    }
    return bytes;
}

void requireMemory(const Claims& all, std::uint64_t bytes, const std::string& work) {
    const std::optional<FreeMemory> free = findFreeMemory();
    if (!free) {
        return;
    }
    const std::uint64_t left = excess(free->bytes, takenByClaims(all, *free));
    if (left < bytes) {
        all.own->isRefused = true;
        throw FormatError(work + " takes " + std::to_string(bytes / bytesPerMiB + 1) + " MiB of memory or more, and " +
                          free->owner + " leaves " + std::to_string(left / bytesPerMiB) +
                          " MiB; free or allow more, or split the model (--max-memory overrides this limit)");
    }
}

} // namespace

MemoryClaim::MemoryClaim(std::uint64_t bytes, const std::string& work) : bytes_(bytes) {
    // Looking for more takes longer than work with so little.
    constexpr std::uint64_t alwaysThere = 16 * bytesPerMiB;
    if (bytes_ < alwaysThere && !maxMemory()) {
        bytes_ = 0;
    }
    if (bytes_ == 0) {
        return;
    }
    Claims& all = claims();
    const std::lock_guard lock(all.mutex);
    const std::uint64_t base = all.claimed == 0 ? residentMemory(::getpid()) : all.base;
    // Others see the claim before this process looks at theirs: of two at the same time, one at most succeeds.
    const std::uint64_t before = all.own->expected.exchange(base + all.claimed + bytes_);
    try {
        requireMemory(all, bytes_, work);
    } catch (...) {
        all.own->expected = before;
        throw;
    }
    all.base = base;
    all.claimed += bytes_;
}

MemoryClaim::~MemoryClaim() {
    if (bytes_ == 0) {
        return;
    }
    Claims& all = claims();
    const std::lock_guard lock(all.mutex);
    all.claimed -= bytes_;
    all.own->expected = all.claimed == 0 ? 0 : all.base + all.claimed;
}

ClaimTable::ClaimTable(std::size_t processes) : count_(std::max<std::size_t>(1, processes)) {
    void* memory =
        ::mmap(nullptr, count_ * sizeof(ClaimSlot), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    slots_ = static_cast<ClaimSlot*>(memory);
    std::uninitialized_default_construct_n(slots_, count_);
}

ClaimTable::~ClaimTable() {
    ::munmap(slots_, count_ * sizeof(ClaimSlot));
}

void ClaimTable::enter(std::size_t place) {
    Claims& all = claims();
    all.slots = slots_;
    all.count = count_;
    all.own = slots_ + place;
    all.own->process = ::getpid();
}

bool ClaimTable::leave(std::size_t place) {
    ClaimSlot& slot = slots_[place];
    slot.process = 0;
    slot.expected = 0;
    return slot.isRefused.exchange(false);
}

} // namespace vexa::tool
