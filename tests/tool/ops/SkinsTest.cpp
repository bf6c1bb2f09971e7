#include "ops/Skins.h"

#include "support/Documents.h"
#include "support/SkinnedTriangle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tool_test::documentOf;
using tool_test::GltfModel;
using tool_test::skinnedTriangle;
using vexa::tool::Document;
using vexa::tool::Skins;

/// The vertices of the triangle where the skin puts them.
std::vector<float> placed(const GltfModel& model) {
    const Document document = documentOf(model);
    std::vector<float> positions{0, 0, 0, 1, 0, 0, 0, 1, 0};
    const Skins skins(document);
    skins.place(skins.skinOf(0).value(), document.meshes[0].primitives[0], positions);
    return positions;
}

TEST(Skins, PlaceVerticesByTheirJointsWhateverTheNode) {
    EXPECT_THAT(placed(skinnedTriangle()), ElementsAre(10, 0, 0, 31, 0, 0, 20, 1, 0));
}

TEST(Skins, DivideByTheSumOfTheWeights) {
    EXPECT_THAT(placed(skinnedTriangle({0.5F, 0, 0, 0, 0, 2, 0, 0, 2, 2, 0, 0})),
                ElementsAre(10, 0, 0, 31, 0, 0, 20, 1, 0));
}

TEST(Skins, LeaveVerticesWithoutWeights) {
    EXPECT_THAT(placed(skinnedTriangle({0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0})), ElementsAre(0, 0, 0, 31, 0, 0, 0, 1, 0));
}

TEST(Skins, IgnoreJointsThatDoNotExist) {
    GltfModel model = skinnedTriangle();
    model.json["skins"][0]["joints"] = {1};
    EXPECT_THAT(placed(model), ElementsAre(10, 0, 0, 1, 0, 0, 10, 1, 0));
}

TEST(Skins, PlaceVerticesWithoutInverseMatricesByTheJointsAlone) {
    GltfModel model = skinnedTriangle();
    model.json["skins"][0].erase("inverseBindMatrices");
    EXPECT_THAT(placed(model), ElementsAre(110, 0, 0, 131, 0, 0, 120, 1, 0));
}

TEST(Skins, AreThoseWithWhichTheSceneShowsAMesh) {
    GltfModel model = skinnedTriangle();
    const Document with = documentOf(model);
    EXPECT_EQ(Skins(with).skinOf(0), 0u);
    EXPECT_THAT(Skins(with).warnings(), IsEmpty());
    model.json["nodes"][0].erase("skin");
    const Document without = documentOf(model);
    EXPECT_EQ(Skins(without).skinOf(0), std::nullopt);
    EXPECT_THAT(Skins(without).warnings(), IsEmpty());
}

/// The warnings about a model whose mesh is drawn without its skin.
std::vector<std::string> warningsWithoutSkin(const GltfModel& model) {
    const Document document = documentOf(model);
    const Skins skins(document);
    EXPECT_EQ(skins.skinOf(0), std::nullopt);
    return skins.warnings();
}

TEST(Skins, LeaveOutThoseWithNodesThatAreNotThere) {
    GltfModel model = skinnedTriangle();
    model.json["skins"][0]["joints"] = {1, 9};
    EXPECT_THAT(warningsWithoutSkin(model),
                ElementsAre("skins[0].joints is 9, but there are only 3: drawn without this skin"));
}

TEST(Skins, LeaveOutThoseWhoseInverseMatricesAreNotMatrices) {
    GltfModel model = skinnedTriangle();
    model.json["skins"][0]["inverseBindMatrices"] = 0;
    EXPECT_THAT(warningsWithoutSkin(model),
                ElementsAre("skins[0].inverseBindMatrices is not MAT4: drawn without this skin"));
}

TEST(Skins, LeaveOutThoseThatDoNotExist) {
    GltfModel model = skinnedTriangle();
    model.json["nodes"][0]["skin"] = 1;
    EXPECT_THAT(warningsWithoutSkin(model),
                ElementsAre("nodes[0].skin is 1, but there are only 1: drawn without this skin"));
}

TEST(Skins, LeaveOutAllOfAMeshWithSeveral) {
    GltfModel model = skinnedTriangle();
    model.json["skins"].push_back(model.json["skins"][0]);
    model.json["nodes"][1]["mesh"] = 0;
    model.json["nodes"][1]["skin"] = 1;
    const std::string warning = "mesh 0 has several skins, or one in some places only: drawn without them";
    EXPECT_THAT(warningsWithoutSkin(model), ElementsAre(warning));
    model.json["nodes"][1].erase("skin");
    EXPECT_THAT(warningsWithoutSkin(model), ElementsAre(warning));
}

TEST(Skins, OfOtherMeshesRemainWhenOneIsMalformed) {
    GltfModel model = skinnedTriangle();
    model.json["meshes"].push_back(model.json["meshes"][0]);
    model.json["skins"].push_back({{"joints", {9}}});
    model.json["nodes"][1]["mesh"] = 1;
    model.json["nodes"][1]["skin"] = 1;
    const Document document = documentOf(model);
    const Skins skins(document);
    EXPECT_EQ(skins.skinOf(0), 0u);
    EXPECT_EQ(skins.skinOf(1), std::nullopt);
}

} // namespace
