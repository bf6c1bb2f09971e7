#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace bench {

/// The memory that a function touches at its peak, in a process of its own: the growth of the resident set, so that
/// whatever allocates counts, and reserved memory that is never touched does not.
///
/// \return empty when the process failed
std::optional<std::uint64_t> peakBytesOf(const std::function<void()>& function);

} // namespace bench
