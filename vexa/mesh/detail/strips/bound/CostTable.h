#pragma once

#include <array>
#include <cstdint>

/// The costs that a lower bound is proven with; docs/strips.md has the proof.
///
/// Every triangle has a label: one of its sides that no strip crosses. Seen from one of its corners, labels are numbered
/// counter-clockwise: 0 is the side towards the previous triangle around that corner's vertex, 1 the side opposite,
/// 2 the side towards the next triangle. With these numbers every edge has the same table of costs, seen from the vertex
/// at either end.
namespace vexa::mesh::detail {

/// One index. Costs are whole numbers of 1/4096 index, so that sums of them are exact.
constexpr std::int32_t costUnit = 4096;

/// Costs of the nine pairs of labels of two triangles that follow one another around a vertex: rows are labels of the
/// first triangle, columns those of the second. The fourth number of a row is not used.
struct alignas(8) CostTable {
    std::array<std::array<std::int16_t, 4>, 3> rows{};

    constexpr std::int16_t& at(unsigned row, unsigned column) { return rows[row][column]; }
    [[nodiscard]] constexpr std::int16_t at(unsigned row, unsigned column) const { return rows[row][column]; }
    bool operator==(const CostTable&) const = default;
};

/// The same costs seen from the vertex at the other end of the edge, where the triangles follow one another the other
/// way round. Twice gives the table itself.
constexpr CostTable seenFromOtherEnd(const CostTable& table) {
    CostTable other;
    for (unsigned row = 0; row < 3; ++row) {
        for (unsigned column = 0; column < 3; ++column) {
            other.rows[row][column] = table.rows[(column + 2) % 3][(row + 1) % 3];
        }
    }
    return other;
}

/// The tables that the costs of every mesh are made of. A border has the outside in place of one triangle; whatever
/// label that is given costs the same.
struct EdgeCosts {
    CostTable inner;       ///< of an edge between two triangles
    CostTable borderFirst; ///< of the border side of the first triangle around a vertex
    CostTable borderLast;  ///< of the border side of the last one
    CostTable free;        ///< nothing

    /// \param end cost of a side that is not linked and not its triangle's label; a strip has two of them
    constexpr explicit EdgeCosts(std::int16_t end) {
        for (unsigned row = 0; row < 3; ++row) {
            for (unsigned column = 0; column < 3; ++column) {
                // How far the labels lie from the shared side, counter-clockwise in either triangle.
                const unsigned first = (row + 1) % 3;
                const unsigned second = column;
                const bool isEnd = first == 0 || second == 0;
                inner.at(row, column) = static_cast<std::int16_t>(first == second ? 0 : isEnd ? end : costUnit);
                borderFirst.at(row, column) = static_cast<std::int16_t>(second == 0 ? 0 : end);
                borderLast.at(row, column) = static_cast<std::int16_t>(first == 0 ? 0 : end);
            }
        }
    }
};

} // namespace vexa::mesh::detail
