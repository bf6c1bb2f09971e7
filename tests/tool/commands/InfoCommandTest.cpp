#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

class InfoCommand : public testing::Test {
public:
    Json info(const GltfModel& model) {
        model.writeGlb(file);
        const ProcessResult result = runForked({"info", "--json", file});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return Json::parse(result.out)["files"][0];
    }

    TemporaryDirectory directory;
    std::string file = (directory / "model.glb").string();
};

TEST_F(InfoCommand, DescribesPrimitivesAttributesAndBounds) {
    GltfModel model = gridModel(2, 1);
    model.json["meshes"][0]["name"] = "plate";
    const Json mesh = info(model)["meshes"][0];
    EXPECT_EQ(mesh["name"], "plate");
    EXPECT_EQ(mesh["boundingBox"]["min"], Json::parse("[0.0, 0.0, 0.0]"));
    EXPECT_EQ(mesh["boundingBox"]["max"], Json::parse("[2.0, 1.0, 0.0]"));
    const Json primitive = mesh["primitives"][0];
    EXPECT_EQ(primitive["type"], "TRIANGLES");
    EXPECT_EQ(primitive["count"], 4);
    EXPECT_EQ(primitive["vertices"], 6);
    EXPECT_EQ(primitive["indices"], 12);
    EXPECT_EQ(primitive["indexType"], "unsigned short");
    EXPECT_EQ(primitive["attributes"][0]["name"], "POSITION");
    EXPECT_EQ(primitive["attributes"][0]["type"], "VEC3");
    EXPECT_EQ(primitive["attributes"][0]["componentType"], "float");
    EXPECT_EQ(primitive["attributes"][0]["count"], 6);
}

TEST_F(InfoCommand, CountsBorderEdgesOfAnOpenMesh) {
    const Json mesh = info(gridModel(2, 1))["meshes"][0];
    EXPECT_EQ(mesh["closed"], false);
    EXPECT_EQ(mesh["borderEdges"], 6);
    EXPECT_EQ(mesh["nonManifoldEdges"], 0);
}

TEST_F(InfoCommand, ReportsAClosedMesh) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1});
    model.addMesh(positions, model.addIndices({0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}));
    const Json mesh = info(model)["meshes"][0];
    EXPECT_EQ(mesh["closed"], true);
    EXPECT_EQ(mesh["edges"], 6);
    EXPECT_EQ(mesh["borderEdges"], 0);
}

TEST_F(InfoCommand, CountsEdgesOfMoreThanTwoTriangles) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, -1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 0, 1, 3, 1, 0, 4}));
    const Json mesh = info(model)["meshes"][0];
    EXPECT_EQ(mesh["nonManifoldEdges"], 1);
    EXPECT_EQ(mesh["borderEdges"], 6);
}

TEST_F(InfoCommand, CountsTheElementsOfEveryPrimitiveType) {
    GltfModel model;
    const int positions = model.addPositions(std::vector<float>(18, 1));
    for (int mode = 0; mode <= 6; ++mode) {
        model.addMesh(positions, -1, mode);
    }
    const Json meshes = info(model)["meshes"];
    const std::vector<int> counts{6, 3, 6, 5, 2, 4, 4};
    for (std::size_t mode = 0; mode <= 6; ++mode) {
        EXPECT_EQ(meshes[mode]["primitives"][0]["count"], counts[mode]) << mode;
        EXPECT_EQ(meshes[mode]["primitives"][0]["indexType"], "none");
        EXPECT_EQ(meshes[mode].contains("closed"), mode >= 4);
    }
}

TEST_F(InfoCommand, BoundsIgnoreValuesThatAreNotFinite) {
    GltfModel model;
    const float infinite = std::numeric_limits<float>::infinity();
    model.addMesh(model.addPositions({0, 0, 0, 1, 2, 3, infinite, 0, 0}), -1);
    model.json["accessors"][0].erase("min");
    model.json["accessors"][0].erase("max");
    const Json box = info(model)["meshes"][0]["boundingBox"];
    EXPECT_EQ(box["max"], Json::parse("[1.0, 2.0, 3.0]"));
    EXPECT_EQ(box["notFinite"], 1);
}

TEST_F(InfoCommand, PrintsATable) {
    gridModel(2, 1).writeGlb(file);
    const std::string text = runForked({"info", file}).out;
    for (const char* part :
         {"TRIANGLES", "open", "unsigned short", "(0, 0, 0) to (2, 1, 0)", "POSITION VEC3 float x 6"}) {
        EXPECT_THAT(text, HasSubstr(part));
    }
}

TEST_F(InfoCommand, DescribesTheOtherFilesWhenOneIsBroken) {
    gridModel(2, 1).writeGlb(file);
    const ProcessResult result = runForked({"info", "--json", "missing.glb", file});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(countOf(result.err, "\n"), 1u);
    const Json files = Json::parse(result.out)["files"];
    EXPECT_THAT(files[0]["error"].get<std::string>(), HasSubstr("missing.glb"));
    EXPECT_EQ(files[1]["meshes"].size(), 1u);
}

// With work for each vertex in each primitive this would take minutes.
TEST_F(InfoCommand, PrimitivesMayShareTheirVertices) {
    GltfModel model = gridModel(254, 254);
    Json& primitives = model.json["meshes"][0]["primitives"];
    const Json first = primitives[0];
    model.json["accessors"][1]["count"] = 3;
    for (int i = 0; i < 20000; ++i) {
        primitives.push_back(first);
    }
    const Json mesh = info(model)["meshes"][0];
    EXPECT_EQ(mesh["primitives"].size(), 20001u);
    EXPECT_EQ(mesh["boundingBox"], mesh["primitives"][20000]["boundingBox"]);
    EXPECT_EQ(mesh["boundingBox"]["max"], Json::parse("[254.0, 254.0, 0.0]"));
}

} // namespace
