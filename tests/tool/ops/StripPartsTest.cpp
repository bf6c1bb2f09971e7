#include "ops/StripParts.h"
#include "support/SmallModels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vexa/mesh/StripBuffer.h>

namespace {

using testing::ElementsAre;
using vexa::tool::joinParts;
using vexa::tool::limitStrips;
using vexa::tool::listSingles;
using vexa::tool::splitAtJoints;
namespace mesh = vexa::mesh;
using Parts = std::vector<mesh::IndexedPrimitive>;
using Indices = std::vector<unsigned int>;

Indices trianglesOf(const Parts& parts) {
    Indices triangles;
    for (const mesh::IndexedPrimitive& part : parts) {
        const Indices some = mesh::toTriangles(part.type, part.indices);
        triangles.insert(triangles.end(), some.begin(), some.end());
    }
    return triangles;
}

Indices gridTriangles(int columns, int rows) {
    const tool_test::Grid grid = tool_test::makeGrid(columns, rows);
    return {grid.indices.begin(), grid.indices.end()};
}

TEST(SplitAtJoints, FindsStripsAtEvenPositions) {
    const Parts strips = splitAtJoints({0, 1, 2, 3, 3, 7, 7, 8, 9});
    ASSERT_EQ(strips.size(), 2u);
    EXPECT_THAT(strips[0].indices, ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(strips[1].indices, ElementsAre(7, 8, 9));
}

TEST(SplitAtJoints, TurnsStripsThatBeginAtOddPositions) {
    for (const std::size_t length : {3U, 4U, 5U, 6U}) {
        Indices joined{0, 1, 2, 2, 10};
        for (unsigned int i = 0; i < length; ++i) {
            joined.push_back(10 + i);
        }
        const Parts strips = splitAtJoints(joined);
        ASSERT_EQ(strips.size(), 2u);
        EXPECT_TRUE(mesh::sameTriangles(trianglesOf(strips), mesh::toTriangles(mesh::TRIANGLE_STRIP, joined)))
            << length;
    }
}

TEST(SplitAtJoints, KeepsTheTrianglesOfJoinedStrips) {
    for (const unsigned int effort : {0U, 2U}) {
        const Indices triangles = gridTriangles(9, 7);
        const Indices joined =
            mesh::buildStripBuffer(triangles, {.effort = effort, .join = mesh::StripJoin::Degenerate});
        EXPECT_TRUE(mesh::sameTriangles(trianglesOf(splitAtJoints(joined)), triangles));
    }
}

TEST(LimitStrips, LeavesNoLongerStrips) {
    for (const std::uint32_t longest : {1U, 2U, 3U, 5U, 8U}) {
        const Indices triangles = gridTriangles(9, 7);
        Parts parts = mesh::buildPrimitives(triangles, {.allStrips = true});
        limitStrips(parts, longest);
        for (const mesh::IndexedPrimitive& part : parts) {
            EXPECT_LE(mesh::toTriangles(part.type, part.indices).size() / 3, longest);
        }
        EXPECT_TRUE(mesh::sameTriangles(trianglesOf(parts), triangles)) << longest;
    }
}

TEST(LimitStrips, LeavesFansAndLists) {
    Parts parts{{mesh::TRIANGLE_FAN, {0, 1, 2, 3, 4, 5}}, {mesh::TRIANGLES, {0, 1, 2, 3, 4, 5}}};
    limitStrips(parts, 1);
    ASSERT_EQ(parts.size(), 2u);
    EXPECT_EQ(parts[0].indices.size(), 6u);
    EXPECT_EQ(parts[1].indices.size(), 6u);
}

TEST(ListSingles, MovesSingleTrianglesToTheEnd) {
    Parts parts{{mesh::TRIANGLE_STRIP, {0, 1, 2}}, {mesh::TRIANGLE_STRIP, {3, 4, 5, 6}}, {mesh::TRIANGLES, {7, 8, 9}}};
    listSingles(parts);
    ASSERT_EQ(parts.size(), 2u);
    EXPECT_THAT(parts[0].indices, ElementsAre(3, 4, 5, 6));
    EXPECT_EQ(parts[1].type, mesh::TRIANGLES);
    EXPECT_THAT(parts[1].indices, ElementsAre(0, 1, 2, 7, 8, 9));
}

TEST(JoinParts, KeepsAListOnRequest) {
    const Parts parts{{mesh::TRIANGLE_STRIP, {0, 1, 2, 3}}, {mesh::TRIANGLES, {4, 5, 6}}};
    EXPECT_EQ(joinParts(parts, mesh::StripJoin::Degenerate, true).size(), 2u);
    const Parts joined = joinParts(parts, mesh::StripJoin::Degenerate, false);
    ASSERT_EQ(joined.size(), 1u);
    EXPECT_TRUE(mesh::sameTriangles(trianglesOf(joined), trianglesOf(parts)));
}

} // namespace
