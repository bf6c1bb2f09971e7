#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace bench {

constexpr unsigned int restartIndex = 0xFFFFFFFF;

/// Appends the oriented triangles of a strip; `restartIndex` ends one, and collapsed triangles are left out.
void appendStrip(std::vector<unsigned int>& triangles, std::span<const unsigned int> strip);

/// Compares two triangle lists as sets of oriented triangles, collapsed ones left out.
///
/// \return empty when they hold the same, otherwise what the output lost and what it made up
std::string compareTriangles(std::span<const unsigned int> input, std::span<const unsigned int> output);

} // namespace bench
