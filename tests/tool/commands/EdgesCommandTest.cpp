#include "support/CommandTest.h"
#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;

class EdgesCommand : public CommandTest {
public:
    /// The lines of the first primitive of the output, each from its lower index, sorted.
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

/// Two triangles that meet at a right angle, each with corners of its own.
GltfModel foldedModel() {
    GltfModel model;
    const int positions =
        model.addPositions({0, 0, 0, 0, 1, 0, -1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 5, 0, 0, 6, 0, 0, 5, 1, 0, 6, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 3, 4, 5, 6, 7, 8, 8, 7, 9}));
    return model;
}

TEST_F(EdgesCommand, WritesEdgesOfTheChosenClasses) {
    const std::string file = write("a.glb", foldedModel());
    const ProcessResult result = run({"edges", file, "-o", out, "--classes", "crease", "--json"}, 0);
    EXPECT_THAT(lines(), ElementsAre(std::pair(0, 1)));
    const Json mesh = Json::parse(result.out)["meshes"][0];
    EXPECT_EQ(mesh["edges"], 10);
    EXPECT_EQ(mesh["borderEdges"], 8);
    EXPECT_EQ(mesh["creaseEdges"], 1);
    EXPECT_EQ(mesh["seamEdges"], 1);
    EXPECT_EQ(mesh["lines"], 1);
    run({"edges", file, "-o", out, "--classes", "smooth"}, 0);
    EXPECT_THAT(lines(), ElementsAre(std::pair(7, 8)));
    run({"edges", file, "-o", out, "--classes", "border,seam"}, 0);
    EXPECT_EQ(lines().size(), 9u);
    const ProcessResult wide =
        run({"edges", file, "-o", out, "--classes", "crease,smooth", "--crease-angle", "100", "--json"}, 0);
    EXPECT_EQ(Json::parse(wide.out)["meshes"][0]["creaseEdges"], 0);
}

TEST_F(EdgesCommand, RefusesUnknownClasses) {
    const std::string file = write("a.glb", foldedModel());
    EXPECT_THAT(run({"edges", file, "-o", out, "--classes", "crease,sharp"}, 2).err,
                testing::HasSubstr("\"sharp\" is not a class of edges"));
    EXPECT_THAT(run({"edges", file, "-o", out, "--classes", "crease", "--border"}, 2).err,
                testing::HasSubstr("exclude one another"));
}

TEST_F(EdgesCommand, RemovesMeshesWithoutABorder) {
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

TEST_F(EdgesCommand, RemovesDataThatOnlyAnEmptyPrimitiveUsed) {
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

TEST_F(EdgesCommand, RenumbersNothingNextToAnUnknownExtension) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1});
    model.addMesh(positions, model.addIndices({0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}));
    model.json["extensionsUsed"] = {"EXT_nobody"};
    model.json["extensions"] = {{"EXT_nobody", {{"accessor", 1}}}};
    run({"edges", write("a.glb", model), "-o", out, "--border"}, 0);
    const Json json = Json::parse(glbJson(out));
    ASSERT_EQ(json["accessors"].size(), 2u);
    EXPECT_EQ(json["accessors"][1]["count"], 12);
    EXPECT_EQ(json["extensions"], model.json["extensions"]);
}

} // namespace
