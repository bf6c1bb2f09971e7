#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

class UnstripCommand : public testing::Test {
public:
    Json unstrip(const std::string& input, const std::string& output) {
        const ProcessResult result = runForked({"unstrip", input, "-o", output, "--json"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.exitCode == 0 ? Json::parse(result.out) : Json::object();
    }

    Json unstrip(const GltfModel& model) {
        model.writeGlb(in);
        return unstrip(in, out);
    }

    std::vector<std::size_t> outputIndices() {
        const tinygltf::Model model = loadModel(out);
        EXPECT_EQ(model.meshes[0].primitives[0].mode, 4);
        return indicesOf(model, model.meshes[0].primitives[0]);
    }

    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "out.glb").string();
};

GltfModel modelOf(const std::vector<std::uint16_t>& indices, int mode) {
    GltfModel model;
    const int positions = model.addPositions(makeGrid(2, 2).positions);
    model.addMesh(positions, model.addIndices(indices), mode);
    return model;
}

TEST_F(UnstripCommand, TurnsStripsBackIntoTriangles) {
    const Json report = unstrip(modelOf({0, 1, 3, 4}, 5));
    EXPECT_EQ(outputIndices(), (std::vector<std::size_t>{0, 1, 3, 1, 4, 3}));
    EXPECT_EQ(report["meshes"][0]["triangles"], 2);
    EXPECT_EQ(report["meshes"][0]["indicesBefore"], 4);
    EXPECT_EQ(report["meshes"][0]["indicesAfter"], 6);
}

TEST_F(UnstripCommand, TurnsFansBackIntoTriangles) {
    unstrip(modelOf({4, 0, 1, 2}, 6));
    EXPECT_EQ(outputIndices(), (std::vector<std::size_t>{4, 0, 1, 4, 1, 2}));
}

TEST_F(UnstripCommand, DropsTheTrianglesThatJoinStrips) {
    unstrip(modelOf({0, 1, 3, 3, 4, 4, 5, 7}, 5));
    EXPECT_EQ(outputIndices(), (std::vector<std::size_t>{0, 1, 3, 4, 7, 5}));
}

TEST_F(UnstripCommand, HonoursRestartIndicesOfFilesThatDeclareThem) {
    GltfModel model = modelOf({0, 1, 3, 65535, 4, 5, 7}, 5);
    model.json["extensionsUsed"] = {"KHR_mesh_primitive_restart"};
    model.json["extensionsRequired"] = {"KHR_mesh_primitive_restart"};
    unstrip(model);
    EXPECT_EQ(outputIndices(), (std::vector<std::size_t>{0, 1, 3, 4, 5, 7}));
    EXPECT_THAT(glbJson(out), testing::Not(HasSubstr("KHR_mesh_primitive_restart")));
}

TEST_F(UnstripCommand, LeavesListsUnchanged) {
    gridModel(2, 2).writeGlb(in);
    unstrip(in, out);
    EXPECT_EQ(Json::parse(glbJson(out))["accessors"], Json::parse(glbJson(in))["accessors"]);
    expectSameTriangles(in, out);
}

TEST_F(UnstripCommand, LeavesAStripWithoutTrianglesUnchanged) {
    unstrip(modelOf({0, 1, 1}, 5));
    EXPECT_EQ(Json::parse(glbJson(out))["meshes"], Json::parse(glbJson(in))["meshes"]);
}

TEST_F(UnstripCommand, KeepsEverythingElse) {
    GltfModel model = modelOf({0, 1, 3, 4}, 5);
    model.json["materials"] = Json::array({{{"name", "paint"}, {"extras", {{"n", 1}}}}});
    model.primitive(0)["material"] = 0;
    unstrip(model);
    const Json output = Json::parse(glbJson(out));
    EXPECT_EQ(output["materials"], model.json["materials"]);
    EXPECT_EQ(output["meshes"][0]["primitives"][0]["material"], 0);
    EXPECT_EQ(output["nodes"], model.json["nodes"]);
}

TEST_F(UnstripCommand, UndoesStripWhateverTheJoin) {
    gridModel(6, 5).writeGlb(in);
    const std::string strips = (directory / "strips.glb").string();
    for (const char* join : {"degenerate", "restart", "none"}) {
        ASSERT_EQ(runForked({"strip", in, "-o", strips, "--join", join, "--fans", "6"}).exitCode, 0);
        unstrip(strips, out);
        expectSameTriangles(in, out);
        for (const auto& primitive : loadModel(out).meshes[0].primitives) {
            EXPECT_EQ(primitive.mode, 4);
        }
    }
}

TEST_F(UnstripCommand, RemovesTheIndicesOfGroups) {
    GltfModel model = modelOf({0, 1, 3, 4}, 5);
    model.json["meshes"][0]["primitives"].push_back(model.primitive(0));
    model.primitive(0, 1)["indices"] = model.addIndices({4, 5, 7, 8});
    const int group = model.addIndices({0, 1, 3, 4, 65535, 4, 5, 7, 8});
    const int translations = model.addAccessor<float>({0, 0, 0, 9, 9, 9}, 5126, "VEC3");
    model.json["extensionsUsed"] = {"KHR_mesh_primitive_restart", "EXT_mesh_gpu_instancing"};
    model.json["meshes"][0]["extensions"]["KHR_mesh_primitive_restart"]["primitiveGroups"] = {
        {{"primitives", {0, 1}}, {"indices", group}}};
    model.json["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"]["TRANSLATION"] = translations;
    unstrip(model);
    const Json json = Json::parse(glbJson(out));
    EXPECT_EQ(json["accessors"].size(), 4u);
    const Json& attributes = json["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"];
    EXPECT_EQ(attributes["TRANSLATION"], translations - 1);
    EXPECT_EQ(json["accessors"][3]["count"], 2);
    EXPECT_EQ(outputIndices(), (std::vector<std::size_t>{0, 1, 3, 1, 4, 3}));
}

TEST_F(UnstripCommand, EmbedsTheDataInTextFiles) {
    modelOf({0, 1, 3, 4}, 5).writeGlb(in);
    const std::string text = (directory / "out.gltf").string();
    unstrip(in, text);
    EXPECT_THAT(readText(text), HasSubstr("data:application/octet-stream;base64,"));
    unstrip(text, out);
    expectSameTriangles(in, out);
}

TEST_F(UnstripCommand, RefusesOtherExtensions) {
    modelOf({0, 1, 3, 4}, 5).writeGlb(in);
    const ProcessResult result = runForked({"unstrip", in, "-o", (directory / "out.obj").string()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("does not end in .glb or .gltf"));
}

} // namespace
