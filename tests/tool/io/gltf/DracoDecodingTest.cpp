// Primitives compressed with Draco: decoded on reading, written without compression.

#include "io/gltf/DracoDecoding.h"
#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using testing::Not;

constexpr const char* extension = "KHR_draco_mesh_compression";

/// The triangles of a grid, with positions that keep every bit.
std::string encode(const Grid& grid) {
    draco::TriangleSoupMeshBuilder builder;
    builder.Start(static_cast<int>(grid.indices.size() / 3));
    const int positions = builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32);
    for (std::size_t i = 0; i < grid.indices.size(); i += 3) {
        const auto corner = [&](std::size_t c) { return grid.positions.data() + std::size_t{grid.indices[i + c]} * 3; };
        builder.SetAttributeValuesForFace(positions, draco::FaceIndex(static_cast<std::uint32_t>(i / 3)), corner(0),
                                          corner(1), corner(2));
    }
    const std::unique_ptr<draco::Mesh> mesh = builder.Finalize();
    draco::Encoder encoder;
    draco::EncoderBuffer buffer;
    EXPECT_TRUE(encoder.EncodeMeshToBuffer(*mesh, &buffer).ok());
    return {buffer.data(), buffer.size()};
}

class DracoDecoding : public testing::Test {
public:
    DracoDecoding() {
        const auto vertices = static_cast<int>(makeGrid(6, 6).positions.size() / 3);
        model.addView(encode(makeGrid(6, 6)));
        model.json["accessors"] = Json::parse(R"([{"componentType":5126,"type":"VEC3","min":[0,0,0],"max":[1,1,1]},
                                                  {"componentType":5123,"count":216,"type":"SCALAR"}])");
        model.json["accessors"][0]["count"] = vertices;
        model.addMesh(0, 1);
        compression() = {{"bufferView", 0}, {"attributes", {{"POSITION", 0}}}};
        model.json["extensionsUsed"] = {extension};
        model.json["extensionsRequired"] = {extension};
    }

    Json& compression() { return model.primitive(0)["extensions"][extension]; }

    ProcessResult strip(int expectedCode = 0) {
        model.writeGlb(in);
        ProcessResult result = runForked({"strip", in, "-o", out});
        EXPECT_EQ(result.exitCode, expectedCode) << result.err;
        return result;
    }

    void expectPlainGrid() {
        gridModel(6, 6).writeGlb(directory / "plain.glb");
        EXPECT_EQ(trianglesOf(loadModel(out), loadModel(out).meshes.at(0)),
                  trianglesOf(loadModel(directory / "plain.glb"), loadModel(directory / "plain.glb").meshes.at(0)));
        EXPECT_THAT(glbJson(out), Not(HasSubstr("draco")));
    }

    TemporaryDirectory directory;
    GltfModel model;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "out.glb").string();
};

TEST_F(DracoDecoding, ReadsTrianglesAndPositions) {
    EXPECT_EQ(strip().err, "vexamesh: warning: " + in +
                               ": is compressed with KHR_draco_mesh_compression; files made of it are not\n");
    expectPlainGrid();
}

TEST_F(DracoDecoding, BoundsAreThoseOfTheDecodedPositions) {
    strip();
    const Json position = Json::parse(glbJson(out))["accessors"][0];
    EXPECT_EQ(position["min"], Json({0, 0, 0}));
    EXPECT_EQ(position["max"], Json({6, 6, 0}));
}

TEST_F(DracoDecoding, NothingOfTheCompressedDataIsLeft) {
    model.addMesh(0, 1);
    model.primitive(1) = model.primitive(0);
    strip();
    const Json output = Json::parse(glbJson(out));
    EXPECT_EQ(output["bufferViews"].size(), 2u);
    EXPECT_EQ(output["accessors"].size(), 2u);
    EXPECT_EQ(output["meshes"][0]["primitives"], output["meshes"][1]["primitives"]);
}

TEST_F(DracoDecoding, ReplacesUncompressedDataOfTheSameFile) {
    const std::string encoded = model.binary;
    model = gridModel(6, 6);
    compression() = {{"bufferView", model.addView(encoded)}, {"attributes", {{"POSITION", 0}}}};
    model.json["extensionsUsed"] = {extension};
    strip();
    expectPlainGrid();
    EXPECT_EQ(Json::parse(glbJson(out))["bufferViews"].size(), 2u);
}

TEST_F(DracoDecoding, WidensIndicesThatDoNotFit) {
    model.json["accessors"][1]["componentType"] = 5121;
    strip();
    expectPlainGrid();
}

TEST_F(DracoDecoding, RefusesWhatItCannotDecode) {
    const auto expectRefused = [&](const std::function<void(Json&)>& change, const std::string& reason) {
        const GltfModel before = model;
        change(compression());
        EXPECT_THAT(strip(3).err, HasSubstr("meshes[0].primitives[0].extensions.KHR_draco_mesh_compression" + reason));
        model = before;
    };
    expectRefused([](Json& json) { json["bufferView"] = 3; }, ".bufferView is 3");
    expectRefused([](Json& json) { json["attributes"]["NORMAL"] = 1; }, " names an attribute NORMAL");
    expectRefused([](Json& json) { json["attributes"]["POSITION"] = 9; }, " names the attribute 9");
    expectRefused([](Json& json) { json = 1; }, " is not an object");
    expectRefused([&](Json&) { model.binary[0] = 'X'; }, " is damaged");
    expectRefused([&](Json&) { model.primitive(0)["mode"] = 1; }, " compresses a primitive that does not consist");
}

} // namespace
