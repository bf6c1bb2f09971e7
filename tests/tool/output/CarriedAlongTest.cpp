// `strip` changes the indices and nothing else.

#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;

class CarriedAlong : public testing::Test {
public:
    Json strip(const GltfModel& model, const std::vector<std::string>& options = {}) {
        model.writeGlb(in);
        return stripFile(in, options);
    }

    Json stripFile(const std::string& file, const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments{"strip", file, "-o", out};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return Json::parse(glbJson(out));
    }

    /// The bytes of a buffer view of the output.
    std::string viewBytes(const Json& view) const {
        const std::string file = readText(out);
        std::uint32_t jsonLength = 0;
        std::memcpy(&jsonLength, file.data() + 12, sizeof jsonLength);
        const std::size_t at = 20 + jsonLength + 8 + view.value("byteOffset", std::size_t{0});
        return file.substr(at, view["byteLength"].get<std::size_t>());
    }

    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "out.glb").string();
};

TEST_F(CarriedAlong, UnknownMembersStay) {
    GltfModel model = gridModel(3, 3);
    model.json["asset"]["copyright"] = "somebody";
    model.json["extras"] = {{"z", 1.5}, {"a", {1, "\u00e4", nullptr}}, {"big", 12345678901234567890U}};
    model.json["materials"] = Json::parse(R"([{"name":"red","unknown":[1e-7,0.1],"extras":{"accessor":1}}])");
    model.primitive(0)["material"] = 0;
    model.primitive(0)["extras"] = {{"note", "kept"}};
    model.json["nodes"][0]["extras"] = Json::array({1, 2, 3});
    const Json output = strip(model);
    EXPECT_EQ(output["asset"]["copyright"], "somebody");
    for (const char* key : {"extras", "materials", "nodes", "scenes", "scene"}) {
        EXPECT_EQ(output[key].dump(), model.json[key].dump()) << key;
    }
    EXPECT_EQ(output["meshes"][0]["primitives"][0]["extras"]["note"], "kept");
    EXPECT_EQ(output["meshes"][0]["primitives"][0]["material"], 0);
}

TEST_F(CarriedAlong, MorphTargetsAndWeightsStay) {
    GltfModel model = gridModel(2, 2);
    const int offsets = model.addPositions(std::vector<float>(27, 0.5F));
    model.primitive(0)["targets"] = Json::array({{{"POSITION", offsets}}});
    model.json["meshes"][0]["weights"] = Json::array({0.25});
    const Json output = strip(model, {"--join", "none"});
    for (const Json& primitive : output["meshes"][0]["primitives"]) {
        EXPECT_EQ(primitive["targets"], model.primitive(0)["targets"]);
    }
    EXPECT_EQ(output["meshes"][0]["weights"], model.json["meshes"][0]["weights"]);
}

TEST_F(CarriedAlong, AnimationsAndSkinsFindTheirData) {
    GltfModel model = gridModel(2, 2);
    const int times = model.addAccessor<float>({0, 1}, 5126, "SCALAR");
    const auto moves = static_cast<std::size_t>(model.addAccessor<float>({0, 0, 0, 7, 8, 9}, 5126, "VEC3"));
    const int bind = model.addView(std::string(64, 'b'));
    model.json["accessors"].push_back({{"bufferView", bind}, {"componentType", 5126}, {"count", 1}, {"type", "MAT4"}});
    model.json["skins"] = Json::array({{{"joints", {0}}, {"inverseBindMatrices", moves + 1}}});
    model.json["animations"] = Json::array(
        {{{"samplers", Json::array({{{"input", times}, {"output", moves}}})},
          {"channels", Json::array({{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}}})}}});
    const Json output = strip(model);
    EXPECT_EQ(output["animations"], model.json["animations"]);
    EXPECT_EQ(output["skins"], model.json["skins"]);
    const Json& view = output["bufferViews"][output["accessors"][moves]["bufferView"].get<std::size_t>()];
    const float last = 9;
    EXPECT_EQ(viewBytes(view).substr(20), std::string(reinterpret_cast<const char*>(&last), 4));
    EXPECT_EQ(viewBytes(output["bufferViews"][output["accessors"][moves + 1]["bufferView"].get<std::size_t>()]),
              std::string(64, 'b'));
}

TEST_F(CarriedAlong, PrimitivesOfLinesAndPointsStay) {
    GltfModel model = gridModel(2, 2);
    model.addMesh(0, model.addIndices({0, 1, 1, 2}), 1);
    model.addMesh(0, -1, 0);
    const Json output = strip(model);
    EXPECT_EQ(output["meshes"][1], model.json["meshes"][1]);
    EXPECT_EQ(output["meshes"][2], model.json["meshes"][2]);
}

TEST_F(CarriedAlong, IndicesThatLinesShareWithTrianglesStay) {
    GltfModel model = gridModel(2, 2);
    model.addMesh(0, 1, 1);
    const Json output = strip(model, {"--all-strips"});
    EXPECT_EQ(output["meshes"][1], model.json["meshes"][1]);
    EXPECT_EQ(output["accessors"][1], model.json["accessors"][1]);
    EXPECT_EQ(output["meshes"][0]["primitives"][0]["indices"], 2);
    expectSameTriangles(in, out);
}

TEST_F(CarriedAlong, ImagesInBufferViewsStayByteForByte) {
    GltfModel model = gridModel(2, 2);
    const std::string picture = "\x89PNG\r\n\x1a\n no picture at all, but nobody is to decode it";
    const int view = model.addView(picture);
    model.json["images"] = Json::array({{{"bufferView", view}, {"mimeType", "image/png"}}});
    const Json output = strip(model);
    EXPECT_EQ(viewBytes(output["bufferViews"][output["images"][0]["bufferView"].get<std::size_t>()]), picture);
}

TEST_F(CarriedAlong, ImagesNextToAGltfFileAreEmbedded) {
    GltfModel model = gridModel(2, 2);
    model.json["images"] = Json::parse(
        R"([{"uri":"my%20picture+1.jpg","name":"a"},{"uri":"data:image/png;base64,iVBORw0KGgoB"},{"uri":"gone.png"}])");
    const std::string picture = "\xff\xd8\xff\xe0 some bytes";
    writeText(directory / "my picture+1.jpg", picture);
    const std::string gltf = (directory / "in.gltf").string();
    model.writeGltf(gltf, "a buffer+1.bin");
    Json written = Json::parse(readText(gltf));
    written["buffers"][0]["uri"] = "a%20buffer+1.bin";
    writeText(gltf, written.dump());
    const Json output = stripFile(gltf);
    const auto bytesOf = [&](const Json& image) {
        return viewBytes(output["bufferViews"][image["bufferView"].get<std::size_t>()]);
    };
    EXPECT_EQ(bytesOf(output["images"][0]), picture);
    EXPECT_EQ(output["images"][0]["mimeType"], "image/jpeg");
    EXPECT_EQ(output["images"][0]["name"], "a");
    EXPECT_EQ(bytesOf(output["images"][1]), "\x89PNG\r\n\x1a\n\x01");
    EXPECT_EQ(output["images"][2].dump(), R"({"uri":"gone.png"})");
    EXPECT_EQ(output["buffers"].size(), 1u);
    EXPECT_FALSE(output["buffers"][0].contains("uri"));
    model.json.erase("images");
    model.writeGlb(in);
    expectSameTriangles(in, out);
}

TEST_F(CarriedAlong, SeveralBuffersBecomeOne) {
    const Grid grid = makeGrid(3, 2);
    GltfModel model = gridModel(3, 2);
    // The indices go into a separate buffer, as a data URI and at an odd offset.
    const auto view = model.json["bufferViews"].size() - 1;
    model.json["bufferViews"][view]["buffer"] = 1;
    model.json["bufferViews"][view]["byteOffset"] = 2;
    model.json["bufferViews"][view]["byteLength"] = 6;
    model.json["accessors"][1]["count"] = 3;
    model.json["buffers"] = Json::parse(R"([{"byteLength":0},{"byteLength":9,"uri":"data:;base64,AAAAAAEABAAA"}])");
    model.json["buffers"][0]["byteLength"] = model.binary.size();
    const Json output = strip(model);
    ASSERT_EQ(output["buffers"].size(), 1u);
    const tinygltf::Model result = loadModel(out);
    const std::vector<OrientedTriangle> expected{{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}};
    EXPECT_EQ(trianglesOf(result, result.meshes[0]), expected);
}

TEST_F(CarriedAlong, SparsePositionsStay) {
    GltfModel model = gridModel(2, 2);
    const int where = model.addView(std::string("\x04\0", 2));
    const std::vector<float> value{1, 1, 9};
    const int what = model.addView(std::string(reinterpret_cast<const char*>(value.data()), 12));
    model.json["accessors"][0]["sparse"] = {{"count", 1},
                                            {"indices", {{"bufferView", where}, {"componentType", 5123}}},
                                            {"values", {{"bufferView", what}}}};
    model.json["accessors"][0]["max"][2] = 9;
    const Json output = strip(model);
    EXPECT_EQ(output["accessors"][0], model.json["accessors"][0]);
}

TEST_F(CarriedAlong, MeshesWithoutNodesStay) {
    GltfModel model = gridModel(2, 2);
    model.json.erase("nodes");
    model.json.erase("scenes");
    model.json.erase("scene");
    EXPECT_FALSE(strip(model).contains("nodes"));
    expectSameTriangles(in, out);
}

TEST_F(CarriedAlong, QuantisedPositionsStay) {
    GltfModel model;
    model.json["extensionsUsed"] = {"KHR_mesh_quantization"};
    model.json["extensionsRequired"] = {"KHR_mesh_quantization"};
    // Three bytes per element, with a stride of four.
    const int view = model.addView(std::string("\x00\x00\x00\x00\x7f\x00\x00\x00\x00\x7f\x00\x00\x7f\x7f\x00\x00", 16));
    model.json["bufferViews"][0]["byteStride"] = 4;
    model.json["accessors"].push_back({{"bufferView", view},
                                       {"componentType", 5120},
                                       {"normalized", true},
                                       {"count", 4},
                                       {"type", "VEC3"},
                                       {"min", {0, 0, 0}},
                                       {"max", {127, 127, 0}}});
    model.addMesh(0, model.addIndices({0, 1, 2, 2, 1, 3}));
    const Json output = strip(model);
    EXPECT_EQ(output["accessors"][0], model.json["accessors"][0]);
    EXPECT_EQ(output["bufferViews"][0]["byteStride"], 4);
    EXPECT_EQ(output["extensionsRequired"], model.json["extensionsRequired"]);
    expectSameTriangles(in, out);
}

} // namespace
