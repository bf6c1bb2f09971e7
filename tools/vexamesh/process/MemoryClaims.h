#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vexa::tool {

struct ClaimSlot;

/// Memory that work takes while it goes on, set aside when it begins: work that begins at the same time in another thread, or
/// in another process of the same table, does not count on it. Threads and processes may claim at once.
class MemoryClaim {
public:
    /// \param bytes that the work takes at least, beyond those that are taken already. Less than 16 MiB are only counted
    ///              against the number given to `setMaxMemory`
    /// \param work  "writing it"
    /// \throw FormatError they are not free: refused instead of being killed while the work is done
    MemoryClaim(std::uint64_t bytes, const std::string& work);
    MemoryClaim(const MemoryClaim&) = delete;
    MemoryClaim& operator=(const MemoryClaim&) = delete;
    ~MemoryClaim();

private:
    std::uint64_t bytes_;
};

/// Lets the processes that are forked while it exists count what the others among them claim. There must be one at most.
class ClaimTable {
public:
    /// \param processes most at a time
    /// \throw std::bad_alloc memory for the table runs out
    explicit ClaimTable(std::size_t processes);
    ClaimTable(const ClaimTable&) = delete;
    ClaimTable& operator=(const ClaimTable&) = delete;
    ~ClaimTable();

    /// In a process that was just forked: takes a free place.
    void enter(std::size_t place);

    /// In the parent, once the process at a place has ended: frees the place.
    ///
    /// \return whether the process, or one that it has forked, was refused memory
    bool leave(std::size_t place);

private:
    ClaimSlot* slots_;
    std::size_t count_;
};

} // namespace vexa::tool
