#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace vexa::tool {

/// Memory that this process can still get.
struct FreeMemory {
    std::uint64_t bytes = 0;
    std::string owner;     ///< what sets the limit, for messages: "the machine"
    bool isShared = false; ///< with other processes of this program, and what these have is still part of it
};

/// The least of what the machine, the control groups of this process and its limit on address space leave. Errs upwards:
/// files in memory, swap, and what the allocator has kept count as free.
///
/// \param root holds `proc` and `sys/fs/cgroup`
/// \return nothing if no limit is known
std::optional<FreeMemory> findFreeMemory(const std::filesystem::path& root = "/");

/// Replaces what is found out about the system by a number of MiB for this process and those that it works with, from now
/// on; `nullopt` undoes this.
void setMaxMemory(std::optional<std::size_t> mebibytes);

/// The number given to `setMaxMemory`.
std::optional<std::size_t> maxMemory();

/// Ignores the limit on address space from now on: a process that has set it itself reports when it is reached.
void disregardAddressLimit();

/// Bytes of memory that a process holds; 0 if it has ended.
std::uint64_t residentMemory(int process);

} // namespace vexa::tool
