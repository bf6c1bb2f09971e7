// Restart indices: written for the readers that know them, and read in every verb.

#include "ReadBack.h"
#include "SmallModels.h"
#include "ToolProcess.h"
#include "io/Document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vexa/mesh/Strips.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

constexpr const char* extension = "KHR_mesh_primitive_restart";

class PrimitiveRestart : public testing::Test {
public:
    /// A model of one primitive with restart indices, which says so.
    std::string writeRestarted(const std::vector<std::uint16_t>& indices, int mode) {
        GltfModel model;
        const int positions = model.addPositions(makeGrid(3, 1).positions);
        model.addMesh(positions, model.addIndices(indices), mode);
        model.primitive(0)["extensions"][extension] = Json::object();
        model.json["extensionsUsed"] = {extension};
        model.json["extensionsRequired"] = {extension};
        model.writeGlb(in);
        return in;
    }

    ProcessResult run(const std::vector<std::string>& arguments, int expectedCode = 0) {
        ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, expectedCode) << result.err;
        return result;
    }

    /// Strips a model with left-over triangles and some strips.
    Json stripToGroup(const GltfModel& model) {
        model.writeGlb(in);
        report = run({"strip", in, "-o", out, "--join", "restart", "--json"});
        return Json::parse(glbJson(out));
    }

    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "out.glb").string();
    ProcessResult report;
};

/// The indices of an accessor as they are stored.
std::vector<std::size_t> stored(const std::string& file, const Json& accessor) {
    tinygltf::Model model = loadModel(file);
    tinygltf::Primitive primitive;
    primitive.indices = accessor.get<int>();
    return indicesOf(model, primitive);
}

TEST_F(PrimitiveRestart, AGroupHoldsItsStripsWithRestartIndicesBetweenThem) {
    const Json output = stripToGroup(gridModel(6, 6));
    const Json group = output["meshes"][0]["extensions"][extension]["primitiveGroups"][0];
    ASSERT_GE(group["primitives"].size(), 2u);
    std::vector<std::size_t> expected;
    for (const Json& index : group["primitives"]) {
        const Json& primitive = output["meshes"][0]["primitives"][index.get<std::size_t>()];
        EXPECT_EQ(primitive["mode"], 5);
        const auto strip = stored(out, primitive["indices"]);
        expected.insert(expected.end(), strip.begin(), strip.end());
        expected.push_back(255);
    }
    expected.pop_back();
    EXPECT_EQ(stored(out, group["indices"]), expected);
    EXPECT_EQ(output["accessors"][group["indices"].get<std::size_t>()]["componentType"], 5121);
}

TEST_F(PrimitiveRestart, NothingIsStoredTwice) {
    const Json output = stripToGroup(gridModel(6, 6));
    const Json group = output["meshes"][0]["extensions"][extension]["primitiveGroups"][0];
    const Json& view = output["bufferViews"][1];
    EXPECT_EQ(output["bufferViews"].size(), 2u);
    EXPECT_EQ(view["byteLength"], output["accessors"][group["indices"].get<std::size_t>()]["count"]);
    EXPECT_EQ(Json::parse(report.out)["total"]["indicesAfter"], view["byteLength"]);
}

TEST_F(PrimitiveRestart, OtherReadersStillDrawEveryTriangle) {
    const Json output = stripToGroup(gridModel(6, 6));
    EXPECT_EQ(output["extensionsUsed"], Json({extension}));
    EXPECT_FALSE(output.contains("extensionsRequired"));
    expectSameTriangles(in, out);
}

TEST_F(PrimitiveRestart, AWarningTellsThatFewReadersKnowIt) {
    stripToGroup(gridModel(6, 6));
    EXPECT_THAT(report.err, HasSubstr("few readers know KHR_mesh_primitive_restart"));
    EXPECT_EQ(countOf(report.err, "\n"), 1u);
}

TEST_F(PrimitiveRestart, OneStripNeedsNoGroup) {
    const Json output = stripToGroup(gridModel(3, 1));
    EXPECT_EQ(output["meshes"][0]["primitives"].size(), 1u);
    EXPECT_THAT(output.dump(), testing::Not(HasSubstr(extension)));
    EXPECT_EQ(report.err, "");
}

TEST_F(PrimitiveRestart, AGroupTakesTheTypeOfItsLargestIndex) {
    GltfModel model = gridModel(20, 20);
    const Json output = stripToGroup(model);
    const Json group = output["meshes"][0]["extensions"][extension]["primitiveGroups"][0];
    EXPECT_EQ(output["accessors"][group["indices"].get<std::size_t>()]["componentType"], 5123);
    for (const Json& primitive : output["meshes"][0]["primitives"]) {
        EXPECT_EQ(output["accessors"][primitive["indices"].get<std::size_t>()]["componentType"], 5123);
    }
    expectSameTriangles(in, out);
}

TEST_F(PrimitiveRestart, GroupsGoWithTheirPrimitives) {
    stripToGroup(gridModel(6, 6));
    const std::string again = (directory / "again.glb").string();
    run({"strip", out, "-o", again});
    EXPECT_THAT(glbJson(again), testing::Not(HasSubstr(extension)));
    expectSameTriangles(in, again);
    const Json output = Json::parse(glbJson(again));
    std::size_t indices = 0;
    for (const Json& primitive : output["meshes"][0]["primitives"]) {
        indices += output["accessors"][primitive["indices"].get<std::size_t>()]["count"].get<std::size_t>();
    }
    EXPECT_EQ(output["bufferViews"][1]["byteLength"], indices);
}

TEST_F(PrimitiveRestart, SharedIndicesStayShared) {
    GltfModel model = gridModel(6, 6);
    model.addMesh(0, 1);
    const Json output = stripToGroup(model);
    EXPECT_EQ(output["meshes"][0]["primitives"], output["meshes"][1]["primitives"]);
    EXPECT_EQ(output["meshes"][0]["extensions"], output["meshes"][1]["extensions"]);
    expectSameTriangles(in, out);
}

TEST_F(PrimitiveRestart, StripReadsThem) {
    writeRestarted({0, 1, 4, 65535, 2, 3, 6, 7}, 5);
    const Json total = Json::parse(run({"strip", in, "-o", out, "--json"}).out)["total"];
    EXPECT_EQ(total["triangles"], 3);
    EXPECT_EQ(total["degenerateTriangles"], 0);
    EXPECT_THAT(glbJson(out), testing::Not(HasSubstr(extension)));
}

TEST_F(PrimitiveRestart, InfoCountsWhatIsDrawn) {
    const auto count = [&](const std::vector<std::uint16_t>& indices, int mode) {
        const Json file = Json::parse(run({"info", "--json", writeRestarted(indices, mode)}).out)["files"][0];
        return file["meshes"][0]["primitives"][0]["count"].get<int>();
    };
    EXPECT_EQ(count({0, 1, 4, 65535, 2, 3, 6, 7}, 5), 3);
    EXPECT_EQ(count({0, 1, 4, 5, 65535, 2, 3, 6}, 6), 3);
    EXPECT_EQ(count({0, 1, 2, 65535, 4, 5}, 3), 3);
    EXPECT_EQ(count({0, 1, 2, 65535, 65535, 4, 5, 6}, 2), 6);
}

TEST_F(PrimitiveRestart, LinesOfMergedFilesBeginAnew) {
    writeRestarted({0, 1, 2, 65535, 4, 5}, 3);
    run({"merge", in, "-o", out});
    const tinygltf::Model model = loadModel(out);
    EXPECT_EQ(indicesOf(model, model.meshes[0].primitives[0]), (std::vector<std::size_t>{0, 1, 1, 2, 4, 5}));
    writeRestarted({0, 1, 2, 65535, 4, 5, 6}, 2);
    run({"merge", in, "-o", out});
    const tinygltf::Model loops = loadModel(out);
    EXPECT_EQ(indicesOf(loops, loops.meshes[0].primitives[0]),
              (std::vector<std::size_t>{0, 1, 1, 2, 2, 0, 4, 5, 5, 6, 6, 4}));
}

TEST_F(PrimitiveRestart, EveryOtherVerbReadsThem) {
    writeRestarted({0, 1, 4, 65535, 2, 3, 6, 7}, 5);
    EXPECT_THAT(run({"validate", in}).out, HasSubstr("valid"));
    EXPECT_THAT(run({"compare", in, in}).out, HasSubstr("the same"));
    EXPECT_THAT(run({"verify", in}).out, HasSubstr("mesh 0"));
    EXPECT_THAT(run({"dump", in}).out, HasSubstr("position"));
    run({"edges", in, "-o", out});
    const tinygltf::Model model = loadModel(out);
    EXPECT_EQ(indicesOf(model, model.meshes[0].primitives[0]).size(), 16u);
}

TEST_F(PrimitiveRestart, LinesThatAreOnlyCarriedAlongKeepTheirs) {
    GltfModel model = gridModel(3, 1);
    model.addMesh(0, model.addIndices({0, 1, 65535, 4, 5}), 3);
    model.json["extensionsUsed"] = {extension};
    model.writeGlb(in);
    run({"strip", in, "-o", out});
    EXPECT_EQ(Json::parse(glbJson(out))["extensionsUsed"], Json({extension}));
    EXPECT_THAT(run({"info", out}).out, HasSubstr("LINE_STRIP"));
}

TEST_F(PrimitiveRestart, ListsHaveNoneEvenSo) {
    writeRestarted({0, 1, 4, 65535, 2, 3}, 4);
    EXPECT_THAT(run({"info", in}, 3).err, HasSubstr("holds at 3 the index 65535"));
}

} // namespace
