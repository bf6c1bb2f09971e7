#include "ops/MeshStats.h"

#include "io/AssetBuilder.h"
#include "support/Documents.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using vexa::tool::Box;
using vexa::tool::BoxCache;
using vexa::tool::Document;
using vexa::tool::Primitive;
using vexa::tool::PrimitiveStats;
namespace mesh = vexa::mesh;
namespace tool = vexa::tool;

PrimitiveStats statsOf(mesh::PrimitiveType type, std::vector<unsigned int> indices) {
    const Document document;
    BoxCache boxes(document);
    Primitive primitive;
    primitive.type = type;
    primitive.indices = std::move(indices);
    return tool::describePrimitive(primitive, boxes);
}

TEST(DescribePrimitive, CountsWhatEachTypeDraws) {
    EXPECT_EQ(statsOf(mesh::POINTS, {0, 1, 2, 3}).count, 4u);
    EXPECT_EQ(statsOf(mesh::LINES, {0, 1, 2, 3, 4}).count, 2u);
    EXPECT_EQ(statsOf(mesh::LINE_STRIP, {0, 1, 2, 3}).count, 3u);
    EXPECT_EQ(statsOf(mesh::LINE_LOOP, {0, 1, 2, 3}).count, 4u);
    EXPECT_EQ(statsOf(mesh::TRIANGLES, {0, 1, 2, 3, 4}).count, 1u);
    EXPECT_EQ(statsOf(mesh::TRIANGLE_STRIP, {0, 1, 2, 3}).count, 2u);
    EXPECT_EQ(statsOf(mesh::TRIANGLE_FAN, {0, 1, 2, 3}).count, 2u);
}

TEST(DescribePrimitive, CountsNothingForTooFewIndices) {
    for (const auto type : {mesh::LINES, mesh::LINE_STRIP, mesh::LINE_LOOP, mesh::TRIANGLE_STRIP}) {
        EXPECT_EQ(statsOf(type, {0}).count, 0u) << type;
    }
}

TEST(DescribePrimitive, CountsThePartsBetweenRestartIndices) {
    EXPECT_EQ(statsOf(mesh::TRIANGLE_STRIP, {0, 1, 2, 3, mesh::restartIndex, 4, 5, 6}).count, 3u);
    EXPECT_EQ(statsOf(mesh::LINE_STRIP, {0, 1, mesh::restartIndex, mesh::restartIndex, 2, 3}).count, 2u);
}

TEST(DescribePrimitive, TakesEdgesOfTrianglesThatAreNotDegenerate) {
    const PrimitiveStats stats = statsOf(mesh::TRIANGLE_STRIP, {0, 1, 2, 2, 3, 3, 4, 5});
    EXPECT_TRUE(stats.hasTriangles);
    EXPECT_EQ(stats.count, 6u);
    EXPECT_EQ(stats.degenerate, 4u);
    EXPECT_EQ(stats.edges.edges, 6u);
    EXPECT_FALSE(statsOf(mesh::LINES, {0, 1}).hasTriangles);
}

TEST(Box, LeavesOutPositionsThatAreNotFinite) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Box box;
    EXPECT_TRUE(box.isEmpty());
    box.add(tool::floatValues("VEC3", {1, 2, 3, -5, nan, 0, 0, 4, -1, std::numeric_limits<float>::infinity(), 0, 0}));
    EXPECT_FALSE(box.isEmpty());
    EXPECT_THAT(box.min, ElementsAre(0, 2, -1));
    EXPECT_THAT(box.max, ElementsAre(1, 4, 3));
    EXPECT_EQ(box.notFinite, 2u);
}

TEST(Box, TakesInAnotherBox) {
    Box box;
    box.add(tool::floatValues("VEC3", {0, 0, 0}));
    Box other;
    other.add(tool::floatValues("VEC3", {1, -1, 0}));
    box.add(other);
    box.add(Box());
    EXPECT_THAT(box.min, ElementsAre(0, -1, 0));
    EXPECT_THAT(box.max, ElementsAre(1, 0, 0));
}

TEST(IndexBytes, AreThoseOfTheTypeInTheFile) {
    GltfModel model = gridModel(2, 1);
    model.json["meshes"].push_back({{"primitives", {{{"attributes", {{"POSITION", 0}}}}}}});
    const Document document = documentOf(model);
    const Primitive& indexed = document.meshes[0].primitives[0];
    EXPECT_EQ(tool::indexTypeText(indexed), "unsigned short");
    EXPECT_EQ(tool::indexBytes(indexed), 24u);
    const Primitive& plain = document.meshes[1].primitives[0];
    EXPECT_EQ(tool::indexTypeText(plain), "none");
    EXPECT_EQ(tool::indexBytes(plain), 0u);
}

} // namespace
