#pragma once

#include "vexa/mesh/detail/strips/stars/Stars.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexa::mesh::detail {

/// Odds of the labels in stars at a temperature, as tables.
///
/// Seen from the vertex in the middle, the label of a triangle is 0 if the edge towards the triangle before stays
/// unlinked, 1 for the outer edge, and 2 for the edge towards the triangle after. All spokes then cost the same for the
/// same two labels, and all that the rest of the mesh adds is one of three digits for each triangle: what the label
/// beyond its outer edge looks like from there. A star is one of at most 3^7 rows of digits, and whatever is to be known
/// of it can be looked up.
///
/// A border is a triangle that never changes: label 2 before the star, label 0 after it, digit 0 outside.
///
/// The tables are the same bits on every machine: their floating-point numbers come from additions, multiplications and
/// divisions alone.
class StarOdds {
public:
    /// Two ascending thresholds for 16 random bits: a number below the first picks label 0, below the second label 1,
    /// any other label 2.
    using Thresholds = std::array<std::uint16_t, 2>;

    /// \param temperature in indices, above 0: labellings that cost this much more are e times less likely
    /// \param endCost     indices for one end of a strip
    StarOdds(double temperature, double endCost);

    /// Number of the row that consists of `size` digits, of which the first is the lowest of `digits` to base 3.
    static std::uint32_t rowOf(std::uint32_t size, std::uint32_t digits) { return firstRow[size] + digits; }

    /// For the first triangle of a row, given the labels before and after the row.
    [[nodiscard]] Thresholds pick(std::uint32_t row, std::uint32_t before, std::uint32_t after) const {
        return odds_[row].thresholds[before][after];
    }
    /// For the first triangle of a ring.
    [[nodiscard]] Thresholds pickInRing(std::uint32_t row) const { return ringOdds_[row]; }

private:
    struct Odds {
        Thresholds thresholds[3][3]; ///< by the labels before and after
    };

    static constexpr std::array<std::uint32_t, maxStarSize + 2> firstRow = [] {
        std::array<std::uint32_t, maxStarSize + 2> first{};
        std::uint32_t rows = 1;
        for (std::size_t size = 0; size <= maxStarSize; ++size) {
            first[size + 1] = first[size] + rows;
            rows *= 3;
        }
        return first;
    }();

    std::vector<Odds> odds_;
    std::vector<Thresholds> ringOdds_;
};

} // namespace vexa::mesh::detail
