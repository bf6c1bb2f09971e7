// Restart indices: written for readers that support them, and read by every subcommand.

#include "io/Document.h"
#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vexa/mesh/Strips.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

constexpr const char* extension = "KHR_mesh_primitive_restart";
constexpr const char* groupExtension = "EXT_mesh_primitive_restart";

class PrimitiveRestart : public testing::Test {
public:
    /// A model of one primitive with restart indices, declared by the extension.
    std::string writeRestarted(const std::vector<std::uint16_t>& indices, int mode) {
        GltfModel model;
        const int positions = model.addPositions(makeGrid(3, 1).positions);
        model.addMesh(positions, model.addIndices(indices), mode);
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

    Json strip(const GltfModel& model, const std::vector<std::string>& options) {
        model.writeGlb(in);
        std::vector<std::string> arguments{"strip", in, "-o", out, "--json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        report = run(arguments);
        return Json::parse(glbJson(out));
    }

    Json stripToGroup(const GltfModel& model) { return strip(model, {"--join", "restart-fallback"}); }

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

TEST_F(PrimitiveRestart, GroupHoldsItsStripsWithRestartIndicesBetweenThem) {
    const Json output = stripToGroup(gridModel(6, 6));
    const Json group = output["meshes"][0]["extensions"][groupExtension]["primitiveGroups"][0];
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
    const Json group = output["meshes"][0]["extensions"][groupExtension]["primitiveGroups"][0];
    const Json& view = output["bufferViews"][1];
    EXPECT_EQ(output["bufferViews"].size(), 2u);
    EXPECT_EQ(view["byteLength"], output["accessors"][group["indices"].get<std::size_t>()]["count"]);
    EXPECT_EQ(Json::parse(report.out)["total"]["indicesAfter"], view["byteLength"]);
}

TEST_F(PrimitiveRestart, OtherReadersStillDrawEveryTriangle) {
    const Json output = stripToGroup(gridModel(6, 6));
    EXPECT_EQ(output["extensionsUsed"], Json({groupExtension}));
    EXPECT_FALSE(output.contains("extensionsRequired"));
    expectSameTriangles(in, out);
}

TEST_F(PrimitiveRestart, WarnsOfReadersThatDoNotKnowTheExtension) {
    stripToGroup(gridModel(6, 6));
    EXPECT_THAT(report.err, HasSubstr("readers that do not know EXT_mesh_primitive_restart draw each strip by itself"));
    EXPECT_EQ(countOf(report.err, "\n"), 1u);
    strip(gridModel(6, 6), {"--join", "restart"});
    EXPECT_THAT(report.err, HasSubstr("only readers that know KHR_mesh_primitive_restart can open it"));
    EXPECT_EQ(countOf(report.err, "\n"), 1u);
}

TEST_F(PrimitiveRestart, MembersOfAGroupDifferOnlyInTheirIndices) {
    const Json output = stripToGroup(gridModel(6, 6));
    const Json& primitives = output["meshes"][0]["primitives"];
    const Json members = output["meshes"][0]["extensions"][groupExtension]["primitiveGroups"][0]["primitives"];
    Json first = primitives[members[0].get<std::size_t>()];
    for (const Json& member : members) {
        Json primitive = primitives[member.get<std::size_t>()];
        EXPECT_TRUE(primitive.contains("indices"));
        primitive["indices"] = first["indices"];
        EXPECT_EQ(primitive, first);
    }
}

TEST_F(PrimitiveRestart, PrimitivesWithMorphTargetsAreNotGrouped) {
    GltfModel model = gridModel(6, 6);
    model.primitive(0)["targets"] = {{{"POSITION", 0}}};
    const Json output = stripToGroup(model);
    EXPECT_EQ(output["meshes"][0]["primitives"].size(), 1u);
    EXPECT_THAT(output.dump(), testing::Not(HasSubstr(groupExtension)));
}

TEST_F(PrimitiveRestart, JoinsEverythingIntoOneStrip) {
    const Json output = strip(gridModel(6, 6), {"--join", "restart"});
    ASSERT_EQ(output["meshes"][0]["primitives"].size(), 1u);
    const Json& primitive = output["meshes"][0]["primitives"][0];
    EXPECT_EQ(primitive["mode"], 5);
    EXPECT_FALSE(primitive.contains("extensions"));
    EXPECT_FALSE(output["meshes"][0].contains("extensions"));
    EXPECT_EQ(output["extensionsUsed"], Json({extension}));
    EXPECT_EQ(output["extensionsRequired"], Json({extension}));
    const std::vector<std::size_t> indices = stored(out, primitive["indices"]);
    EXPECT_EQ(output["accessors"][primitive["indices"].get<std::size_t>()]["componentType"], 5121);
    EXPECT_GE(std::count(indices.begin(), indices.end(), 255U), 1);
    EXPECT_EQ(Json::parse(report.out)["total"]["sameTriangles"], true);
}

TEST_F(PrimitiveRestart, JoinsFansLikewise) {
    const Json output = strip(gridModel(9, 9), {"--join", "restart", "--fans", "5"});
    std::vector<int> modes;
    for (const Json& primitive : output["meshes"][0]["primitives"]) {
        modes.push_back(primitive["mode"].get<int>());
    }
    EXPECT_EQ(modes, (std::vector<int>{6, 5}));
    run({"unstrip", out, "-o", (directory / "again.glb").string()});
    expectSameTriangles(in, directory / "again.glb");
}

TEST_F(PrimitiveRestart, TheLargestIndexOfATypeIsNotMistakenForARestart) {
    // 256 vertices: the last has the restart index of bytes.
    const Json output = strip(gridModel(15, 15), {"--join", "restart"});
    EXPECT_EQ(output["accessors"][output["meshes"][0]["primitives"][0]["indices"].get<std::size_t>()]["componentType"],
              5123);
    run({"unstrip", out, "-o", (directory / "again.glb").string()});
    expectSameTriangles(in, directory / "again.glb");
}

TEST_F(PrimitiveRestart, IsTheSmallestFile) {
    const auto sizeWith = [&](const char* join) {
        strip(gridModel(9, 9), {"--join", join});
        return std::filesystem::file_size(out);
    };
    EXPECT_LT(sizeWith("restart"), sizeWith("restart-fallback"));
    EXPECT_LT(sizeWith("restart"), sizeWith("none"));
}

TEST_F(PrimitiveRestart, ReadsGroupsUnderTheOtherName) {
    const Json output = stripToGroup(gridModel(6, 6));
    std::string file = readText(out);
    for (std::size_t at = file.find(groupExtension); at != std::string::npos; at = file.find(groupExtension, at)) {
        file.replace(at, 3, "KHR");
    }
    writeText(out, file);
    EXPECT_THAT(run({"info", out}).out, HasSubstr("TRIANGLE_STRIP"));
    const std::string again = (directory / "again.glb").string();
    run({"strip", out, "-o", again});
    EXPECT_THAT(glbJson(again), testing::Not(HasSubstr("primitive_restart")));
    expectSameTriangles(in, again);
}

TEST_F(PrimitiveRestart, ReadsPrimitivesThatNameTheExtensionThemselves) {
    GltfModel model;
    const int positions = model.addPositions(makeGrid(3, 1).positions);
    model.addMesh(positions, model.addIndices({0, 1, 4, 65535, 2, 3, 6, 7}), 5);
    model.primitive(0)["extensions"][extension] = Json::object();
    model.writeGlb(in);
    EXPECT_EQ(Json::parse(run({"strip", in, "-o", out, "--json"}).out)["total"]["triangles"], 3);
    EXPECT_THAT(glbJson(out), testing::Not(HasSubstr(extension)));
}

TEST_F(PrimitiveRestart, OneStripNeedsNoExtension) {
    for (const char* join : {"restart", "restart-fallback"}) {
        const Json output = strip(gridModel(3, 1), {"--join", join});
        EXPECT_EQ(output["meshes"][0]["primitives"].size(), 1u);
        EXPECT_THAT(output.dump(), testing::Not(HasSubstr("primitive_restart")));
        EXPECT_EQ(report.err, "");
    }
}

TEST_F(PrimitiveRestart, GroupHasTheTypeOfItsLargestIndex) {
    GltfModel model = gridModel(20, 20);
    const Json output = stripToGroup(model);
    const Json group = output["meshes"][0]["extensions"][groupExtension]["primitiveGroups"][0];
    EXPECT_EQ(output["accessors"][group["indices"].get<std::size_t>()]["componentType"], 5123);
    for (const Json& primitive : output["meshes"][0]["primitives"]) {
        EXPECT_EQ(output["accessors"][primitive["indices"].get<std::size_t>()]["componentType"], 5123);
    }
    expectSameTriangles(in, out);
}

TEST_F(PrimitiveRestart, GroupsAreRemovedWithTheirPrimitives) {
    stripToGroup(gridModel(6, 6));
    const std::string again = (directory / "again.glb").string();
    run({"strip", out, "-o", again});
    EXPECT_THAT(glbJson(again), testing::Not(HasSubstr(groupExtension)));
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

TEST_F(PrimitiveRestart, MergedLinesStartOverAtRestartIndices) {
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

TEST_F(PrimitiveRestart, EveryOtherSubcommandReadsThem) {
    writeRestarted({0, 1, 4, 65535, 2, 3, 6, 7}, 5);
    EXPECT_THAT(run({"validate", in}).out, HasSubstr("valid"));
    EXPECT_THAT(run({"compare", in, in}).out, HasSubstr("the same"));
    EXPECT_THAT(run({"verify", in}).out, HasSubstr("mesh 0"));
    EXPECT_THAT(run({"dump", in}).out, HasSubstr("position"));
    run({"edges", in, "-o", out});
    const tinygltf::Model model = loadModel(out);
    EXPECT_EQ(indicesOf(model, model.meshes[0].primitives[0]).size(), 16u);
}

TEST_F(PrimitiveRestart, UnchangedLinesKeepTheirs) {
    GltfModel model = gridModel(3, 1);
    model.addMesh(0, model.addIndices({0, 1, 65535, 4, 5}), 3);
    model.json["extensionsUsed"] = {extension};
    model.writeGlb(in);
    run({"strip", in, "-o", out});
    const Json output = Json::parse(glbJson(out));
    EXPECT_EQ(output["extensionsUsed"], Json({extension}));
    EXPECT_EQ(output["extensionsRequired"], Json({extension}));
    EXPECT_THAT(run({"info", out}).out, HasSubstr("LINE_STRIP"));
}

TEST_F(PrimitiveRestart, ListsNeverHaveThem) {
    writeRestarted({0, 1, 4, 65535, 2, 3}, 4);
    EXPECT_THAT(run({"info", in}, 3).err, HasSubstr("holds at 3 the index 65535"));
}

} // namespace
