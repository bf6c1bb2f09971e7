#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/stars/StarOdds.h>

#include <array>
#include <cmath>
#include <cstdint>

namespace {

using namespace vexa::mesh::detail;

/// Indices that an edge costs, given the labels on its sides counted from it.
double edgeCost(std::uint32_t a, std::uint32_t b) {
    return a == b ? 0 : a == 0 || b == 0 ? 1.5 : 1;
}

/// Odds of the first label in a row of two triangles, summed over all labels of the second.
std::array<double, 3> oddsOfTwo(std::array<std::uint32_t, 2> digits, std::uint32_t before, std::uint32_t after,
                                double temperature) {
    const auto spoke = [](std::uint32_t a, std::uint32_t b) { return edgeCost((a + 1) % 3, b); };
    const auto outer = [](std::uint32_t digit, std::uint32_t label) { return edgeCost(digit, (label + 2) % 3); };
    std::array<double, 3> odds{};
    double total = 0;
    for (std::uint32_t first = 0; first < 3; ++first) {
        for (std::uint32_t second = 0; second < 3; ++second) {
            const double cost = spoke(before, first) + outer(digits[0], first) + spoke(first, second) +
                                outer(digits[1], second) + spoke(second, after);
            odds[first] += std::exp(-cost / temperature);
        }
        total += odds[first];
    }
    for (double& odd : odds) {
        odd /= total;
    }
    return odds;
}

TEST(StarOdds, AreThoseOfAllLabellingsAtTheTemperature) {
    const double temperature = 0.4;
    const StarOdds odds(temperature, 1.5);
    for (std::uint32_t digits = 0; digits < 9; ++digits) {
        for (std::uint32_t before = 0; before < 3; ++before) {
            for (std::uint32_t after = 0; after < 3; ++after) {
                const auto expected = oddsOfTwo({digits % 3, digits / 3}, before, after, temperature);
                const auto thresholds = odds.pick(StarOdds::rowOf(2, digits), before, after);
                EXPECT_NEAR(thresholds[0], 65536 * expected[0], 1);
                EXPECT_NEAR(thresholds[1], 65536 * (expected[0] + expected[1]), 1);
            }
        }
    }
}

TEST(StarOdds, WhenColdPickTheCheapestOnly) {
    const StarOdds odds(0.03, 1.5);
    // A single triangle between borders, nothing linked outside: leaving its outer edge costs least.
    const auto thresholds = odds.pick(StarOdds::rowOf(1, 0), 2, 0);
    const auto expected = [](std::uint32_t label) {
        return edgeCost(0, label) + edgeCost(0, (label + 2) % 3) + edgeCost((label + 1) % 3, 0);
    };
    // All three labels leave one of three borders.
    EXPECT_EQ(expected(0), expected(1));
    EXPECT_NEAR(thresholds[0], 65536 / 3, 2);
    EXPECT_NEAR(thresholds[1], 2 * 65536 / 3, 2);
}

} // namespace
