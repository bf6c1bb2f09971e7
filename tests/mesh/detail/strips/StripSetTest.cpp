#include <vexa/mesh/detail/strips/StripSet.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace vexa::mesh::detail;

std::vector<StripTriangle> toVector(std::span<const StripTriangle> triangles) {
    return {triangles.begin(), triangles.end()};
}

StripSet twoStrips() {
    StripSetBuilder builder(3);
    builder.add(halfEdgeOf(7, 2));
    builder.add(halfEdgeOf(5, leavesBefore));
    builder.endStrip(true, false);
    builder.add(halfEdgeOf(1, 1));
    builder.endStrip(false, true);
    return builder.finish();
}

TEST(StripSet, HoldsItsStripsInOrder) {
    const StripSet strips = twoStrips();
    ASSERT_EQ(strips.size(), 2u);
    EXPECT_EQ(strips.triangleCount(), 3u);
    EXPECT_EQ(toVector(strips[0].triangles), (std::vector<StripTriangle>{30, 21}));
    EXPECT_TRUE(strips[0].isReversed);
    EXPECT_FALSE(strips[0].isIrregular);
    EXPECT_EQ(toVector(strips[1].triangles), std::vector<StripTriangle>{5});
    EXPECT_FALSE(strips[1].isReversed);
    EXPECT_TRUE(strips[1].isIrregular);
}

TEST(StripSet, CanBeReadAheadOfItsEnd) {
    const StripSet strips = twoStrips();
    const StripTriangle* const end = strips[1].triangles.data() + 1;
    EXPECT_EQ(std::vector<StripTriangle>(end, end + StripSet::lookAhead),
              std::vector<StripTriangle>(StripSet::lookAhead, 0));
}

TEST(StripSetBuilder, ShowsTheStripThatIsBeingBuilt) {
    StripSetBuilder builder(2);
    builder.add(4);
    builder.endStrip(false, false);
    EXPECT_TRUE(builder.current().empty());
    builder.add(8);
    EXPECT_EQ(toVector(builder.current()), std::vector<StripTriangle>{8});
    EXPECT_EQ(toVector(builder.triangles()), (std::vector<StripTriangle>{4, 8}));
}

TEST(StripSetBuilder, StartsAgainAfterClear) {
    StripSetBuilder builder(1);
    builder.add(4);
    builder.endStrip(true, true);
    builder.clear();
    builder.add(8);
    builder.endStrip(false, false);
    const StripSet strips = builder.finish();
    ASSERT_EQ(strips.size(), 1u);
    EXPECT_EQ(toVector(strips[0].triangles), std::vector<StripTriangle>{8});
    EXPECT_FALSE(strips[0].isReversed);
}

TEST(StripSetBuilder, MakesAnEmptySet) {
    EXPECT_EQ(StripSetBuilder(0).finish().size(), 0u);
}

} // namespace
