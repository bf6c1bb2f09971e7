#include "ops/Edges.h"

#include <algorithm>
#include <utility>
#include <vexa/mesh/Edges.h>

namespace vexa::tool {

std::vector<EdgeUse> sortedEdges(const std::vector<unsigned int>& triangles) {
    std::vector<EdgeUse> edges;
    edges.reserve(triangles.size());
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        for (std::size_t side = 0; side < 3; ++side) {
            const std::uint64_t a = triangles[i + side];
            const std::uint64_t b = triangles[i + (side + 1) % 3];
            edges.push_back({std::min(a, b) << 32 | std::max(a, b), static_cast<std::uint32_t>(i / 3)});
        }
    }
    std::sort(edges.begin(), edges.end(), [](const EdgeUse& a, const EdgeUse& b) {
        return std::pair(a.key, a.triangle) < std::pair(b.key, b.triangle);
    });
    return edges;
}

EdgeCounts countEdges(const std::vector<unsigned int>& triangles) {
    EdgeCounts counts;
    for (const mesh::Edge& edge : mesh::buildEdges(triangles)) {
        ++counts.edges;
        counts.border += edge.triangleCount == 1 ? 1 : 0;
        counts.nonManifold += edge.triangleCount > 2 ? 1 : 0;
    }
    return counts;
}

} // namespace vexa::tool
