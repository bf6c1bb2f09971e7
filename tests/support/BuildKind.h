#pragma once

namespace vexa::test {

// Sanitizers, checked iterators and builds without optimisation are up to a hundred times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(_GLIBCXX_DEBUG) || !defined(__OPTIMIZE__)
inline constexpr bool isSlowBuild = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
inline constexpr bool isSlowBuild = true;
#else
inline constexpr bool isSlowBuild = false;
#endif
#else
inline constexpr bool isSlowBuild = false;
#endif

} // namespace vexa::test
