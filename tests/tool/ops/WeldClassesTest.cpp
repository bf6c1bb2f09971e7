#include "ops/WeldClasses.h"

#include "io/AssetBuilder.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <random>

namespace {

using testing::ElementsAre;
using vexa::tool::AccessorData;
using vexa::tool::firstEqual;
using vexa::tool::firstNear;
using vexa::tool::floatValues;

std::vector<std::uint32_t> nearOnALine(const std::vector<float>& places, double tolerance) {
    std::vector<float> positions;
    for (const float place : places) {
        positions.insert(positions.end(), {place, 0, 0});
    }
    return firstNear(floatValues("VEC3", positions), std::vector<std::uint32_t>(places.size()), tolerance);
}

TEST(FirstEqual, ComparesTheBytesOfEveryBuffer) {
    const AccessorData a = floatValues("SCALAR", {1, 1, 2, 1, 2});
    const AccessorData b = floatValues("SCALAR", {5, 6, 5, 5, 5});
    EXPECT_THAT(firstEqual({&a, &b}, 5), ElementsAre(0, 1, 2, 0, 2));
    EXPECT_THAT(firstEqual({&a}, 5), ElementsAre(0, 0, 2, 0, 2));
}

TEST(FirstEqual, DistinguishesZerosOfBothSigns) {
    const AccessorData zeros = floatValues("SCALAR", {0, -0.0F, 0});
    EXPECT_THAT(firstEqual({&zeros}, 3), ElementsAre(0, 1, 0));
}

TEST(FirstEqual, FindsAllEqualWithoutBuffers) {
    EXPECT_THAT(firstEqual({}, 3), ElementsAre(0, 0, 0));
}

TEST(FirstNear, JoinsUpToTheTolerance) {
    EXPECT_THAT(nearOnALine({0, 1, 2.5F, 5}, 1), ElementsAre(0, 0, 2, 3));
    EXPECT_THAT(nearOnALine({0, 1, 2.5F, 5}, 0.99), ElementsAre(0, 1, 2, 3));
}

TEST(FirstNear, ChainsAreTransitive) {
    EXPECT_THAT(nearOnALine({0, 4, 2, 1, 3, 9}, 1), ElementsAre(0, 0, 0, 0, 0, 5));
}

TEST(FirstNear, ToleranceZeroJoinsEqualPositionsOnly) {
    EXPECT_THAT(nearOnALine({0, -0.0F, 1e-30F, 1, 1}, 0), ElementsAre(0, 0, 2, 3, 3));
}

TEST(FirstNear, HugeTolerancesJoinEverything) {
    EXPECT_THAT(nearOnALine({0, 3e38F, -3e38F}, 1e300), ElementsAre(0, 0, 0));
}

TEST(FirstNear, TinyTolerancesJoinEqualPositionsOnly) {
    EXPECT_THAT(nearOnALine({3e38F, 3e38F, std::nextafter(3e38F, 0.0F)}, 1e-300), ElementsAre(0, 0, 2));
}

TEST(FirstNear, LeavesPositionsThatAreNotFinite) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_THAT(nearOnALine({nan, nan, infinity, infinity, 0}, 1), ElementsAre(0, 1, 2, 3, 4));
}

TEST(FirstNear, KeepsKindsApart) {
    const AccessorData positions = floatValues("VEC3", std::vector<float>(12));
    EXPECT_THAT(firstNear(positions, {0, 1, 0, 1}, 1), ElementsAre(0, 1, 0, 1));
}

/// Compares each vertex with each.
std::vector<std::uint32_t> plainNear(const std::vector<float>& p, double tolerance) {
    std::vector<std::uint32_t> first(p.size() / 3);
    std::iota(first.begin(), first.end(), 0U);
    for (bool changed = true; changed;) {
        changed = false;
        for (std::size_t a = 0; a < first.size(); ++a) {
            for (std::size_t b = 0; b < first.size(); ++b) {
                const double distance =
                    std::hypot(static_cast<double>(p[3 * a]) - static_cast<double>(p[3 * b]),
                               static_cast<double>(p[3 * a + 1]) - static_cast<double>(p[3 * b + 1]),
                               static_cast<double>(p[3 * a + 2]) - static_cast<double>(p[3 * b + 2]));
                if (distance <= tolerance && first[b] < first[a]) {
                    first[a] = first[b];
                    changed = true;
                }
            }
        }
    }
    return first;
}

TEST(FirstNear, MatchesPlainComparisonOnRandomPoints) {
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same points in every run
    std::uniform_real_distribution<float> place(-3, 3);
    for (const double tolerance : {0.05, 0.3, 0.6, 1.0}) {
        std::vector<float> points(3 * 150);
        std::generate(points.begin(), points.end(), [&] { return place(random); });
        EXPECT_EQ(firstNear(floatValues("VEC3", points), std::vector<std::uint32_t>(150), tolerance),
                  plainNear(points, tolerance))
            << tolerance;
    }
}

} // namespace
