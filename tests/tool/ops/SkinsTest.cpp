#include "ops/Skins.h"

#include "base/Errors.h"
#include "support/Documents.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tool_test::documentOf;
using tool_test::GltfModel;
using tool_test::Json;
using vexa::tool::Document;
using vexa::tool::FormatError;
using vexa::tool::Skins;

constexpr int unsignedByte = 5121;
constexpr int floats = 5126;

/// A triangle that node 0 shows with a skin of nodes 1 and 2, which are 10 and 30 to the right of where they were when
/// the skin was bound. The node itself is far away.
GltfModel skinnedTriangle(const std::vector<float>& weights = {1, 0, 0, 0, 0, 1, 0, 0, 0.5F, 0.5F, 0, 0}) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0}), model.addIndices({0, 1, 2}));
    const std::vector<std::uint8_t> joints{0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0};
    model.primitive(0)["attributes"]["JOINTS_0"] = model.addAccessor(joints, unsignedByte, "VEC4");
    model.primitive(0)["attributes"]["WEIGHTS_0"] = model.addAccessor(weights, floats, "VEC4");
    std::vector<float> matrices(32);
    for (const std::size_t first : {std::size_t{0}, std::size_t{16}}) {
        for (std::size_t i = 0; i < 4; ++i) {
            matrices[first + 5 * i] = 1;
        }
        matrices[first + 12] = -100;
    }
    const int inverse = model.addAccessor(matrices, floats, "VEC4"); // counted as vectors
    model.json["accessors"].back()["type"] = "MAT4";
    model.json["accessors"].back()["count"] = 2;
    model.json["skins"] = {{{"joints", {1, 2}}, {"inverseBindMatrices", inverse}}};
    model.json["nodes"] = {{{"mesh", 0}, {"skin", 0}, {"translation", {5000, 0, 0}}},
                           {{"translation", {110, 0, 0}}, {"children", {2}}},
                           {{"translation", {20, 0, 0}}}};
    model.json["scenes"] = {{{"nodes", {0, 1}}}};
    model.json["scene"] = 0;
    return model;
}

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
    model.json["nodes"][1]["mesh"] = 0;
    const Document withAndWithout = documentOf(model);
    EXPECT_EQ(Skins(withAndWithout).skinOf(0), std::nullopt);
    model.json["nodes"][0].erase("skin");
    const Document without = documentOf(model);
    EXPECT_EQ(Skins(without).skinOf(0), std::nullopt);
}

TEST(Skins, RefuseNodesThatAreNotThere) {
    GltfModel model = skinnedTriangle();
    model.json["skins"][0]["joints"] = {1, 9};
    const Document document = documentOf(model);
    try {
        Skins{document};
        ADD_FAILURE() << "no exception";
    } catch (const FormatError& error) {
        EXPECT_THAT(error.what(), HasSubstr("skins[0].joints"));
    }
}

TEST(Skins, RefuseInverseMatricesThatAreNotMatrices) {
    GltfModel model = skinnedTriangle();
    model.json["skins"][0]["inverseBindMatrices"] = 0;
    const Document document = documentOf(model);
    EXPECT_THROW(Skins{document}, FormatError);
}

} // namespace
