#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace bench {

constexpr unsigned int restartIndex = 0xFFFFFFFF;

/// Appends the oriented triangles of a strip. `restartIndex` starts a new strip; collapsed triangles are skipped.
void appendStrip(std::vector<unsigned int>& triangles, std::span<const unsigned int> strip);

/// Counts the vertices that a first-in first-out cache has to load for a strip.
std::uint64_t countCacheMisses(std::span<const unsigned int> strip, std::uint32_t cacheSize);

/// Compares two triangle lists as multisets of oriented triangles, without collapsed ones.
///
/// \return empty if they are equal, otherwise how many triangles the output lost and added
std::string compareTriangles(std::span<const unsigned int> input, std::span<const unsigned int> output);

} // namespace bench
