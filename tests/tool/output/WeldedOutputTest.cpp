// The option --weld of every command that has it.

#include "support/CommandTest.h"
#include "support/ReadBack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using namespace tool_test;
using testing::HasSubstr;

class WeldedOutput : public CommandTest {
public:
    WeldedOutput() {
        GltfModel model;
        const Grid grid = makeGrid(4, 4);
        std::vector<float> positions;
        for (const std::uint16_t index : grid.indices) {
            positions.insert(positions.end(), &grid.positions[3U * index], &grid.positions[3U * index] + 3);
        }
        model.addMesh(model.addPositions(positions), -1);
        soup = write("soup.glb", model);
        model.primitive(0)["attributes"]["_ID"] = model.addAccessor(
            [&] {
                std::vector<float> ids(positions.size() / 3);
                std::iota(ids.begin(), ids.end(), 0.0F);
                return ids;
            }(),
            5126, "SCALAR");
        labelled = write("labelled.glb", model);
    }

    static std::size_t vertexCount(const tinygltf::Model& model) {
        const int positions = model.meshes.at(0).primitives.at(0).attributes.at("POSITION");
        return model.accessors.at(static_cast<std::size_t>(positions)).count;
    }

    std::string soup;
    std::string labelled;
};

TEST_F(WeldedOutput, EveryCommandThatConvertsJoinsVertices) {
    for (const char* verb : {"strip", "unstrip", "edges", "merge"}) {
        const ProcessResult result = run({verb, soup, "-o", out, "--weld", "--json"}, 0);
        EXPECT_EQ(Json::parse(result.out)["weld"],
                  Json::parse(R"({"vertices":96,"joined":71,"differing":0,"collapsedTriangles":0})"))
            << verb;
        EXPECT_THAT(result.err, HasSubstr("soup.glb: 71 of 96 vertices joined with others\n"));
        const tinygltf::Model model = loadModel(out);
        EXPECT_EQ(vertexCount(model), 25u) << verb;
        if (std::string(verb) != "edges") {
            EXPECT_EQ(trianglesOf(model, model.meshes[0]).size(), 32u) << verb;
        }
    }
}

TEST_F(WeldedOutput, StripsOfJoinedVerticesAreShorter) {
    const Json before = Json::parse(run({"strip", soup, "-o", out, "--json"}, 0).out);
    const Json after = Json::parse(run({"strip", soup, "-o", out, "--weld", "--json"}, 0).out);
    EXPECT_FALSE(before.contains("weld"));
    EXPECT_LT(after["total"]["indicesAfter"].get<int>() * 2, before["total"]["indicesAfter"].get<int>());
}

TEST_F(WeldedOutput, LostAttributesAreReported) {
    EXPECT_THAT(run({"strip", labelled, "-o", out, "--weld"}, 0).err, HasSubstr(": 0 of 96 vertices joined"));
    const ProcessResult result = run({"strip", labelled, "-o", out, "--weld", "0", "--json"}, 0);
    EXPECT_THAT(result.err, HasSubstr("71 of 96 vertices joined with others; 71 of them had other attributes"));
    EXPECT_EQ(Json::parse(result.out)["weld"]["differing"], 71);
}

TEST_F(WeldedOutput, ManyFilesAreWelded) {
    const ProcessResult result = run({"strip", soup, "-d", (directory / "many").string(), "--weld"}, 0);
    EXPECT_THAT(result.err, HasSubstr("71 of 96"));
    EXPECT_EQ(vertexCount(loadModel(directory / "many/soup.glb")), 25u);
}

} // namespace
