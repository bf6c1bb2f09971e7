#include "vexa/mesh/detail/strips/stars/StarOdds.h"

#include <algorithm>

namespace vexa::mesh::detail {

namespace {

/// Sums of weights by the labels before and after a row, all its labellings added up.
using Sums = std::array<std::array<double, 3>, 3>;

/// e^-x for x from 0. That of the C library can differ between versions.
double expNegative(double x) {
    constexpr int halvings = 10;
    constexpr double divisor = 1 << halvings;
    const double y = std::min(x, 600.0) / divisor;
    // Taylor series: y is below 0.6.
    double power = 1;
    double sum = 1;
    for (int i = 1; i <= 16; ++i) {
        power = power * -y / i;
        sum += power;
    }
    for (int i = 0; i < halvings; ++i) {
        sum *= sum;
    }
    return sum;
}

/// Indices that an edge costs: `a` and `b` are the labels on its sides, counted from the edge.
double edgeCost(unsigned a, unsigned b, double endCost) {
    return a == b ? 0 : a == 0 || b == 0 ? endCost : 1;
}

StarOdds::Thresholds thresholdsOf(double first, double second, double third) {
    const double scale = 65536 / (first + second + third);
    const auto rounded = [](double value) { return static_cast<std::uint16_t>(std::min(65535.0, value + 0.5)); };
    return {rounded(first * scale), rounded((first + second) * scale)};
}

} // namespace

StarOdds::StarOdds(double temperature, double endCost)
    : odds_(firstRow[maxStarSize + 1]), ringOdds_(firstRow[maxStarSize + 1]) {
    std::array<std::array<double, 3>, 3> spoke{}; // weight by the labels before and after it
    std::array<std::array<double, 3>, 3> outer{}; // weight by digit and label
    for (unsigned a = 0; a < 3; ++a) {
        for (unsigned b = 0; b < 3; ++b) {
            spoke[a][b] = expNegative(edgeCost((a + 1) % 3, b, endCost) / temperature);
            outer[a][b] = expNegative(edgeCost(a, (b + 2) % 3, endCost) / temperature);
        }
    }
    std::vector<Sums> sums(firstRow[maxStarSize + 1]);
    sums[0] = spoke;
    for (std::uint32_t size = 1; size <= maxStarSize; ++size) {
        const std::uint32_t rows = firstRow[size + 1] - firstRow[size];
        for (std::uint32_t digits = 0; digits < rows; ++digits) {
            const std::uint32_t row = rowOf(size, digits);
            const Sums& rest = sums[rowOf(size - 1, digits / 3)];
            const std::array<double, 3>& own = outer[digits % 3];
            double largest = 0;
            for (std::size_t before = 0; before < 3; ++before) {
                for (std::size_t after = 0; after < 3; ++after) {
                    const double w0 = spoke[before][0] * own[0] * rest[0][after];
                    const double w1 = spoke[before][1] * own[1] * rest[1][after];
                    const double w2 = spoke[before][2] * own[2] * rest[2][after];
                    odds_[row].thresholds[before][after] = thresholdsOf(w0, w1, w2);
                    sums[row][before][after] = w0 + w1 + w2;
                    largest = std::max(largest, sums[row][before][after]);
                }
            }
            for (std::array<double, 3>& line : sums[row]) {
                for (double& sum : line) {
                    sum /= largest;
                }
            }
            // In a ring the labels before and after are that of the first triangle itself.
            ringOdds_[row] = thresholdsOf(own[0] * rest[0][0], own[1] * rest[1][1], own[2] * rest[2][2]);
        }
    }
}

} // namespace vexa::mesh::detail
