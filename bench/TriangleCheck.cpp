#include "TriangleCheck.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <unordered_map>

namespace bench {

namespace {

using Corners = std::array<unsigned int, 3>;

bool isCollapsed(const Corners& c) {
    return c[0] == c[1] || c[1] == c[2] || c[2] == c[0];
}

/// Calls `visit` for every triangle that is not collapsed, rotated to start at its smallest corner.
template <typename Visit>
void visitTriangles(std::span<const unsigned int> triangles, Visit visit) {
    for (std::size_t i = 0; i + 3 <= triangles.size(); i += 3) {
        Corners corners{triangles[i], triangles[i + 1], triangles[i + 2]};
        if (!isCollapsed(corners)) {
            std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
            visit(corners);
        }
    }
}

/// The finaliser of SplitMix64: every bit of the result depends on every bit of the number.
std::uint64_t scramble(std::uint64_t number) {
    number = (number ^ (number >> 30)) * 0xBF58476D1CE4E5B9;
    number = (number ^ (number >> 27)) * 0x94D049BB133111EB;
    return number ^ (number >> 31);
}

/// Checksums of a multiset of triangles, independent of their order.
struct Tally {
    std::uint64_t count = 0;
    std::uint64_t first = 0;
    std::uint64_t second = 0;

    bool operator==(const Tally&) const = default;
};

Tally tallyOf(std::span<const unsigned int> triangles) {
    Tally tally;
    visitTriangles(triangles, [&tally](const Corners& corners) {
        const std::uint64_t edge = (std::uint64_t{corners[0]} << 32) | corners[1];
        const std::uint64_t mixed = scramble(scramble(edge) + corners[2]);
        tally.count += 1;
        tally.first += mixed;
        tally.second += scramble(mixed ^ edge);
    });
    return tally;
}

std::vector<Corners> sorted(std::span<const unsigned int> triangles) {
    std::vector<Corners> all;
    visitTriangles(triangles, [&all](const Corners& corners) { all.push_back(corners); });
    std::sort(all.begin(), all.end());
    return all;
}

} // namespace

void appendStrip(std::vector<unsigned int>& triangles, std::span<const unsigned int> strip) {
    std::size_t start = 0;
    for (std::size_t i = 0; i < strip.size(); ++i) {
        if (strip[i] == restartIndex) {
            start = i + 1;
        } else if (i >= start + 2) {
            const bool odd = (i - start) % 2 == 1;
            const Corners corners{strip[i - 2], odd ? strip[i] : strip[i - 1], odd ? strip[i - 1] : strip[i]};
            if (!isCollapsed(corners)) {
                triangles.insert(triangles.end(), corners.begin(), corners.end());
            }
        }
    }
}

std::string compareTriangles(std::span<const unsigned int> input, std::span<const unsigned int> output) {
    if (tallyOf(input) == tallyOf(output)) {
        return {};
    }
    const std::vector<Corners> expected = sorted(input);
    const std::vector<Corners> actual = sorted(output);
    std::vector<Corners> lost;
    std::set_difference(expected.begin(), expected.end(), actual.begin(), actual.end(), std::back_inserter(lost));
    std::vector<Corners> added;
    std::set_difference(actual.begin(), actual.end(), expected.begin(), expected.end(), std::back_inserter(added));
    return std::to_string(lost.size()) + " triangles lost, " + std::to_string(added.size()) + " added";
}

std::uint64_t countCacheMisses(std::span<const unsigned int> strip, std::uint32_t cacheSize) {
    std::unordered_map<unsigned int, std::uint64_t> loadedAt;
    std::uint64_t misses = 0;
    for (const unsigned int vertex : strip) {
        if (vertex == restartIndex) {
            continue;
        }
        const auto found = loadedAt.find(vertex);
        if (found == loadedAt.end() || misses - found->second > cacheSize) {
            loadedAt[vertex] = misses++;
        }
    }
    return misses;
}

} // namespace bench
