#include "ops/MergeLosses.h"

#include "support/Documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using vexa::tool::mergeLosses;

TEST(MergeLosses, FindsNoneInAPlainModel) {
    EXPECT_THAT(mergeLosses(documentOf(gridModel(1, 1))), ElementsAre());
}

TEST(MergeLosses, NamesEachKindOnce) {
    GltfModel model = gridModel(1, 1);
    model.addMesh(0, 1);
    for (int mesh : {0, 1}) {
        model.primitive(mesh)["targets"] = Json::array({{{"POSITION", 0}}});
        model.primitive(mesh)["extensions"]["FB_ngon_encoding"] = Json::object();
        model.json["nodes"][static_cast<std::size_t>(mesh)]["extras"] = 5;
    }
    model.json["skins"] = Json::parse(R"([{"joints":[0]}])");
    EXPECT_THAT(mergeLosses(documentOf(model)),
                ElementsAre("skins", "extension FB_ngon_encoding of primitives", "morph targets", "extras of nodes"));
}

TEST(MergeLosses, JointsWithoutASkinCount) {
    GltfModel model = gridModel(1, 1);
    model.primitive(0)["attributes"]["JOINTS_0"] = model.addAccessor(std::vector<std::uint8_t>(16), 5121, "VEC4");
    EXPECT_THAT(mergeLosses(documentOf(model)), ElementsAre("skins"));
}

TEST(MergeLosses, CountsNodesOutsideOfTheScene) {
    GltfModel model = gridModel(1, 1);
    model.addMesh(0, 1);
    model.json["nodes"].push_back({{"name", "empty"}});
    model.json["scenes"][0]["nodes"] = {0};
    EXPECT_THAT(mergeLosses(documentOf(model)), ElementsAre("1 node outside of its scene"));
}

TEST(MergeLosses, CamerasLightsVariantsAndInstancesAreNone) {
    GltfModel model = gridModel(1, 1);
    model.json["cameras"] = Json::parse(R"([{"type":"perspective","perspective":{"yfov":1,"znear":1}}])");
    model.json["nodes"].push_back({{"camera", 0}, {"extras", 5}});
    model.json["scenes"][0]["nodes"].push_back(1);
    model.json["extensions"]["KHR_lights_punctual"]["lights"] = Json::parse(R"([{"type":"point"}])");
    model.json["extensions"]["KHR_materials_variants"]["variants"] = Json::parse(R"([{"name":"a"}])");
    model.primitive(0)["extensions"]["KHR_materials_variants"]["mappings"] = Json::array();
    EXPECT_THAT(mergeLosses(documentOf(model)), ElementsAre());
}

TEST(MergeLosses, AttributesOfInstancesBesidesTheirPlaceAreNamed) {
    GltfModel model = gridModel(1, 1);
    const int ids = model.addAccessor(std::vector<float>{1, 2}, 5126, "SCALAR");
    model.json["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"] = {{"_ID", ids}};
    EXPECT_THAT(mergeLosses(documentOf(model)), ElementsAre("attribute _ID of instances"));
}

} // namespace
