#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class StripCommand : public testing::Test {
public:
    /// Strips `in.glb` to `out.glb` and expects it to succeed.
    Json strip(const GltfModel& model, std::vector<std::string> options = {}) {
        model.writeGlb(in);
        std::vector<std::string> arguments{"strip", in, "-o", out, "--json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result.exitCode == 0 ? Json::parse(result.out) : Json::object();
    }

    Json output() { return Json::parse(glbJson(out)); }

    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "out.glb").string();
};

TEST_F(StripCommand, WritesOneStripForOneList) {
    strip(gridModel(4, 4));
    const Json primitives = output()["meshes"][0]["primitives"];
    ASSERT_EQ(primitives.size(), 1u);
    EXPECT_EQ(primitives[0]["mode"], 5);
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, ReportsEachMeshAndTheTotal) {
    GltfModel model = gridModel(4, 4);
    model.addMesh(0, 1);
    const Json report = strip(model);
    ASSERT_EQ(report["meshes"].size(), 2u);
    const Json& mesh = report["meshes"][0];
    EXPECT_EQ(mesh["triangles"], 32);
    EXPECT_EQ(mesh["indicesBefore"], 96);
    EXPECT_EQ(mesh["bytesBefore"], 192);
    const Json accessor = output()["accessors"][1];
    EXPECT_EQ(mesh["indicesAfter"], accessor["count"]);
    EXPECT_EQ(mesh["bytesAfter"], accessor["count"]);
    EXPECT_DOUBLE_EQ(mesh["indicesPerTriangle"].get<double>(), accessor["count"].get<double>() / 32);
    EXPECT_EQ(mesh["sameTriangles"], true);
    EXPECT_EQ(report["total"]["triangles"], 64);
    EXPECT_EQ(report["total"]["sameTriangles"], true);
}

TEST_F(StripCommand, PrintsATable) {
    gridModel(4, 4).writeGlb(in);
    const ProcessResult result = runForked({"strip", in, "-o", out});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("mesh 0"));
    EXPECT_THAT(result.out, HasSubstr("same triangles"));
    EXPECT_THAT(result.out, HasSubstr("yes"));
    EXPECT_THAT(result.out, testing::Not(HasSubstr("NO")));
}

TEST_F(StripCommand, JoinsLeftoverTrianglesToTheStrip) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 5, 0, 0, 6, 0, 0, 5, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 2, 1, 3, 4, 5, 6}));
    const Json report = strip(model);
    EXPECT_EQ(report["total"]["leftOver"], 1);
    EXPECT_EQ(report["total"]["strips"], 1);
    ASSERT_EQ(output()["meshes"][0]["primitives"].size(), 1u);
    EXPECT_EQ(output()["meshes"][0]["primitives"][0]["mode"], 5);
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, KeepsLeftoverTrianglesAsAListWithoutJoining) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 5, 0, 0, 6, 0, 0, 5, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 2, 1, 3, 4, 5, 6}));
    strip(model, {"--join", "none"});
    const Json primitives = output()["meshes"][0]["primitives"];
    ASSERT_EQ(primitives.size(), 2u);
    EXPECT_EQ(primitives[0]["mode"], 5);
    EXPECT_EQ(primitives[1]["mode"], 4);
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, AllStripsLeavesNothingOver) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 5, 0, 0, 6, 0, 0, 5, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 2, 1, 3, 4, 5, 6}));
    const Json report = strip(model, {"--join", "none", "--all-strips"});
    EXPECT_EQ(report["total"]["leftOver"], 0);
    EXPECT_EQ(report["total"]["strips"], 2);
    const Json primitives = output()["meshes"][0]["primitives"];
    for (const Json& primitive : primitives) {
        EXPECT_EQ(primitive["mode"], 5);
    }
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, KeepsFansAsSeparatePrimitives) {
    const Json report = strip(gridModel(6, 6), {"--fans", "6"});
    EXPECT_GT(report["total"]["fans"].get<int>(), 0);
    std::vector<int> modes;
    const Json primitives = output()["meshes"][0]["primitives"];
    for (const Json& primitive : primitives) {
        modes.push_back(primitive["mode"].get<int>());
    }
    EXPECT_EQ(std::count(modes.begin(), modes.end(), 6), report["total"]["fans"].get<int>());
    EXPECT_EQ(std::count(modes.begin(), modes.end(), 5), 1);
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, MorePassesNeverGiveMoreIndices) {
    const GltfModel model = gridModel(9, 7);
    const int once = strip(model, {"--iterations", "1"})["total"]["indicesAfter"].get<int>();
    const int often = strip(model, {"--iterations", "40"})["total"]["indicesAfter"].get<int>();
    EXPECT_LE(often, once);
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, DecodesStripsAndFansFirst) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 2, 0, 1, 2, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 3, 4, 5}), 5);
    model.addMesh(positions, model.addIndices({0, 1, 3, 2}), 6);
    const Json report = strip(model);
    EXPECT_EQ(report["meshes"][0]["triangles"], 4);
    EXPECT_EQ(report["meshes"][1]["triangles"], 2);
    EXPECT_EQ(output()["meshes"][1]["primitives"][0]["mode"], 5);
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, GivesIndicesToTrianglesWithoutIndicesIfThereMustBeStrips) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 5, 0, 0, 6, 0, 0, 5, 1, 0}), -1);
    const Json report = strip(model, {"--all-strips"});
    EXPECT_EQ(report["total"]["indicesBefore"], 6);
    EXPECT_EQ(report["total"]["bytesBefore"], 0);
    EXPECT_TRUE(output()["meshes"][0]["primitives"][0].contains("indices"));
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, DropsDegenerateTriangles) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 1, 1, 2, 0, 2, 2}));
    const Json report = strip(model);
    EXPECT_EQ(report["total"]["triangles"], 1);
    EXPECT_EQ(report["total"]["degenerateTriangles"], 2);
    EXPECT_EQ(report["total"]["indicesAfter"], 3);
}

TEST_F(StripCommand, LeavesAPrimitiveWithoutTrianglesUnchanged) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 1}));
    strip(model);
    EXPECT_EQ(output()["meshes"], model.json["meshes"]);
    EXPECT_EQ(output()["accessors"], model.json["accessors"]);
}

TEST_F(StripCommand, IgnoresIndicesAfterTheLastWholeTriangle) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 0, 1}));
    EXPECT_EQ(strip(model)["total"]["triangles"], 1);
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, NamesBothFilesInTheFirstLine) {
    gridModel(1, 1).writeGlb(in);
    EXPECT_THAT(runForked({"strip", in, "-o", out}).out, StartsWith(in + " -> " + out + ": "));
}

TEST_F(StripCommand, EveryEffortAndJoinKeepsTheTriangles) {
    for (const char* join : {"degenerate", "none"}) {
        for (const char* effort : {"0", "1", "2", "3", "4"}) {
            const Json total = strip(gridModel(9, 7), {"--effort", effort, "--join", join})["total"];
            EXPECT_EQ(total["sameTriangles"], true);
            EXPECT_LE(total["minIndices"], total["indicesAfter"]);
            expectSameTriangles(in, out);
        }
    }
}

TEST_F(StripCommand, WritesTheSameInAnyNumberOfThreads) {
    const Json alone = strip(gridModel(80, 70), {"--effort", "3"})["total"];
    const std::string file = readText(out);
    for (const char* threads : {"0", "1", "3"}) {
        const Json total = strip(gridModel(80, 70), {"--effort", "3", "--threads", threads})["total"];
        EXPECT_EQ(total["minIndices"], alone["minIndices"]) << threads;
        EXPECT_EQ(readText(out), file) << threads;
    }
}

TEST_F(StripCommand, CutsShortStripsForVertexCaches) {
    const int strips = strip(gridModel(30, 30))["total"]["strips"].get<int>();
    EXPECT_GT(strip(gridModel(30, 30), {"--for-vertex-cache"})["total"]["strips"].get<int>(), strips);
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, LimitsTheLengthOfStrips) {
    strip(gridModel(4, 4), {"--max-strip", "4", "--join", "none"});
    const Json json = output();
    for (const Json& primitive : json["meshes"][0]["primitives"]) {
        if (primitive["mode"] == 5) {
            EXPECT_LE(json["accessors"][primitive["indices"].get<std::size_t>()]["count"], 7);
        }
    }
    expectSameTriangles(in, out);
}

TEST_F(StripCommand, LimitsTheWidthOfIndices) {
    const Json report = strip(gridModel(40, 40), {"--index-bits", "8"});
    EXPECT_EQ(report["total"]["sameTriangles"], true);
    EXPECT_GT(report["total"]["primitivesAfter"], 6);
    const Json accessors = output()["accessors"];
    for (const Json& accessor : accessors) {
        EXPECT_TRUE(accessor["type"] != "SCALAR" || accessor["componentType"] == 5121);
    }
    expectSameTriangles(in, out);
    EXPECT_EQ(runForked({"strip", in, "-o", out, "--index-bits", "12"}).exitCode, 2);
}

TEST_F(StripCommand, SaysHowFewIndicesThereCanBe) {
    const Json total = strip(gridModel(9, 7))["total"];
    ASSERT_TRUE(total["minIndices"].is_number());
    EXPECT_LE(total["minIndices"], total["indicesAfter"]);
    EXPECT_DOUBLE_EQ(total["minIndicesPerTriangle"].get<double>(), total["minIndices"].get<double>() / 126);
    EXPECT_THAT(
        runForked({"strip", in, "-o", out}).out,
        testing::ContainsRegex("1\\.[0-9]{3} indices a triangle; no strips can have fewer than 1\\.[0-9]{3}\\.\n"));
}

TEST_F(StripCommand, ProvesTheMinimumOfLargeFilesOnlyOnRequest) {
    EXPECT_TRUE(strip(gridModel(101, 100))["total"]["minIndices"].is_null());
    EXPECT_THAT(runForked({"strip", in, "-o", out}).out, testing::Not(HasSubstr("no strips can have")));
    EXPECT_TRUE(strip(gridModel(101, 100), {"--annealing-passes", "1"})["total"]["minIndices"].is_null());
    EXPECT_TRUE(strip(gridModel(101, 100), {"--bound"})["total"]["minIndices"].is_number());
}

TEST_F(StripCommand, CountsTheMinimumOfSharedIndicesOnce) {
    GltfModel model = gridModel(4, 4);
    model.addMesh(0, 1);
    const Json report = strip(model);
    EXPECT_EQ(report["meshes"][0]["minIndices"], report["total"]["minIndices"]);
    EXPECT_EQ(report["meshes"][1]["minIndices"], report["total"]["minIndices"]);
}

TEST_F(StripCommand, SavesFewerIndicesInFewerAnnealingPasses) {
    Grid grid = makeGrid(90, 80);
    std::mt19937 random(1);
    for (std::size_t i = 0; i < grid.indices.size(); i += 6) {
        if (random() % 2 == 0) { // along the other diagonal
            grid.indices[i + 2] = grid.indices[i + 4];
            grid.indices[i + 3] = grid.indices[i];
        }
    }
    GltfModel model;
    const int positions = model.addPositions(grid.positions);
    model.addMesh(positions, model.addIndices(grid.indices));
    const auto countWith = [&](const std::vector<std::string>& options) {
        return strip(model, options)["total"]["indicesAfter"].get<int>();
    };
    const int few = countWith({"--annealing-passes", "10"});
    EXPECT_LT(few, countWith({}));
    EXPECT_EQ(few, countWith({"--annealing-passes", "10", "--effort", "3"}));
    EXPECT_GT(few, countWith({"--effort", "3"}));
}

TEST_F(StripCommand, RefusesFlagsOfDifferentSearches) {
    gridModel(2, 2).writeGlb(in);
    const auto expectRefusal = [&](std::vector<std::string> options, const std::string& what) {
        options.insert(options.begin(), {"strip", in, "-o", out});
        const ProcessResult result = runForked(options);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.err, HasSubstr(what));
        EXPECT_THAT(directory.files(), ElementsAre("in.glb"));
    };
    expectRefusal({"--effort", "2", "--iterations", "5"}, "--iterations and --effort belong to different searches");
    expectRefusal({"--fans", "6", "--for-vertex-cache"}, "--fans and --for-vertex-cache belong to different searches");
    expectRefusal({"--budget", "5", "--effort", "3"}, "--budget is the time of --effort 4");
    expectRefusal({"--annealing-passes", "5", "--effort", "2"},
                  "--annealing-passes are those of --effort 3 and 4; effort 2 has none");
    expectRefusal({"--annealing-passes", "5", "--fans", "6"},
                  "--fans and --annealing-passes belong to different searches");
    expectRefusal({"--effort", "5"}, "--effort");
}

TEST_F(StripCommand, SaysInWhichFormPrimitivesAreWritten) {
    GltfModel model = gridModel(4, 4);
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0}), -1);
    const Json meshes = strip(model)["meshes"];
    EXPECT_EQ(meshes[0]["primitives"], Json::parse(R"([{"primitive":0,"writtenAs":"strips","why":""}])"));
    EXPECT_EQ(meshes[1]["primitives"][0]["writtenAs"], "unchanged");
    const std::string table = runForked({"strip", in, "-o", out}).out;
    EXPECT_THAT(table, HasSubstr("mesh 1 stays as it is: no two triangles share corners: positions are repeated; "
                                 "`--weld` joins them.\n"));
}

TEST_F(StripCommand, MeasuresTheWholeFile) {
    const Json report = strip(gridModel(4, 4));
    const Json& before = report["file"]["before"];
    const Json& after = report["file"]["after"];
    EXPECT_EQ(before["bytes"], std::filesystem::file_size(in));
    EXPECT_EQ(after["bytes"], std::filesystem::file_size(out));
    EXPECT_EQ(before["indexBytes"], 192);
    EXPECT_EQ(after["indexBytes"], report["total"]["bytesAfter"]);
    EXPECT_EQ(before["vertexBytes"], 300);
    EXPECT_EQ(after["vertexBytes"], 300);
    EXPECT_EQ(before["primitives"], 1);
    EXPECT_EQ(after["primitives"], 1);
}

TEST_F(StripCommand, NamesItselfAsTheGenerator) {
    GltfModel model = gridModel(2, 2);
    model.json["asset"]["generator"] = "somebody";
    strip(model);
    EXPECT_THAT(output()["asset"]["generator"].get<std::string>(), StartsWith("vexamesh "));
    EXPECT_EQ(output()["asset"]["version"], "2.0");
}

TEST_F(StripCommand, LeavesNoOtherFile) {
    strip(gridModel(2, 2));
    EXPECT_THAT(directory.files(), ElementsAre("in.glb", "out.glb"));
}

TEST_F(StripCommand, RunsAsAProgram) {
    gridModel(3, 3).writeGlb(in);
    const ProcessResult result = runProgram({"strip", in, "-o", out, "--json"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Json::parse(result.out)["total"]["triangles"], 18);
    EXPECT_EQ(result.err, "");
    expectSameTriangles(in, out);
}

} // namespace
