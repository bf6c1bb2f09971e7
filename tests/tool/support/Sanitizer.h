#pragma once

namespace tool_test {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool isSanitized = true;
#elif defined(__has_feature)
inline constexpr bool isSanitized = __has_feature(address_sanitizer) || __has_feature(undefined_behavior_sanitizer);
#else
inline constexpr bool isSanitized = false;
#endif
/// The reason given by tests that limit memory or open files and are skipped then.
inline constexpr const char* needsOfSanitizers =
    "sanitizers need terabytes of address space, and pipes to look at objects";

} // namespace tool_test
