#include "ops/Edges.h"

#include <algorithm>
#include <cstdint>

namespace vexa::tool {

EdgeCounts countEdges(const std::vector<unsigned int>& triangles) {
    std::vector<std::uint64_t> keys;
    keys.reserve(triangles.size());
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        for (std::size_t side = 0; side < 3; ++side) {
            const std::uint64_t a = triangles[i + side];
            const std::uint64_t b = triangles[i + (side + 1) % 3];
            keys.push_back(std::min(a, b) << 32 | std::max(a, b));
        }
    }
    std::sort(keys.begin(), keys.end());
    EdgeCounts counts;
    for (std::size_t i = 0; i < keys.size();) {
        const std::size_t end = static_cast<std::size_t>(
            std::upper_bound(keys.begin() + static_cast<std::ptrdiff_t>(i), keys.end(), keys[i]) - keys.begin());
        ++counts.edges;
        counts.border += end - i == 1 ? 1 : 0;
        counts.nonManifold += end - i > 2 ? 1 : 0;
        i = end;
    }
    return counts;
}

} // namespace vexa::tool
