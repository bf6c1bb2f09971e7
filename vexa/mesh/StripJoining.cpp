#include "vexa/mesh/Strips.h"

#include <cstddef>
#include <stdexcept>
#include <string>

namespace vexa::mesh {

namespace {

/// Appends a strip at an even position: at an odd one, each of its triangles would change its winding.
void joinDegenerate(std::vector<unsigned int>& joined, const std::vector<unsigned int>& strip) {
    if (!joined.empty()) {
        if (joined.back() != strip.front()) {
            joined.insert(joined.end(), {joined.back(), strip.front()});
        }
        if (joined.size() % 2 != 0) {
            joined.push_back(strip.front());
        }
    }
    joined.insert(joined.end(), strip.begin(), strip.end());
}

void joinRestart(std::vector<unsigned int>& joined, const std::vector<unsigned int>& strip) {
    if (!joined.empty()) {
        joined.push_back(restartIndex);
    }
    joined.insert(joined.end(), strip.begin(), strip.end());
}

} // namespace

std::vector<unsigned int> joinStrips(std::span<const IndexedPrimitive> strips, StripJoin join) {
    std::size_t size = 0;
    for (const IndexedPrimitive& strip : strips) {
        if (strip.type != TRIANGLE_STRIP) {
            throw std::invalid_argument("joinStrips: primitive " + std::to_string(&strip - strips.data()) +
                                        " is of type " + getStringForPrimitiveType(strip.type) +
                                        ", not TRIANGLE_STRIP");
        }
        size += strip.indices.size() + 3;
    }
    std::vector<unsigned int> joined;
    joined.reserve(size);
    for (const IndexedPrimitive& strip : strips) {
        if (strip.indices.size() >= 3) {
            (join == StripJoin::Degenerate ? joinDegenerate : joinRestart)(joined, strip.indices);
        }
    }
    return joined;
}

} // namespace vexa::mesh
