#include "vexa/mesh/detail/strips/bound/Certificate.h"

#include "vexa/mesh/detail/strips/bound/CostSplit.h"

#include <algorithm>
#include <array>
#include <vector>

namespace vexa::mesh::detail {

namespace {

/// The lowest cost of a star over all labels of its triangles.
std::int64_t minOfStar(const StarLayout& layout, std::uint32_t index, const EdgeCosts& costs,
                       std::span<const CostTable> tables) {
    // lowest[first][last]: the cheapest labels from the star's first triangle (or the outside) to the current one.
    ExactTable lowest{};
    const std::span<const StarEntry> star = layout.star(index);
    for (const StarEntry& entry : star) {
        const bool isFirst = &entry == star.data();
        const ExactTable step = exactCosts(costs, tables[entry.table()], entry.share(), isFirst);
        if (isFirst) {
            lowest = step;
            continue;
        }
        for (auto& from : lowest) {
            const auto before = from;
            for (unsigned to = 0; to < 3; ++to) {
                from[to] = std::min({before[0] + step[0][to], before[1] + step[1][to], before[2] + step[2][to]});
            }
        }
    }
    if (!layout.isOpen(index)) {
        return std::min({lowest[0][0], lowest[1][1], lowest[2][2]});
    }
    // At either end is the outside, each time with a label of its own.
    const auto rowMin = [](const auto& row) { return std::min({row[0], row[1], row[2]}); };
    return std::min({rowMin(lowest[0]), rowMin(lowest[1]), rowMin(lowest[2])});
}

} // namespace

std::uint64_t certifyCost(const StarLayout& layout, const EdgeCosts& costs, std::span<const CostTable> tables,
                          std::uint64_t stripCost) {
    std::vector<std::int64_t> partCosts(layout.partCount());
    for (std::uint32_t star = 0; star < layout.starCount(); ++star) {
        partCosts[layout.part(star)] += minOfStar(layout, star, costs, tables);
    }
    std::uint64_t total = 0;
    for (const std::int64_t cost : partCosts) {
        const std::int64_t whole = (std::max<std::int64_t>(cost, 0) + costUnit - 1) / costUnit;
        total += std::max(stripCost, static_cast<std::uint64_t>(whole));
    }
    return total;
}

} // namespace vexa::mesh::detail
