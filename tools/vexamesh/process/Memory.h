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
    std::string owner; ///< what sets the limit, for messages: "the machine"
};

/// The least of what the machine, the control groups of this process and its limit on address space leave. Errs upwards:
/// files in memory, swap, and what the allocator has kept count as free.
///
/// \param root holds `proc` and `sys/fs/cgroup`
/// \return nothing if no limit is known
std::optional<FreeMemory> findFreeMemory(const std::filesystem::path& root = "/");

/// Replaces what is found out about the system by a number of MiB for each process, from now on; `nullopt` undoes this.
void setMaxMemory(std::optional<std::size_t> mebibytes);

/// Refuses work that cannot succeed, instead of being killed while it is done.
///
/// \param bytes that the work takes at least, beyond those that are taken already. Less than 16 MiB are only compared with
///              the number given to `setMaxMemory`
/// \param work  "reading it"
/// \throw FormatError they are not free
void requireMemory(std::uint64_t bytes, const std::string& work);

} // namespace vexa::tool
