#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <array>
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace tool_test;
using testing::HasSubstr;

class MergeCommand : public testing::Test {
public:
    void SetUp() override {
        // One triangle in the plane z = 0, seen from +z.
        GltfModel model;
        const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
        model.addMesh(positions, model.addIndices({0, 1, 2}));
        model.primitive(0)["attributes"]["NORMAL"] = model.addPositions({0, 0, 1, 0, 0, 1, 0, 0, 1});
        triangle = model;
        file = write("triangle.glb", model);
    }

    std::string write(const std::string& name, const GltfModel& model) {
        const std::string path = (directory / name).string();
        model.writeGlb(path);
        return path;
    }

    tinygltf::Model merge(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "merge");
        arguments.insert(arguments.end(), {"-o", out});
        const ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        warnings = result.err;
        return loadModel(out);
    }

    static std::vector<OrientedTriangle> triangles(const tinygltf::Model& model) {
        return trianglesOf(model, model.meshes.at(0));
    }

    /// The first normal of the last primitive.
    static Position normalOf(const tinygltf::Model& model, std::size_t index) {
        const auto& primitive = model.meshes.at(0).primitives.back();
        const auto& accessor = model.accessors.at(static_cast<std::size_t>(primitive.attributes.at("NORMAL")));
        const auto& view = model.bufferViews.at(static_cast<std::size_t>(accessor.bufferView));
        const auto* data = reinterpret_cast<const float*>(model.buffers.at(0).data.data() + view.byteOffset +
                                                          accessor.byteOffset + 12 * index);
        return {data[0], data[1], data[2]};
    }

    static void expectNear(const Position& a, const Position& b) {
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(a[i], b[i], 1e-6);
        }
    }

    TemporaryDirectory directory;
    std::string out = (directory / "out.glb").string();
    std::string file;
    std::string warnings;
    GltfModel triangle;
};

TEST_F(MergeCommand, RefusesPositionsThatAreNotFinite) {
    const auto expectRefused = [&](const std::vector<std::string>& arguments, const std::string& reason) {
        const ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.err, testing::HasSubstr(reason));
        EXPECT_FALSE(std::filesystem::exists(out));
    };
    GltfModel model = gridModel(2, 2);
    expectRefused({"merge", write("grid.glb", model), "--scale", "3e38", "-o", out},
                  "mesh 0: the position of vertex 2 is not finite once it is placed");
    const float infinity = std::numeric_limits<float>::infinity();
    std::memcpy(model.binary.data() + 3 * sizeof(float), &infinity, sizeof infinity);
    expectRefused({"merge", write("infinite.glb", model), "-o", out}, "mesh 0: the position of vertex 1 is not finite");
}

TEST_F(MergeCommand, MeshesOfOneLayoutBecomeOne) {
    const tinygltf::Model model = merge({file, file});
    ASSERT_EQ(model.meshes.size(), 1u);
    ASSERT_EQ(model.meshes[0].primitives.size(), 1u);
    EXPECT_EQ(indicesOf(model, model.meshes[0].primitives[0]), (std::vector<std::size_t>{0, 1, 2, 3, 4, 5}));
}

TEST_F(MergeCommand, PlacementAppliesToThePrecedingInput) {
    const std::vector<OrientedTriangle> expected{{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}},
                                                 {{{2, 4, 6}, {4, 4, 6}, {2, 6, 6}}}};
    EXPECT_EQ(triangles(merge({file, file, "--translate", "1,2,3", "--scale", "2"})), expected);
    EXPECT_EQ(triangles(merge({file, "--translate", "1,2,3", "--scale", "2", file})), expected);
}

TEST_F(MergeCommand, AcceptsNegativeNumbers) {
    const auto result = triangles(merge({file, "--translate", "-1,-2.5,-.5"}));
    EXPECT_EQ(result.at(0)[0], (Position{-1, -2.5, -0.5}));
}

TEST_F(MergeCommand, RotationsTurnNormals) {
    expectNear(normalOf(merge({file, "--rotate", "x,90"}), 0), {0, -1, 0});
    expectNear(normalOf(merge({file, "--rotate", "0,2,0,90"}), 0), {1, 0, 0});
}

TEST_F(MergeCommand, MirroringReversesTheWinding) {
    const std::vector<OrientedTriangle> expected{{{{-1, 0, 0}, {0, 0, 0}, {0, 1, 0}}}};
    const tinygltf::Model model = merge({file, "--scale", "-1,1,1"});
    EXPECT_EQ(triangles(model), expected);
    expectNear(normalOf(model, 0), {0, 0, 1});
}

TEST_F(MergeCommand, NormalsHaveUnitLength) {
    GltfModel slanted = triangle;
    slanted.binary.replace(slanted.binary.size() - 36, 36, [] {
        const std::vector<float> normals{0.6F, 0, 0.8F, 0.6F, 0, 0.8F, 0, 0, 0};
        return std::string(reinterpret_cast<const char*>(normals.data()), 36);
    }());
    const tinygltf::Model model = merge({write("slanted.glb", slanted), "--scale", "1,1,2"});
    const Position normal = normalOf(model, 0);
    EXPECT_NEAR(std::hypot(normal[0], normal[1], normal[2]), 1, 1e-6);
    EXPECT_NEAR(normal[0] / normal[2], 0.6 / 0.4, 1e-5);
    expectNear(normalOf(model, 2), {0, 0, 1});
}

TEST_F(MergeCommand, DifferentLayoutsStaySeparate) {
    const tinygltf::Model model = merge({file, write("plain.glb", gridModel(1, 1)), file});
    ASSERT_EQ(model.meshes[0].primitives.size(), 2u);
    EXPECT_EQ(model.meshes[0].primitives[0].attributes.size(), 2u);
    EXPECT_EQ(model.meshes[0].primitives[1].attributes.size(), 1u);
    EXPECT_EQ(triangles(model).size(), 4u);
}

TEST_F(MergeCommand, NodesPlaceTheirMeshes) {
    triangle.json["nodes"][0]["translation"] = {10, 0, 0};
    triangle.json["nodes"].push_back({{"children", {0}}, {"scale", {1, 1, -1}}, {"rotation", {0, 0, 1, 0}}});
    triangle.json["nodes"].push_back({{"mesh", 0}, {"matrix", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 5, 1}}});
    triangle.json["scenes"][0]["nodes"] = {1, 2};
    const auto result = triangles(merge({write("nodes.glb", triangle)}));
    ASSERT_EQ(result.size(), 2u);
    expectNear(result[0][0], {-11, 0, 0});
    expectNear(result[1][0], {0, 0, 5});
}

TEST_F(MergeCommand, StripsFansAndLinesBecomeLists) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});
    model.addMesh(positions, -1, 5);
    model.addMesh(positions, -1, 6);
    model.addMesh(positions, -1, 2);
    const tinygltf::Model merged = merge({write("strips.glb", model)});
    ASSERT_EQ(merged.meshes[0].primitives.size(), 2u);
    EXPECT_EQ(merged.meshes[0].primitives[0].mode, TINYGLTF_MODE_TRIANGLES);
    EXPECT_EQ(triangles(merged).size(), 4u);
    EXPECT_EQ(indicesOf(merged, merged.meshes[0].primitives[1]), (std::vector<std::size_t>{0, 1, 1, 2, 2, 3, 3, 0}));
}

TEST_F(MergeCommand, CopiesMaterialsWithTheirTextures) {
    GltfModel& model = triangle;
    const int view = model.addView("\x89PNG picture");
    model.json["images"] = Json::array({{{"bufferView", view}, {"mimeType", "image/png"}}});
    model.json["samplers"] = Json::array({{{"wrapS", 33071}}});
    model.json["textures"] = Json::array({{{"source", 0}, {"sampler", 0}}});
    model.json["materials"] = Json::parse(R"([{},{"pbrMetallicRoughness":{"baseColorTexture":{"index":0}}}])");
    model.primitive(0)["material"] = 1;
    const std::string textured = write("textured.glb", model);
    const tinygltf::Model merged = merge({file, textured, textured});
    ASSERT_EQ(merged.meshes[0].primitives.size(), 2u);
    EXPECT_EQ(merged.materials.size(), 1u);
    EXPECT_EQ(merged.images.size(), 1u);
    EXPECT_EQ(merged.meshes[0].primitives[1].material, 0);
    EXPECT_EQ(merged.materials[0].pbrMetallicRoughness.baseColorTexture.index, 0);
    EXPECT_EQ(merged.textures[0].sampler, 0);
    EXPECT_EQ(merged.samplers[0].wrapS, 33071);
}

TEST_F(MergeCommand, NamesEachLossWithItsFile) {
    triangle.primitive(0)["targets"] = Json::array({{{"POSITION", 0}}});
    const std::string morph = write("morph.glb", triangle);
    triangle.json["nodes"][0]["extras"] = 5;
    const std::string extras = write("extras.glb", triangle);
    const ProcessResult result = runForked({"merge", morph, extras, morph, "-o", out, "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(Json::parse(result.out)["leftOut"],
              Json({morph + ": morph targets", extras + ": morph targets", extras + ": extras of nodes"}));
    EXPECT_EQ(countOf(result.err, "\n"), 3u);
    EXPECT_THAT(result.err, HasSubstr("warning: " + extras + ": left out: extras of nodes\n"));
}

TEST_F(MergeCommand, StrictlyRefusesLosses) {
    EXPECT_EQ(runForked({"merge", file, "-o", out, "--strict"}).exitCode, 0);
    std::filesystem::remove(out);
    triangle.primitive(0)["targets"] = Json::array({{{"POSITION", 0}}});
    const ProcessResult result = runForked({"merge", file, write("morph.glb", triangle), "-o", out, "--strict"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("morph.glb: refused, as --strict demands: left out: morph targets"));
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(MergeCommand, InstancesArePlacedOneByOne) {
    triangle.json["extensionsUsed"] = triangle.json["extensionsRequired"] = {"EXT_mesh_gpu_instancing"};
    triangle.json["nodes"][0]["translation"] = {10, 0, 0};
    triangle.json["nodes"][0]["extensions"]["EXT_mesh_gpu_instancing"]["attributes"] = {
        {"TRANSLATION", triangle.addAccessor(std::vector<float>{0, 0, 0, 0, 5, 0}, 5126, "VEC3")},
        {"SCALE", triangle.addAccessor(std::vector<float>{1, 1, 1, -2, 2, 2}, 5126, "VEC3")}};
    const auto result = triangles(merge({write("instances.glb", triangle)}));
    const std::vector<OrientedTriangle> expected{{{{8, 5, 0}, {10, 5, 0}, {10, 7, 0}}},
                                                 {{{10, 0, 0}, {11, 0, 0}, {10, 1, 0}}}};
    EXPECT_EQ(result, expected);
}

TEST_F(MergeCommand, SeparateStripsBecomeOnePrimitiveWithTheVerticesOfTheModel) {
    const std::string model = write("grid.glb", gridModel(60, 60));
    const std::string strips = (directory / "strips.glb").string();
    ASSERT_EQ(runForked({"strip", model, "-o", strips, "--join", "none"}).exitCode, 0);
    ASSERT_GT(loadModel(strips).meshes[0].primitives.size(), 20u);
    const tinygltf::Model merged = merge({strips});
    ASSERT_EQ(merged.meshes[0].primitives.size(), 1u);
    EXPECT_EQ(triangles(merged), triangles(loadModel(model)));
    const auto positions = static_cast<std::size_t>(merged.meshes[0].primitives[0].attributes.at("POSITION"));
    EXPECT_EQ(merged.accessors[positions].count, 61u * 61u);
}

TEST_F(MergeCommand, TwoByteAttributesGetAStrideOfFour) {
    GltfModel model = gridModel(1, 1);
    const int view = model.addView(std::string("\1\0\2\0\3\0\4\0", 8));
    model.json["accessors"].push_back(
        {{"bufferView", view}, {"componentType", 5123}, {"count", 4}, {"type", "SCALAR"}});
    model.json["bufferViews"][static_cast<std::size_t>(view)].erase("target");
    model.primitive(0)["attributes"]["_ID"] = 2;
    const tinygltf::Model merged = merge({write("ids.glb", model)});
    const auto& accessor =
        merged.accessors[static_cast<std::size_t>(merged.meshes[0].primitives[0].attributes.at("_ID"))];
    EXPECT_EQ(merged.bufferViews[static_cast<std::size_t>(accessor.bufferView)].byteStride, 4u);
}

TEST_F(MergeCommand, RefusesMalformedPlacements) {
    const auto expectWrong = [&](std::vector<std::string> arguments, const std::string& what) {
        arguments.insert(arguments.begin(), "merge");
        arguments.insert(arguments.end(), {"-o", out});
        const ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.err, HasSubstr(what));
        EXPECT_EQ(countOf(result.err, "\n"), 1u);
    };
    expectWrong({"--scale", "2", file}, "--scale stands before the first input");
    expectWrong({file, "--translate", "1,2"}, "--translate 1,2: three numbers are needed");
    expectWrong({file, "--scale", "0"}, "a factor is 0");
    expectWrong({file, "--rotate", "w,90"}, "an axis and degrees are needed");
    expectWrong({file, "--rotate", "y,quarter"}, "a number is missing");
    expectWrong({file, "--translate", "1,nan,2"}, "a number is missing");
}

TEST_F(MergeCommand, NamesTheInputsThatHaveNothingToMerge) {
    GltfModel empty;
    empty.json["nodes"] = {{{"name", "lonely"}}};
    empty.json["scenes"][0]["nodes"] = {0};
    empty.writeGlb(directory / "empty.glb");
    const std::string in = (directory / "empty.glb").string();
    const ProcessResult one = runForked({"merge", in, "-o", (directory / "merged.glb").string()});
    EXPECT_EQ(one.exitCode, 3);
    EXPECT_EQ(one.err, "vexamesh: " + in + ": has nothing to merge\n");
    const ProcessResult two = runForked({"merge", in, in, "-o", (directory / "merged.glb").string()});
    EXPECT_EQ(two.err, "vexamesh: " + in + ", " + in + ": have nothing to merge\n");
}

} // namespace
