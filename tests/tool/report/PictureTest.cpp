#ifdef VEXAMESH_WITH_REPORT

#include "report/Picture.h"

#include "support/Pictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>
#include <set>

namespace {

using namespace vexa::tool;
namespace mesh = vexa::mesh;
using testing::ElementsAre;

/// A flat grid of squares, two triangles each.
std::vector<unsigned int> gridTriangles(unsigned int columns, unsigned int rows) {
    std::vector<unsigned int> triangles;
    for (unsigned int y = 0; y < rows; ++y) {
        for (unsigned int x = 0; x < columns; ++x) {
            const unsigned int a = y * (columns + 1) + x;
            const unsigned int b = a + columns + 1;
            triangles.insert(triangles.end(), {a, a + 1, b, b, a + 1, b + 1});
        }
    }
    return triangles;
}

/// The picture of triangles whose vertex i is at (i, 0, 0).
Picture pictureOf(const std::vector<unsigned int>& triangles, const std::vector<mesh::IndexedPrimitive>& parts,
                  std::size_t most = PictureBuilder::maxTriangles) {
    std::vector<float> positions;
    for (unsigned int i = 0; i <= *std::max_element(triangles.begin(), triangles.end()); ++i) {
        positions.insert(positions.end(), {static_cast<float>(i), 0, 0});
    }
    return tool_test::pictureOf(triangles, parts, positions, most);
}

Picture gridPicture(const mesh::StripOptions& options = {}, std::size_t most = PictureBuilder::maxTriangles) {
    const auto triangles = gridTriangles(9, 7);
    return pictureOf(triangles, mesh::buildPrimitives(triangles, options), most);
}

/// The vertices of the picture's triangles as the input numbers them, read from their positions.
std::vector<unsigned int> inputCorners(const Picture& picture) {
    std::vector<unsigned int> corners;
    for (const std::uint32_t corner : picture.corners) {
        corners.push_back(static_cast<unsigned int>(picture.positions[3 * std::size_t{corner}]));
    }
    return corners;
}

TEST(Picture, HoldsTheTrianglesOfTheInput) {
    EXPECT_TRUE(mesh::sameTriangles(inputCorners(gridPicture()), gridTriangles(9, 7)));
}

TEST(Picture, KnowsEachTrianglesPlaceInTheInput) {
    const auto triangles = gridTriangles(9, 7);
    const Picture picture = gridPicture();
    const auto corners = inputCorners(picture);
    for (std::size_t i = 0; i < picture.shownTriangles(); ++i) {
        const auto input = triangles.begin() + 3 * picture.drawings[0].order[i];
        const auto built = corners.begin() + static_cast<std::ptrdiff_t>(3 * i);
        EXPECT_TRUE(std::is_permutation(built, built + 3, input)) << i;
    }
    std::set<std::uint32_t> places(picture.drawings[0].order.begin(), picture.drawings[0].order.end());
    EXPECT_EQ(places.size(), triangles.size() / 3);
}

TEST(Picture, DistinguishesEqualTriangles) {
    const std::vector<unsigned int> triangles{0, 1, 2, 3, 4, 5, 0, 1, 2};
    const Picture picture = pictureOf(triangles, mesh::buildPrimitives(triangles));
    std::vector<std::uint32_t> order = picture.drawings[0].order;
    std::sort(order.begin(), order.end());
    EXPECT_THAT(order, ElementsAre(0, 1, 2));
}

TEST(Picture, PutsPartsInTheOrderOfBuilding) {
    const std::vector<unsigned int> triangles{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    const Picture picture = pictureOf(triangles, {{mesh::TRIANGLE_FAN, {0, 1, 2}},
                                                  {mesh::TRIANGLE_STRIP, {6, 7, 8}},
                                                  {mesh::TRIANGLE_STRIP, {3, 4, 5}},
                                                  {mesh::TRIANGLES, {9, 10, 11}}});
    EXPECT_THAT(inputCorners(picture), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
    ASSERT_EQ(picture.drawings[0].parts.size(), 4u);
    EXPECT_EQ(picture.drawings[0].parts[0].kind, PartKind::Fan);
    EXPECT_EQ(picture.drawings[0].parts[1].kind, PartKind::Strip);
    EXPECT_EQ(picture.drawings[0].parts[3].kind, PartKind::LeftOver);
}

TEST(Picture, CountsTheSwapsOfAStrip) {
    const std::vector<unsigned int> triangles{0, 1, 2, 2, 1, 3, 1, 4, 3};
    const Picture picture = pictureOf(triangles, {{mesh::TRIANGLE_STRIP, {0, 1, 2, 1, 3, 4}}});
    ASSERT_EQ(picture.drawings[0].parts.size(), 1u);
    EXPECT_EQ(picture.drawings[0].parts[0].triangles, 3u);
    EXPECT_EQ(picture.drawings[0].parts[0].swaps, 1u);
}

TEST(Picture, GivesNeighboursDifferentColours) {
    const auto triangles = gridTriangles(9, 7);
    const Picture picture = gridPicture({.buildFans = true, .minFanTriangles = 5});
    std::vector<std::uint8_t> colours(triangles.size() / 3);
    std::vector<std::size_t> partOf(triangles.size() / 3);
    std::size_t next = 0;
    for (std::size_t part = 0; part < picture.drawings[0].parts.size(); ++part) {
        for (std::uint32_t i = 0; i < picture.drawings[0].parts[part].shown; ++i, ++next) {
            colours[picture.drawings[0].order[next]] = picture.drawings[0].colours[0][part];
            partOf[picture.drawings[0].order[next]] = part;
        }
    }
    std::size_t between = 0;
    // Leftover triangles are grey, however many there are.
    const auto hasColour = [&](const EdgeUse& use) {
        return picture.drawings[0].parts[partOf[use.triangle]].kind != PartKind::LeftOver;
    };
    forEachEdge(sortedEdges(triangles), [&](const EdgeUse* first, const EdgeUse* last) {
        if (last - first == 2 && hasColour(first[0]) && hasColour(first[1]) &&
            partOf[first[0].triangle] != partOf[first[1].triangle]) {
            ++between;
            EXPECT_NE(colours[first[0].triangle], colours[first[1].triangle]);
        }
    });
    EXPECT_GT(between, 10u);
}

TEST(Picture, UsesEveryColourForManyParts) {
    std::vector<unsigned int> triangles(3 * 60);
    std::iota(triangles.begin(), triangles.end(), 0U);
    const Picture picture = pictureOf(triangles, mesh::buildPrimitives(triangles, {.allStrips = true}));
    const std::vector<std::uint8_t>& colours = picture.drawings[0].colours[0];
    EXPECT_EQ(std::set<int>(colours.begin(), colours.end()).size(), PictureBuilder::colours);
}

TEST(Picture, StopsWhenItIsFull) {
    const Picture picture = gridPicture({}, 50);
    EXPECT_EQ(picture.shownTriangles(), 50u);
    EXPECT_EQ(picture.triangles, 126u);
    std::uint32_t shown = 0;
    std::uint32_t all = 0;
    for (const Part& part : picture.drawings[0].parts) {
        shown += part.shown;
        all += part.triangles;
    }
    EXPECT_EQ(shown, 50u);
    EXPECT_EQ(all, 126u);
}

TEST(Picture, LeavesOutEdgesOfTrianglesThatAreNotShown) {
    const std::vector<unsigned int> triangles{0, 1, 2, 3, 4, 5};
    const Picture picture = pictureOf(triangles, {{mesh::TRIANGLES, triangles}}, 1);
    EXPECT_EQ(picture.borderEdges.size(), 6u);
    EXPECT_EQ(picture.positions.size(), 9u);
}

TEST(Picture, DistinguishesBorderFromNonManifoldEdges) {
    const std::vector<unsigned int> triangles{0, 1, 2, 1, 0, 3, 0, 1, 4};
    const Picture picture = pictureOf(triangles, mesh::buildPrimitives(triangles));
    EXPECT_EQ(picture.borderEdges.size(), 12u);
    ASSERT_EQ(picture.nonManifoldEdges.size(), 2u);
    EXPECT_EQ(picture.positions[3 * picture.nonManifoldEdges[0]], 0);
    EXPECT_EQ(picture.positions[3 * picture.nonManifoldEdges[1]], 1);
}

TEST(Picture, NumbersTheVerticesOfSeveralPrimitivesOneAfterTheOther) {
    const std::vector<unsigned int> triangles{0, 1, 2};
    const std::vector<mesh::IndexedPrimitive> parts{{mesh::TRIANGLES, triangles}};
    const std::vector<float> positions{0, 0, 0, 1, 0, 0, 2, 0, 0};
    PictureBuilder builder;
    for (const char* name : {"one", "two"}) {
        builder.add({name, triangles, {{"Strips", parts}}, {false}, sortedEdges(triangles), positions});
    }
    const Picture picture = builder.finish();
    ASSERT_EQ(picture.primitives.size(), 2u);
    EXPECT_EQ(picture.primitives[1].name, "two");
    EXPECT_EQ(picture.primitives[1].triangles, 1u);
    EXPECT_EQ(picture.primitives[1].vertices, 3u);
    const Drawing& drawing = picture.drawings[0];
    EXPECT_THAT(drawing.order, ElementsAre(0, 1));
    EXPECT_THAT(picture.corners, ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(drawing.parts[1].primitive, 1u);
    EXPECT_NE(drawing.colours[0][0], drawing.colours[0][1]);
}

TEST(Picture, HoldsOtherCutsOfTheSameTriangles) {
    const auto triangles = gridTriangles(9, 7);
    const auto strips = mesh::buildPrimitives(triangles);
    const std::vector<mesh::IndexedPrimitive> list{{mesh::TRIANGLES, triangles}};
    const std::vector<float> positions(3 * 80);
    const std::vector<bool> isSplitOff(triangles.size() / 3);
    const auto pictureWith = [&](std::size_t most) {
        PictureBuilder builder(most);
        builder.add(
            {"mesh", triangles, {{"Strips", strips}, {"List", list}}, isSplitOff, sortedEdges(triangles), positions});
        return builder.finish();
    };
    const Picture picture = pictureWith(1000);
    ASSERT_EQ(picture.drawings.size(), 2u);
    EXPECT_EQ(picture.drawings[1].name, "List");
    EXPECT_EQ(picture.drawings[1].parts.size(), 1u);
    std::vector<std::uint32_t> inputOrder(triangles.size() / 3);
    std::iota(inputOrder.begin(), inputOrder.end(), 0U);
    EXPECT_EQ(picture.drawings[1].order, inputOrder);
    EXPECT_EQ(pictureWith(50).drawings.size(), 1u) << "only the first can be drawn in part";
}

TEST(Picture, ColoursGroupsOfPartsAlikeAtHigherLevels) {
    const auto triangles = gridTriangles(60, 60);
    const Picture picture = pictureOf(triangles, mesh::buildPrimitives(triangles));
    const Drawing& drawing = picture.drawings[0];
    ASSERT_EQ(drawing.colours.size(), PictureBuilder::levels);
    const auto isOneColour = [](const std::vector<std::uint8_t>& colours) {
        return std::adjacent_find(colours.begin(), colours.end(), std::not_equal_to<>()) == colours.end();
    };
    EXPECT_FALSE(isOneColour(drawing.colours[0]));
    EXPECT_TRUE(isOneColour(drawing.colours.back())) << "one group holds all 7,200 triangles";
    for (const std::vector<std::uint8_t>& level : drawing.colours) {
        EXPECT_EQ(level.size(), drawing.parts.size());
    }
}

TEST(Picture, DrawsEveryPlacementUpToTheLimit) {
    const std::vector<unsigned int> triangles{0, 1, 2};
    const std::vector<mesh::IndexedPrimitive> parts{{mesh::TRIANGLES, triangles}};
    PictureBuilder builder;
    PictureSource source{"mesh", triangles, {{"Strips", parts}}, {false}, sortedEdges(triangles), {}};
    source.placements.assign(PictureBuilder::maxDrawn + 3, glm::dmat4(1));
    builder.add(source);
    const Picture picture = builder.finish();
    EXPECT_EQ(picture.primitives[0].placements.size(), PictureBuilder::maxDrawn);
    EXPECT_EQ(picture.hiddenPlacements, 3u);
}

TEST(Picture, MarksTheTrianglesThatWereSplitOffAmongTheirCopies) {
    const std::vector<unsigned int> triangles{0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2};
    const std::vector<mesh::IndexedPrimitive> parts{{mesh::TRIANGLES, triangles}};
    PictureBuilder builder;
    builder.add({"mesh", triangles, {{"Strips", parts}}, {false, false, true, true, true}, sortedEdges(triangles), {}});
    EXPECT_THAT(builder.finish().splitOff, ElementsAre(2, 3, 4));
}

TEST(Picture, RefusesPartsOfOtherTriangles) {
    EXPECT_THROW(pictureOf({0, 1, 2}, {{mesh::TRIANGLES, {0, 2, 1}}}), std::logic_error);
}

} // namespace

#endif
