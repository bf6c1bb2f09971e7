#include "ops/SceneCopier.h"

#include "base/Errors.h"
#include "support/Documents.h"

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::FloatNear;
using vexa::tool::AssetBuilder;
using vexa::tool::SceneCopier;

const glm::dmat4 inPlace(1);
constexpr float tolerance = 1e-6F;

/// A grid, a camera and a lamp at z = 4.
GltfModel litModel() {
    GltfModel model = gridModel(1, 1);
    model.json["cameras"] = Json::parse(R"([{"type":"perspective","perspective":{"yfov":0.5,"znear":0.25}}])");
    model.json["extensionsUsed"] = {"KHR_lights_punctual"};
    model.json["extensions"]["KHR_lights_punctual"]["lights"] =
        Json::parse(R"([{"type":"point"},{"type":"spot","spot":{}}])");
    model.json["nodes"].push_back({{"name", "eye"}, {"camera", 0}, {"translation", {0, 0, 4}}, {"scale", {9, 9, 9}}});
    model.json["nodes"].push_back({{"name", "lamp"}, {"translation", {1, 0, 4}}, {"extras", "bright"}});
    model.json["nodes"][2]["extensions"]["KHR_lights_punctual"]["light"] = 1;
    model.json["scenes"][0]["nodes"] = {0, 1, 2};
    return model;
}

/// A document of a grid and of what the copier adds.
Json copied(const std::vector<std::pair<GltfModel, glm::dmat4>>& models) {
    AssetBuilder builder;
    SceneCopier copier(builder);
    for (const auto& [model, placement] : models) {
        copier.add(documentOf(model), placement);
    }
    copier.finish();
    vexa::tool::NewPrimitive point;
    point.type = vexa::mesh::POINTS;
    point.indices = {0};
    point.attributes = {{"POSITION", vexa::tool::floatValues("VEC3", {0, 0, 0})}};
    builder.addMesh("", {point});
    return builder.finish().json;
}

std::vector<float> numbers(const Json& values) {
    return values.get<std::vector<float>>();
}

TEST(SceneCopier, CopiesCamerasAndLightsWithTheirNodes) {
    const Json json = copied({{litModel(), inPlace}});
    EXPECT_EQ(json["cameras"], litModel().json["cameras"]);
    EXPECT_EQ(json["extensions"]["KHR_lights_punctual"]["lights"], Json::parse(R"([{"type":"spot","spot":{}}])"));
    EXPECT_EQ(json["extensionsUsed"], Json({"KHR_lights_punctual"}));
    EXPECT_EQ(json["nodes"][0]["name"], "eye");
    EXPECT_EQ(json["nodes"][0]["camera"], 0);
    EXPECT_THAT(numbers(json["nodes"][0]["translation"]), ElementsAre(0, 0, 4));
    EXPECT_FALSE(json["nodes"][0].contains("scale"));
    EXPECT_EQ(json["nodes"][1]["extensions"]["KHR_lights_punctual"]["light"], 0);
    EXPECT_EQ(json["nodes"][1]["extras"], "bright");
    EXPECT_EQ(json["scenes"][0]["nodes"], Json({0, 1, 2}));
}

TEST(SceneCopier, KeepsThoseOfEachDocument) {
    const Json json = copied({{litModel(), inPlace}, {litModel(), glm::translate(inPlace, glm::dvec3(5, 6, 7))}});
    EXPECT_EQ(json["cameras"].size(), 2u);
    EXPECT_EQ(json["nodes"][2]["camera"], 1);
    EXPECT_EQ(json["nodes"][3]["extensions"]["KHR_lights_punctual"]["light"], 1);
    EXPECT_THAT(numbers(json["nodes"][2]["translation"]), ElementsAre(5, 6, 11));
}

TEST(SceneCopier, PlacementsTurnThem) {
    const Json json = copied({{litModel(), glm::rotate(inPlace, glm::radians(90.0), glm::dvec3(0, 1, 0))}});
    const float half = std::sqrt(0.5F);
    EXPECT_THAT(numbers(json["nodes"][0]["translation"]),
                ElementsAre(FloatNear(4, tolerance), FloatNear(0, tolerance), FloatNear(0, tolerance)));
    EXPECT_THAT(numbers(json["nodes"][0]["rotation"]),
                ElementsAre(FloatNear(0, tolerance), FloatNear(half, tolerance), FloatNear(0, tolerance),
                            FloatNear(half, tolerance)));
}

TEST(SceneCopier, MirroredAndSkewedOnesAreTurnedOnly) {
    // Looks along -x, once everything is mirrored in x; a scale of 1, 3, 2 on top.
    GltfModel model = litModel();
    model.json["nodes"][1]["rotation"] = {0, -std::sqrt(0.5), 0, std::sqrt(0.5)};
    const Json json = copied({{model, glm::scale(inPlace, glm::dvec3(-1, 3, 2))}});
    const float half = std::sqrt(0.5F);
    EXPECT_THAT(numbers(json["nodes"][0]["rotation"]),
                ElementsAre(FloatNear(0, tolerance), FloatNear(half, tolerance), FloatNear(0, tolerance),
                            FloatNear(half, tolerance)));
}

TEST(SceneCopier, LeavesOutThoseThatTheSceneDoesNotShow) {
    GltfModel model = litModel();
    model.json["scenes"][0]["nodes"] = {0};
    const Json json = copied({{model, inPlace}});
    EXPECT_FALSE(json.contains("cameras"));
    EXPECT_FALSE(json.contains("extensions"));
    EXPECT_EQ(json["nodes"].size(), 1u);
}

TEST(SceneCopier, RefusesReferencesToNothing) {
    GltfModel model = litModel();
    model.json["nodes"][2]["extensions"]["KHR_lights_punctual"]["light"] = 2;
    EXPECT_THROW(copied({{model, inPlace}}), vexa::tool::FormatError);
    model.json.erase("extensions");
    EXPECT_THROW(copied({{model, inPlace}}), vexa::tool::FormatError);
}

TEST(SceneCopier, RefusesPlacesThatAreNotFinite) {
    EXPECT_THROW(copied({{litModel(), glm::scale(inPlace, glm::dvec3(3e38))}}), vexa::tool::FormatError);
}

} // namespace
