#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace bench {

/// Measures the peak memory of a function in a child process, as growth of the resident set: every allocator counts,
/// and reserved memory that is never touched does not.
///
/// \return bytes; empty if the process failed
std::optional<std::uint64_t> peakBytesOf(const std::function<void()>& function);

} // namespace bench
