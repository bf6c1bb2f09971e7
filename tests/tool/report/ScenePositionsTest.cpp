#ifdef VEXAMESH_WITH_REPORT

#include "report/ScenePositions.h"

#include "support/Documents.h"
#include "support/SkinnedTriangle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::SizeIs;
using tool_test::documentOf;
using tool_test::GltfModel;
using tool_test::skinnedTriangle;
using vexa::tool::Document;
using vexa::tool::ScenePositions;

/// The positions of two primitives of the first mesh.
std::pair<ScenePositions::Values, ScenePositions::Values> readTwo(const GltfModel& model) {
    const Document document = documentOf(model);
    ScenePositions positions(document);
    const auto& primitives = document.meshes[0].primitives;
    return {positions.read(0, primitives[0]), positions.read(0, primitives[1])};
}

/// The triangle twice, as two primitives.
GltfModel twoPrimitives() {
    GltfModel model = skinnedTriangle();
    model.json["meshes"][0]["primitives"].push_back(model.primitive(0));
    return model;
}

TEST(ScenePositions, AreSharedByPrimitivesWithTheSameVertices) {
    GltfModel model = twoPrimitives();
    model.json.erase("skins");
    model.json["nodes"][0].erase("skin");
    model.primitive(0, 1)["attributes"].erase("JOINTS_0");
    const auto [first, second] = readTwo(model);
    EXPECT_EQ(first, second);
}

TEST(ScenePositions, AreSharedByPrimitivesWhoseVerticesASkinPutsInTheSamePlaces) {
    const auto [first, second] = readTwo(twoPrimitives());
    EXPECT_EQ(first, second);
    EXPECT_THAT(*first, ElementsAre(10, 0, 0, 31, 0, 0, 20, 1, 0));
}

TEST(ScenePositions, DifferWhereJointsOrWeightsDo) {
    GltfModel model = twoPrimitives();
    const std::vector<float> weights{0.5F, 0.5F, 0, 0, 0, 1, 0, 0, 0.5F, 0.5F, 0, 0};
    model.primitive(0, 1)["attributes"]["WEIGHTS_0"] = model.addAccessor(weights, 5126, "VEC4");
    const auto [first, second] = readTwo(model);
    EXPECT_THAT(*first, ElementsAre(10, 0, 0, 31, 0, 0, 20, 1, 0));
    EXPECT_THAT(*second, ElementsAre(20, 0, 0, 31, 0, 0, 20, 1, 0));
}

TEST(ScenePositions, DifferBetweenSkins) {
    GltfModel model = twoPrimitives();
    model.json["meshes"].push_back(model.json["meshes"][0]);
    model.json["skins"].push_back({{"joints", {1, 2}}});
    model.json["nodes"][1]["mesh"] = 1;
    model.json["nodes"][1]["skin"] = 1;
    const Document document = documentOf(model);
    ScenePositions positions(document);
    EXPECT_THAT(*positions.read(0, document.meshes[0].primitives[0]), ElementsAre(10, 0, 0, 31, 0, 0, 20, 1, 0));
    EXPECT_THAT(*positions.read(1, document.meshes[1].primitives[0]), ElementsAre(110, 0, 0, 131, 0, 0, 120, 1, 0));
}

TEST(ScenePositions, AreThoseOfTheFileWithoutASkinThatIsMalformed) {
    GltfModel model = skinnedTriangle();
    model.json["skins"][0]["joints"] = {9};
    const Document document = documentOf(model);
    ScenePositions positions(document);
    EXPECT_THAT(*positions.read(0, document.meshes[0].primitives[0]), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 0));
    EXPECT_EQ(positions.placements(0).at(0)[3].x, 5000);
    EXPECT_THAT(positions.warnings(), SizeIs(1));
}

} // namespace

#endif
