#include "BoundPicture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <stdexcept>
#include <vexa/mesh/detail/strips/bound/CostSplit.h>
#include <vexa/mesh/detail/strips/bound/StarLayout.h>

namespace pictures {

namespace {

namespace detail = vexa::mesh::detail;

/// The lowest cost of a star over all labels of its triangles, in indices.
double minOfStar(const detail::StarLayout& layout, std::uint32_t index, const detail::EdgeCosts& costs,
                 const std::vector<detail::CostTable>& tables) {
    const std::span<const detail::StarEntry> star = layout.star(index);
    detail::PlainMatrix product;
    for (const detail::StarEntry& entry : star) {
        const bool isFirst = &entry == star.data();
        const detail::PlainMatrix kept(tables[entry.table()]);
        const detail::PlainMatrix own =
            entry.isKept()
                ? kept
                : detail::PlainMatrix(detail::wholeCosts(costs, entry.share(), isFirst)) - kept.seenFromOtherEnd();
        product = isFirst ? own : product * own;
    }
    detail::CostTable ring;
    product.store(ring);
    std::int16_t lowest = ring.at(0, 0);
    for (unsigned row = 0; row < 3; ++row) {
        for (unsigned column = 0; column < 3; ++column) {
            if (row == column || layout.isOpen(index)) {
                lowest = std::min(lowest, ring.at(row, column));
            }
        }
    }
    return static_cast<double>(lowest) / detail::costUnit;
}

/// The vertices in the order in which triangles meet them, which is that of their stars.
std::vector<unsigned int> verticesOfStars(const Patch& patch) {
    std::vector<bool> isListed(patch.points.size());
    std::vector<unsigned int> vertices;
    for (const unsigned int vertex : patch.triangles) {
        if (!isListed[vertex]) {
            isListed[vertex] = true;
            vertices.push_back(vertex);
        }
    }
    return vertices;
}

} // namespace

std::vector<LocalCost> costsOf(const Patch& patch, const std::vector<vexa::mesh::IndexedPrimitive>& strips) {
    constexpr double end = 1.5;
    std::vector<LocalCost> costs;
    for (const vexa::mesh::IndexedPrimitive& primitive : strips) {
        const DecodedStrip strip = decodeStrip(primitive.indices);
        costs.push_back({middleOf(patch, strip.triangles.front()), end});
        costs.push_back({middleOf(patch, strip.triangles.back()), end});
        for (const std::size_t swap : strip.swaps) {
            costs.push_back({gateOf(patch, strip.triangles[swap], strip.triangles[swap + 1]), 1});
        }
    }
    return costs;
}

std::vector<LocalCost> provenCosts(const Patch& patch) {
    constexpr std::uint32_t equalShare = 65536;
    const detail::EdgeCosts costs(3 * detail::costUnit / 2);
    const detail::StarLayout layout = detail::listStars(patch.triangles);
    detail::CostSplit<detail::PlainMatrix> split(layout, costs);
    for (int sweep = 0; sweep < 64; ++sweep) {
        split.sweep(equalShare, [](double) { return true; });
    }
    const std::vector<unsigned int> vertices = verticesOfStars(patch);
    if (vertices.size() != layout.starCount()) {
        throw std::runtime_error("the patch has vertices with several stars");
    }
    std::vector<LocalCost> proven;
    for (std::uint32_t star = 0; star < layout.starCount(); ++star) {
        proven.push_back({patch.points[vertices[star]], minOfStar(layout, star, costs, split.tables())});
    }
    return proven;
}

void drawCosts(Svg& svg, const Frame& frame, const std::vector<LocalCost>& costs, const std::string& colour) {
    for (const LocalCost& cost : costs) {
        if (cost.indices > 0.005) {
            svg.circle(frame(cost.at), 0.3 * frame.scale() * std::sqrt(cost.indices), colour);
        }
    }
}

double sumOf(const std::vector<LocalCost>& costs) {
    return std::accumulate(costs.begin(), costs.end(), 0.0,
                           [](double sum, const LocalCost& cost) { return sum + cost.indices; });
}

} // namespace pictures
