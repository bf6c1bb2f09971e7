#include "ops/StripParts.h"

#include "io/gltf/PrimitiveRestart.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace vexa::tool {

namespace {

using mesh::IndexedPrimitive;
using Indices = std::vector<unsigned int>;

/// A strip that was cut out of a longer one.
///
/// \param startsOdd whether its first triangle was at an odd position: there, the winding is the other one
IndexedPrimitive stripOf(Indices::const_iterator begin, Indices::const_iterator end, bool startsOdd) {
    Indices indices(begin, end);
    if (startsOdd && indices.size() % 2 != 0) {
        std::reverse(indices.begin(), indices.end());
    } else if (startsOdd && indices.size() == 4) {
        std::swap(indices[1], indices[2]);
    } else if (startsOdd) {
        indices.insert(indices.begin(), indices.front());
    }
    return {mesh::TRIANGLE_STRIP, std::move(indices)};
}

bool hasTriangleAt(const Indices& strip, std::size_t at) {
    return strip[at] != strip[at + 1] && strip[at + 1] != strip[at + 2] && strip[at + 2] != strip[at];
}

void appendShortStrips(const Indices& strip, std::uint32_t maxTriangles, std::vector<IndexedPrimitive>& parts) {
    std::uint32_t triangles = 0;
    std::size_t first = 0;
    std::size_t last = 0;
    const auto cut = [&] {
        const auto begin = strip.begin() + static_cast<std::ptrdiff_t>(first);
        parts.push_back(stripOf(begin, begin + static_cast<std::ptrdiff_t>(last - first + 3), first % 2 != 0));
    };
    for (std::size_t at = 0; at + 2 < strip.size(); ++at) {
        if (!hasTriangleAt(strip, at)) {
            continue;
        }
        if (triangles == maxTriangles) {
            cut();
            triangles = 0;
        }
        first = triangles == 0 ? at : first;
        last = at;
        ++triangles;
    }
    if (triangles > 0) {
        cut();
    }
}

void appendSingles(const Indices& triangles, std::vector<IndexedPrimitive>& strips) {
    for (auto corner = triangles.begin(); triangles.end() - corner >= 3; corner += 3) {
        strips.push_back(stripOf(corner, corner + 3, false));
    }
}

void appendRestarted(IndexedPrimitive& joined, const Indices& indices) {
    if (!joined.indices.empty()) {
        joined.indices.push_back(decodedRestart);
    }
    joined.indices.insert(joined.indices.end(), indices.begin(), indices.end());
}

} // namespace

std::vector<IndexedPrimitive> splitAtJoints(const Indices& joined) {
    std::vector<IndexedPrimitive> strips;
    for (auto begin = joined.begin(); begin != joined.end();) {
        const auto repeated = std::adjacent_find(begin, joined.end());
        const auto end = repeated == joined.end() ? repeated : repeated + 1;
        if (end - begin >= 3) {
            strips.push_back(stripOf(begin, end, (begin - joined.begin()) % 2 != 0));
        }
        begin = end;
    }
    return strips;
}

void limitStrips(std::vector<IndexedPrimitive>& parts, std::uint32_t maxTriangles) {
    std::vector<IndexedPrimitive> result;
    for (IndexedPrimitive& part : parts) {
        if (part.type == mesh::TRIANGLE_STRIP && part.indices.size() > std::size_t{maxTriangles} + 2) {
            appendShortStrips(part.indices, maxTriangles, result);
        } else {
            result.push_back(std::move(part));
        }
    }
    parts = std::move(result);
}

void listSingles(std::vector<IndexedPrimitive>& parts) {
    const auto isSingle = [](const IndexedPrimitive& part) {
        return part.type == mesh::TRIANGLE_STRIP && part.indices.size() == 3;
    };
    Indices list;
    for (const IndexedPrimitive& part : parts) {
        if (part.type == mesh::TRIANGLES || isSingle(part)) {
            list.insert(list.end(), part.indices.begin(), part.indices.end());
        }
    }
    std::erase_if(parts, [&](const IndexedPrimitive& part) { return part.type == mesh::TRIANGLES || isSingle(part); });
    if (!list.empty()) {
        parts.push_back({mesh::TRIANGLES, std::move(list)});
    }
}

std::vector<IndexedPrimitive> joinParts(std::vector<IndexedPrimitive> parts, mesh::StripJoin join, bool keepsList) {
    std::vector<IndexedPrimitive> result;
    std::vector<IndexedPrimitive> strips;
    Indices list;
    for (IndexedPrimitive& part : parts) {
        if (part.type == mesh::TRIANGLE_FAN && join == mesh::StripJoin::Restart && !result.empty()) {
            appendRestarted(result.front(), part.indices);
        } else if (part.type == mesh::TRIANGLE_FAN) {
            result.push_back(std::move(part));
        } else if (part.type == mesh::TRIANGLE_STRIP) {
            strips.push_back(std::move(part));
        } else if (keepsList) {
            list = std::move(part.indices);
        } else {
            appendSingles(part.indices, strips);
        }
    }
    if (!strips.empty()) {
        result.push_back({mesh::TRIANGLE_STRIP, mesh::joinStrips(strips, join)});
    }
    if (!list.empty()) {
        result.push_back({mesh::TRIANGLES, std::move(list)});
    }
    return result;
}

} // namespace vexa::tool
