// The verbs that put the library's mesh operations to use: validate, compare, edges, pack, dump, verify.

#include "ReadBack.h"
#include "SmallModels.h"
#include "ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;

class MeshCommands : public testing::Test {
public:
    std::string write(const std::string& name, const GltfModel& model) {
        const std::string file = (directory / name).string();
        model.writeGlb(file);
        return file;
    }

    static ProcessResult run(const std::vector<std::string>& arguments, int expectedCode) {
        ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, expectedCode) << result.err;
        return result;
    }

    TemporaryDirectory directory;
    std::string out = (directory / "out.glb").string();
};

class ValidateCommand : public MeshCommands {};

TEST_F(ValidateCommand, SoundMeshesPass) {
    const ProcessResult result = run({"validate", write("a.glb", gridModel(2, 2))}, 0);
    EXPECT_THAT(result.out, HasSubstr("valid"));
    EXPECT_EQ(result.err, "");
}

TEST_F(ValidateCommand, TellsWhatTheLibrarySays) {
    GltfModel model = gridModel(2, 2);
    model.json["accessors"][0]["count"] = 8;
    EXPECT_THAT(run({"validate", write("a.glb", model)}, 1).out, HasSubstr("Indices are out of range"));

    GltfModel shortAttribute = gridModel(2, 2);
    shortAttribute.primitive(0)["attributes"]["NORMAL"] = shortAttribute.addPositions({0, 0, 1});
    const ProcessResult result = run({"validate", "--json", write("b.glb", shortAttribute)}, 1);
    const Json file = Json::parse(result.out)["files"][0];
    EXPECT_EQ(file["valid"], false);
    EXPECT_EQ(file["primitives"][0]["message"], "Attribute normal has less elements than vertices");

    GltfModel nameless = gridModel(2, 2);
    nameless.primitive(0)["attributes"] = {{"_POSITION", 0}};
    EXPECT_THAT(run({"validate", write("c.glb", nameless)}, 1).out, HasSubstr("Missing position attribute"));
}

TEST_F(ValidateCommand, ABrokenFileOutweighsAFailedCheck) {
    GltfModel model = gridModel(2, 2);
    model.json["accessors"][0]["count"] = 8;
    const ProcessResult result = run({"validate", write("a.glb", model), "missing.glb"}, 3);
    EXPECT_THAT(result.out, HasSubstr("Indices are out of range"));
    EXPECT_EQ(countOf(result.err, "\n"), 1u);
}

class CompareCommand : public MeshCommands {};

TEST_F(CompareCommand, LayoutsAgreeWhateverTheContents) {
    const std::string a = write("a.glb", gridModel(2, 2));
    const std::string b = write("b.glb", gridModel(3, 1));
    EXPECT_EQ(run({"compare", a, b}, 0).out, "The layouts are the same.\n");
    EXPECT_EQ(Json::parse(run({"compare", "--json", a, b}, 0).out)["sameLayout"], true);
}

TEST_F(CompareCommand, TellsTheFirstDifferenceInWords) {
    const std::string a = write("a.glb", gridModel(2, 2));
    GltfModel points = gridModel(2, 2);
    points.primitive(0)["mode"] = 0;
    EXPECT_EQ(run({"compare", a, write("b.glb", points)}, 1).out,
              "mesh 0: Meshes do not have the same primitive type: 4 and 0\n");

    GltfModel more = gridModel(2, 2);
    more.primitive(0)["attributes"]["_EXTRA"] = 0;
    EXPECT_EQ(run({"compare", a, write("c.glb", more)}, 1).out,
              "mesh 0: Meshes do not have the same number of attributes: 1 and 2\n");

    GltfModel two = gridModel(2, 2);
    two.addMesh(0, 1);
    const Json report = Json::parse(run({"compare", "--json", a, write("d.glb", two)}, 1).out);
    EXPECT_EQ(report["difference"], "Files do not have the same number of meshes: 1 and 2");
}

TEST_F(CompareCommand, KeepsTheLogOutOfTheResults) {
    const std::string a = write("a.glb", gridModel(2, 2));
    GltfModel points = gridModel(2, 2);
    points.primitive(0)["mode"] = 0;
    const ProcessResult result = runProgram({"compare", "--json", a, write("b.glb", points)});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(Json::parse(result.out)["sameLayout"], false);
    EXPECT_EQ(result.err, "");
}

class EdgesCommand : public MeshCommands {
public:
    /// The lines of the first primitive of the output, each from its lower index on, sorted.
    std::vector<std::pair<std::size_t, std::size_t>> lines() {
        const tinygltf::Model model = loadModel(out);
        const auto& primitive = model.meshes.at(0).primitives.at(0);
        EXPECT_EQ(primitive.mode, TINYGLTF_MODE_LINE);
        const std::vector<std::size_t> indices = indicesOf(model, primitive);
        std::vector<std::pair<std::size_t, std::size_t>> result;
        for (std::size_t i = 0; i + 1 < indices.size(); i += 2) {
            result.push_back(std::minmax(indices[i], indices[i + 1]));
        }
        std::sort(result.begin(), result.end());
        return result;
    }
};

TEST_F(EdgesCommand, WritesEveryEdgeOnce) {
    run({"edges", write("a.glb", gridModel(1, 1)), "-o", out}, 0);
    EXPECT_THAT(lines(),
                ElementsAre(std::pair(0, 1), std::pair(0, 2), std::pair(1, 2), std::pair(1, 3), std::pair(2, 3)));
}

TEST_F(EdgesCommand, WritesTheBorderAlone) {
    const ProcessResult result = run({"edges", write("a.glb", gridModel(1, 1)), "-o", out, "--border", "--json"}, 0);
    EXPECT_THAT(lines(), ElementsAre(std::pair(0, 1), std::pair(0, 2), std::pair(1, 3), std::pair(2, 3)));
    const Json mesh = Json::parse(result.out)["meshes"][0];
    EXPECT_EQ(mesh["edges"], 5);
    EXPECT_EQ(mesh["borderEdges"], 4);
    EXPECT_EQ(mesh["lines"], 4);
}

TEST_F(EdgesCommand, AClosedMeshWithoutABorderGoes) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1});
    model.addMesh(positions, model.addIndices({0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}));
    model.addMesh(positions, model.addIndices({0, 1, 2}));
    run({"edges", write("a.glb", model), "-o", out, "--border"}, 0);
    const Json json = Json::parse(glbJson(out));
    EXPECT_EQ(json["meshes"].size(), 1u);
    EXPECT_FALSE(json["nodes"][0].contains("mesh"));
    EXPECT_EQ(json["nodes"][1]["mesh"], 0);
    EXPECT_EQ(lines().size(), 3u);
}

TEST_F(EdgesCommand, WhatOnlyAnEmptyPrimitiveUsedGoesWithIt) {
    GltfModel model;
    const int closed = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1});
    model.addMesh(closed, model.addIndices({0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}));
    const int open = model.addPositions({5, 0, 0, 1, 0, 0, 0, 1, 0});
    model.addMesh(open, model.addIndices({0, 1, 2}));
    const int unused = model.addPositions({7, 7, 7});
    run({"edges", write("a.glb", model), "-o", out, "--border"}, 0);
    const Json json = Json::parse(glbJson(out));
    EXPECT_EQ(json["accessors"].size(), 3u);
    EXPECT_EQ(json["bufferViews"].size(), 3u);
    const Json& attributes = json["meshes"][0]["primitives"][0]["attributes"];
    EXPECT_EQ(json["accessors"][attributes["POSITION"].get<std::size_t>()]["max"], Json({5, 1, 0}));
    EXPECT_EQ(json["accessors"][2]["max"], model.json["accessors"][static_cast<std::size_t>(unused)]["max"]);
    EXPECT_EQ(lines().size(), 3u);
}

TEST_F(EdgesCommand, NothingIsRenumberedBesideAnUnknownExtension) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1});
    model.addMesh(positions, model.addIndices({0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}));
    model.json["extensionsUsed"] = {"EXT_nobody"};
    model.json["extensions"] = {{"EXT_nobody", {{"accessor", 1}}}};
    run({"edges", write("a.glb", model), "-o", out, "--border"}, 0);
    EXPECT_EQ(Json::parse(glbJson(out))["accessors"].size(), 2u);
}

class PackCommand : public MeshCommands {
public:
    std::string modelWithNormals() {
        GltfModel model;
        const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
        model.addMesh(positions, -1);
        model.primitive(0)["attributes"]["NORMAL"] = model.addPositions({0, 0, 1, 1, 0, 0, 0, 0, 0});
        return write("a.glb", model);
    }
};

TEST_F(PackCommand, WritesTwoBytesForEachNormal) {
    const std::string packed = (directory / "out.bin").string();
    run({"pack", modelWithNormals(), "-o", packed}, 0);
    EXPECT_EQ(readText(packed), "\x7f\x7f\xff\x7f\xff\xff");
}

TEST_F(PackCommand, ReportsTheAngles) {
    const Json total = Json::parse(run({"pack", modelWithNormals(), "--stats", "--json"}, 0).out)["total"];
    EXPECT_EQ(total["normals"], 3);
    EXPECT_EQ(total["withoutDirection"], 1);
    // (127, 127) decodes to (-1/255, -1/255, 253/255), (255, 127) to (1 - 1/255, ...): some tenths of a degree.
    EXPECT_NEAR(total["largestAngle"].get<double>(), 0.3203, 0.001);
    EXPECT_GT(total["meanAngle"].get<double>(), 0.2);
    EXPECT_THAT(directory.files(), ElementsAre("a.glb"));
}

TEST_F(PackCommand, NeedsSomethingToDo) {
    EXPECT_THAT(run({"pack", modelWithNormals()}, 2).err, HasSubstr("--stats"));
    EXPECT_THAT(run({"pack", write("b.glb", gridModel(1, 1)), "--stats"}, 3).err, HasSubstr("has no normals"));
    EXPECT_THAT(run({"pack", modelWithNormals(), "-o", out}, 2).err, HasSubstr("does not end in .bin"));
}

class DumpCommand : public MeshCommands {};

TEST_F(DumpCommand, PrintsTheBuffersOfTheLibrary) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0.5}), -1);
    const std::string file = write("a.glb", model);
    const std::string expected = "AttributeBuffer:\n"
                                 "    attributeName            position\n"
                                 "    componentType            float\n"
                                 "  > componentSizeInBytes     4\n"
                                 "    componentCountPerElement 3\n"
                                 "  > elementSizeInBytes       12\n"
                                 "    elementStrideInBytes     12\n"
                                 "    elementOffsetInBytes     0\n"
                                 "    elementCount             3\n";
    EXPECT_EQ(run({"dump", file}, 0).out, expected);
    EXPECT_EQ(run({"dump", file, "--attribute", "POSITION", "--elements"}, 0).out,
              expected + "    Elements:\n        0, 0, 0\n        1, 0, 0\n        0, 1, 0.5\n");
    EXPECT_THAT(run({"dump", file, "--attribute", "colour"}, 3).err, HasSubstr("has no attribute colour"));
}

class VerifyCommand : public MeshCommands {};

TEST_F(VerifyCommand, PrintsTheReportOfTheGraph) {
    const std::string file = write("a.glb", gridModel(1, 1));
    EXPECT_EQ(run({"verify", file}, 0).out, "mesh 0:\n"
                                            "HEG: linked triangle count 2\n"
                                            "HEG: invalid triangle 0\n"
                                            "HEG: nonmanifold split: 0\n"
                                            "HEG: triangle state: 0/2/0/0\n"
                                            "HEG: Connection: 1/2 \n"
                                            "HEG: Connection: 2/2 \n"
                                            "HEG: HalfEdgeCount: 6\n");
    EXPECT_THAT(run({"verify", file, "--verbose"}, 0).out, HasSubstr("HEG: Triangle: %d %d %d: 0 1 2 VALID\n"));
    const Json report = Json::parse(run({"verify", file, "--json"}, 0).out)["primitives"][0]["report"];
    EXPECT_EQ(report[0], "HEG: linked triangle count 2");
}

TEST_F(VerifyCommand, FindsCollapsedTriangles) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 1, 0, 1, 2}));
    const ProcessResult result = runProgram({"verify", write("a.glb", model)});
    EXPECT_THAT(result.out, HasSubstr("HEG: invalid triangle 1\n"));
    EXPECT_THAT(result.out, HasSubstr("Invalid collapsed Triangle\n"));
    EXPECT_EQ(result.err, "");
}

} // namespace
