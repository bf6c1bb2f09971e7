#include "support/CommandTest.h"
#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <array>
#include <cstring>
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

/// The marks of the edges of a primitive, three for each triangle.
std::vector<int> marksOf(const tinygltf::Model& model, const tinygltf::Primitive& primitive) {
    const auto& extension = primitive.extensions.at("EXT_mesh_primitive_edge_visibility");
    const auto& accessor = model.accessors.at(static_cast<std::size_t>(extension.Get("visibility").GetNumberAsInt()));
    EXPECT_EQ(accessor.type, TINYGLTF_TYPE_SCALAR);
    EXPECT_EQ(accessor.componentType, TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE);
    const auto& view = model.bufferViews.at(static_cast<std::size_t>(accessor.bufferView));
    const unsigned char* bytes = model.buffers.at(0).data.data() + view.byteOffset + accessor.byteOffset;
    std::vector<int> marks;
    for (std::size_t i = 0; i < 4 * accessor.count; ++i) {
        marks.push_back(bytes[i / 4] >> i % 4 * 2 & 3);
    }
    return marks;
}

TEST_F(EdgesCommand, MarksVisibleEdgesOnTheTriangles) {
    const std::string file = write("a.glb", foldedModel());
    const ProcessResult result = run({"edges", file, "-o", out, "--visibility", "--json"}, 0);
    expectSameTriangles(file, out);
    const tinygltf::Model model = loadModel(out);
    EXPECT_THAT(model.extensionsUsed, ElementsAre("EXT_mesh_primitive_edge_visibility"));
    EXPECT_TRUE(model.extensionsRequired.empty());
    // The crease counts once, although its sides have vertices of their own; the diagonal of the flat square is hidden.
    EXPECT_THAT(marksOf(model, model.meshes.at(0).primitives.at(0)), ElementsAre(2, 2, 2, 3, 2, 2, 2, 0, 2, 0, 2, 2));
    const Json mesh = Json::parse(result.out)["meshes"][0];
    EXPECT_EQ(mesh["visibleEdges"], 9);
    EXPECT_EQ(mesh["silhouetteEdges"], 0);
    EXPECT_FALSE(mesh.contains("lines"));
}

TEST_F(EdgesCommand, MarksOtherEdgesAsVisibleInSilhouette) {
    run({"edges", write("a.glb", foldedModel()), "-o", out, "--visibility", "--classes", "border"}, 0);
    const tinygltf::Model model = loadModel(out);
    const tinygltf::Primitive& primitive = model.meshes.at(0).primitives.at(0);
    EXPECT_THAT(marksOf(model, primitive), ElementsAre(1, 2, 2, 0, 2, 2, 2, 0, 2, 0, 2, 2));
    const auto& extension = primitive.extensions.at("EXT_mesh_primitive_edge_visibility");
    const auto& normals =
        model.accessors.at(static_cast<std::size_t>(extension.Get("silhouetteNormals").GetNumberAsInt()));
    EXPECT_EQ(normals.type, TINYGLTF_TYPE_VEC3);
    EXPECT_EQ(normals.componentType, TINYGLTF_COMPONENT_TYPE_FLOAT);
    ASSERT_EQ(normals.count, 2u);
    const auto& view = model.bufferViews.at(static_cast<std::size_t>(normals.bufferView));
    std::array<float, 6> values{};
    std::memcpy(values.data(), model.buffers.at(0).data.data() + view.byteOffset + normals.byteOffset, sizeof values);
    EXPECT_THAT(values, ElementsAre(0, 0, 1, -1, 0, 0));
}

TEST_F(EdgesCommand, MarksOfStripsFollowTheirTriangles) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 0, 2, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 3, 4}), 5);
    run({"edges", write("a.glb", model), "-o", out, "--visibility"}, 0);
    const tinygltf::Model output = loadModel(out);
    // [0 1 2], [1 3 2], [2 3 4], and three pairs of bits that must be zero.
    EXPECT_THAT(marksOf(output, output.meshes.at(0).primitives.at(0)), ElementsAre(2, 0, 2, 2, 0, 0, 0, 2, 2, 0, 0, 0));
}

TEST_F(EdgesCommand, DoesNotMarkPrimitivesWithoutAVisibleEdge) {
    run({"edges", write("a.glb", gridModel(1, 1)), "-o", out, "--visibility", "--classes", "crease"}, 0);
    const tinygltf::Model model = loadModel(out);
    EXPECT_TRUE(model.extensionsUsed.empty());
    EXPECT_TRUE(model.meshes.at(0).primitives.at(0).extensions.empty());
}

TEST_F(EdgesCommand, ReplacesEarlierMarks) {
    const std::string marked = (directory / "marked.glb").string();
    run({"edges", write("a.glb", foldedModel()), "-o", marked, "--visibility", "--classes", "border"}, 0);
    const ProcessResult again = run({"edges", marked, "-o", out, "--visibility"}, 0);
    EXPECT_THAT(again.err, testing::HasSubstr("left out: the edge visibility"));
    const Json json = Json::parse(glbJson(out));
    EXPECT_EQ(json["accessors"].size(), 3u);
    EXPECT_EQ(json["bufferViews"].size(), 3u);
    run({"edges", marked, "-o", out, "--visibility", "--strict"}, 1);
}

TEST_F(EdgesCommand, VerbsThatReorderTrianglesLeaveMarksOut) {
    const std::string marked = (directory / "marked.glb").string();
    run({"edges", write("a.glb", gridModel(3, 3)), "-o", marked, "--visibility"}, 0);
    for (const char* verb : {"strip", "unstrip", "merge", "edges"}) {
        const ProcessResult result = run({verb, marked, "-o", out, "--json"}, 0);
        EXPECT_THAT(Json::parse(result.out)["leftOut"].dump(), testing::HasSubstr("edge visibility")) << verb;
        EXPECT_EQ(glbJson(out).find("edge_visibility"), std::string::npos) << verb;
    }
    run({"validate", marked, "--strict"}, 0);
}

TEST_F(EdgesCommand, RefusesBorderWithVisibility) {
    const std::string file = write("a.glb", foldedModel());
    EXPECT_THAT(run({"edges", file, "-o", out, "--visibility", "--border"}, 2).err,
                testing::HasSubstr("use --classes border --visibility"));
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
