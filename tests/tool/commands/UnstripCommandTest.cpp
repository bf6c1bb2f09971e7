#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vexa/mesh/Strips.h>

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

std::string bytesOf(const tinygltf::Model& model, int index) {
    const auto& accessor = model.accessors.at(static_cast<std::size_t>(index));
    const auto& view = model.bufferViews.at(static_cast<std::size_t>(accessor.bufferView));
    const auto& data = model.buffers.at(static_cast<std::size_t>(view.buffer)).data;
    const auto stride = static_cast<std::size_t>(accessor.ByteStride(view));
    const auto begin = data.begin() + static_cast<std::ptrdiff_t>(view.byteOffset + accessor.byteOffset);
    return {begin, begin + static_cast<std::ptrdiff_t>(accessor.count * stride)};
}

std::vector<unsigned int> listOf(const tinygltf::Model& model, const tinygltf::Primitive& primitive) {
    EXPECT_EQ(primitive.mode, 4);
    const std::vector<std::size_t> indices = indicesOf(model, primitive);
    return {indices.begin(), indices.end()};
}

/// Fails the test unless both have the same lists with the same materials and attributes, byte for byte.
void expectSamePrimitives(const tinygltf::Model& before, const tinygltf::Model& after) {
    ASSERT_EQ(after.accessors.size(), before.accessors.size());
    for (std::size_t m = 0; m < before.meshes.size(); ++m) {
        ASSERT_EQ(after.meshes[m].primitives.size(), before.meshes[m].primitives.size());
        for (std::size_t p = 0; p < before.meshes[m].primitives.size(); ++p) {
            const tinygltf::Primitive& a = before.meshes[m].primitives[p];
            const tinygltf::Primitive& b = after.meshes[m].primitives[p];
            EXPECT_EQ(b.material, a.material);
            ASSERT_EQ(b.attributes.size(), a.attributes.size());
            for (const auto& [name, accessor] : a.attributes) {
                EXPECT_EQ(bytesOf(after, b.attributes.at(name)), bytesOf(before, accessor));
            }
            EXPECT_TRUE(vexa::mesh::sameTriangles(listOf(before, a), listOf(after, b)));
        }
    }
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
        const auto written = loadModel(out);
        for (const auto& primitive : written.meshes[0].primitives) {
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
    EXPECT_EQ(json["accessors"].size(), 3u);
    const Json& attributes = json["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"];
    EXPECT_EQ(attributes["TRANSLATION"], translations - 2);
    EXPECT_EQ(json["accessors"][2]["count"], 2);
    EXPECT_EQ(outputIndices(), (std::vector<std::size_t>{0, 1, 3, 1, 4, 3, 4, 5, 7, 5, 8, 7}));
}

/// Two meshes; the first has two primitives that differ in their materials, and triangles that share no edges.
GltfModel twoMaterials() {
    GltfModel model = gridModel(6, 5);
    model.json["materials"] = Json::array({{{"name", "paint"}}, {{"name", "glass"}}});
    const std::vector<float> normals(3UL * 42, 0.5F);
    model.primitive(0)["attributes"]["NORMAL"] = model.addAccessor(normals, 5126, "VEC3");
    model.primitive(0)["material"] = 0;
    Json second = model.primitive(0);
    second["material"] = 1;
    second["indices"] = model.addIndices({0, 1, 7, 7, 1, 8, 10, 20, 30, 11, 25, 39});
    model.json["meshes"][0]["primitives"].push_back(second);
    model.addMesh(model.addPositions(makeGrid(3, 3).positions), model.addIndices(makeGrid(3, 3).indices));
    return model;
}

TEST_F(UnstripCommand, GivesThePrimitivesOfTheInputBackWhateverTheJoin) {
    twoMaterials().writeGlb(in);
    const std::string strips = (directory / "strips.glb").string();
    for (const std::string join : {"degenerate", "restart", "restart-fallback", "none"}) {
        for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--fans", "6"}, {"--all-strips"}}) {
            std::vector<std::string> arguments{"strip", in, "-o", strips, "--join", join};
            arguments.insert(arguments.end(), more.begin(), more.end());
            ASSERT_EQ(runForked(arguments).exitCode, 0);
            unstrip(strips, out);
            expectSameTriangles(in, out);
            expectSamePrimitives(loadModel(in), loadModel(out));
        }
    }
}

TEST_F(UnstripCommand, KeepsNeighboursOfDifferentMaterialsApart) {
    GltfModel model = modelOf({0, 1, 3, 4}, 5);
    model.json["materials"] = Json::array({{{"name", "paint"}}});
    Json other = model.primitive(0);
    other["material"] = 0;
    model.json["meshes"][0]["primitives"].push_back(other);
    const Json report = unstrip(model);
    EXPECT_EQ(report["meshes"][0]["stripsAndFans"], 2);
    EXPECT_EQ(report["meshes"][0]["lists"], 2);
}

TEST_F(UnstripCommand, LeavesNoIndicesOfPrimitivesThatAreOne) {
    GltfModel model = modelOf({0, 1, 3, 4}, 5);
    for (int i = 0; i < 40; ++i) {
        Json other = model.primitive(0);
        other["indices"] = model.addIndices({4, 5, 7, 8});
        model.json["meshes"][0]["primitives"].push_back(other);
    }
    unstrip(model);
    const Json json = Json::parse(glbJson(out));
    EXPECT_EQ(json["meshes"][0]["primitives"].size(), 1u);
    EXPECT_EQ(json["accessors"].size(), 2u);
    EXPECT_LE(json["buffers"][0]["byteLength"], 9 * 12 + 41 * 6 + 8);
}

TEST_F(UnstripCommand, ReadsTheTextFilesThatItWrites) {
    modelOf({0, 1, 3, 4}, 5).writeGlb(in);
    const std::string text = (directory / "out 1%.gltf").string();
    unstrip(in, text);
    EXPECT_EQ(Json::parse(readText(text))["buffers"][0]["uri"], "out%201%25.bin");
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
