#include <vexa/mesh/detail/strips/RandomPick.h>

#include <gtest/gtest.h>

namespace {

using vexa::mesh::detail::pickPosition;

constexpr std::uint32_t largestDraw = 2147483647;

TEST(PickPosition, IsTheOnlyOneWhateverIsDrawn) {
    for (const std::uint32_t draw : {0U, 1U, 1U << 30, largestDraw}) {
        EXPECT_EQ(pickPosition(1, draw), 0u);
    }
}

TEST(PickPosition, GrowsWithTheDraw) {
    EXPECT_EQ(pickPosition(1001, 0), 0u);
    EXPECT_EQ(pickPosition(1001, 1U << 29), 250u);
    EXPECT_EQ(pickPosition(1001, 1U << 30), 500u);
    EXPECT_EQ(pickPosition(1001, 3U << 29), 750u);
}

TEST(PickPosition, IsRoundedDown) {
    EXPECT_EQ(pickPosition(1000, 1U << 30), 499u); // 499.5
    EXPECT_EQ(pickPosition(4, 1U << 30), 1u);      // 1.5
    EXPECT_EQ(pickPosition(4, 3U << 29), 2u);      // 2.25
}

TEST(PickPosition, ReachesTheSecondOfTwoOnlyByRounding) {
    // Single precision rounds the draw to 2^31 from 2^31 - 64 on, where it lies half-way between its neighbours.
    constexpr std::uint32_t first = 2147483584;
    EXPECT_EQ(pickPosition(2, first - 1), 0u);
    EXPECT_EQ(pickPosition(2, first), 1u);
    EXPECT_EQ(pickPosition(2, largestDraw), 1u);
}

TEST(PickPosition, ReachesTheLastOfManyWithTheLargestDrawsAlone) {
    EXPECT_EQ(pickPosition(1000, largestDraw - 64), 998u);
    EXPECT_EQ(pickPosition(1000, largestDraw - 63), 999u);
}

TEST(PickPosition, RoundsTheDraw) {
    // Three times the draw is below 2^31, but three times 715827904, to which it is rounded, is not.
    EXPECT_EQ(pickPosition(4, 715827880), 1u);
    EXPECT_EQ(pickPosition(4, 715827840), 0u);
}

TEST(PickPosition, RoundsTheCountToo) {
    // 16777217 is not a single-precision number; half of 16777216 is 8388608.
    EXPECT_EQ(pickPosition(16777218, 1U << 30), 8388608u);
    EXPECT_EQ(pickPosition(16777220, 1U << 30), 8388610u); // of 16777220, to which 16777219 is rounded
}

TEST(PickPosition, NeverPassesTheLastOne) {
    EXPECT_EQ(pickPosition(16777219, largestDraw), 16777218u);
    EXPECT_EQ(pickPosition(16777220, largestDraw), 16777219u); // the product is 16777220
    EXPECT_EQ(pickPosition(16777221, largestDraw), 16777220u);
    EXPECT_EQ(pickPosition(33554436, largestDraw), 33554435u); // the product is 33554436
    EXPECT_EQ(pickPosition(1U << 30, largestDraw), (1U << 30) - 1);
}

} // namespace
