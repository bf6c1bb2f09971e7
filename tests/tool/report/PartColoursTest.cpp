#ifdef VEXAMESH_WITH_REPORT

#include "report/PartColours.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using namespace vexa::tool;
using testing::Each;
using testing::ElementsAre;
using testing::Lt;

/// A row of triangles, each of which shares an edge with the next.
std::vector<unsigned int> rowOfTriangles(unsigned int count) {
    std::vector<unsigned int> triangles;
    for (unsigned int i = 0; i < count; ++i) {
        triangles.insert(triangles.end(), {i, i + 1, i + 2});
    }
    return triangles;
}

/// Each triangle is a part of its own.
std::vector<std::uint32_t> singleParts(std::uint32_t count) {
    std::vector<std::uint32_t> parts(count);
    std::iota(parts.begin(), parts.end(), 0U);
    return parts;
}

TEST(GroupParts, JoinsNeighboursUntilAGroupIsLargeEnough) {
    const auto edges = sortedEdges(rowOfTriangles(6));
    EXPECT_THAT(groupParts(edges, singleParts(6), 6, 3), ElementsAre(0, 0, 0, 1, 1, 1));
}

TEST(GroupParts, LeavesPartsThatAreLargeEnoughAlone) {
    const auto edges = sortedEdges(rowOfTriangles(6));
    EXPECT_THAT(groupParts(edges, singleParts(6), 6, 1), ElementsAre(0, 1, 2, 3, 4, 5));
}

TEST(GroupParts, LeavesPartsWithoutNeighboursAlone) {
    EXPECT_THAT(groupParts(sortedEdges({0, 1, 2, 3, 4, 5}), singleParts(2), 2, 100), ElementsAre(0, 1));
}

TEST(GroupParts, MakesNoGroupTwiceAsLargeUnlessAPartIs) {
    // The first part has one triangle, the second one five.
    const auto edges = sortedEdges(rowOfTriangles(6));
    const std::vector<std::uint32_t> partOf{0, 1, 1, 1, 1, 1};
    EXPECT_THAT(groupParts(edges, partOf, 2, 3), ElementsAre(0, 1));
    EXPECT_THAT(groupParts(edges, partOf, 2, 4), ElementsAre(0, 0));
}

TEST(GroupParts, NumbersNoGroupsWithoutParts) {
    EXPECT_TRUE(groupParts({}, {}, 0, 10).empty());
}

TEST(ColourParts, GivesNeighboursDifferentColours) {
    const std::vector<std::uint8_t> colours = colourParts(sortedEdges(rowOfTriangles(40)), singleParts(40), 40, 3);
    EXPECT_THAT(colours, Each(Lt(3)));
    for (std::size_t i = 1; i < colours.size(); ++i) {
        EXPECT_NE(colours[i - 1], colours[i]);
    }
}

} // namespace

#endif
