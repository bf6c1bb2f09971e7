#include "ops/EdgeVisibility.h"

#include "base/Errors.h"
#include "support/Documents.h"
#include "support/SmallModels.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <vexa/mesh/Strips.h>

namespace {

using namespace tool_test;
using vexa::mesh::EdgeClass;
using vexa::tool::Bytes;
using vexa::tool::Document;

const char* const extension = "EXT_mesh_primitive_edge_visibility";

/// Every edge at least once visible, whatever its class.
constexpr EdgeClass allClasses =
    EdgeClass::Smooth | EdgeClass::Border | EdgeClass::Crease | EdgeClass::Seam | EdgeClass::NonManifold;

struct Marked {
    std::vector<unsigned int> marks;
    std::size_t normals = 0;
};

Marked marksOf(const GltfModel& model, EdgeClass classes) {
    vexa::tool::EdgeFile file = markEdges(documentOf(model), {.classes = classes});
    EXPECT_EQ(file.findFault(file.file), "");
    const Document output = vexa::tool::loadDocument(file.file, "marked.glb");
    const auto& content = output.asset.json["meshes"][0]["primitives"][0]["extensions"][extension];
    const auto visibility = readAccessor(output.asset, content["visibility"].get<std::size_t>());
    Marked result;
    for (std::size_t i = 0; i < 4 * visibility.count; ++i) {
        result.marks.push_back(visibility.bytes[i / 4] >> i % 4 * 2 & 3U);
    }
    if (content.contains("silhouetteNormals")) {
        result.normals = readAccessor(output.asset, content["silhouetteNormals"].get<std::size_t>()).count;
    }
    return result;
}

/// Triangles among few vertices, on a curve so that no four of them are in one plane.
GltfModel tangleOf(const std::vector<unsigned int>& triangles, unsigned int vertices) {
    std::vector<float> positions;
    for (unsigned int v = 0; v < vertices; ++v) {
        const auto t = static_cast<float>(v);
        positions.insert(positions.end(), {t, t * t, t * t * t});
    }
    GltfModel model;
    const int accessor = model.addPositions(positions);
    model.addMesh(accessor, model.addIndices({triangles.begin(), triangles.end()}));
    return model;
}

std::pair<unsigned int, unsigned int> sideOf(const std::vector<unsigned int>& triangles, std::size_t corner) {
    const std::size_t next = corner % 3 == 2 ? corner - 2 : corner + 1;
    return std::minmax(triangles[corner], triangles[next]);
}

/// The number of triangles of each edge, collapsed ones aside.
std::map<std::pair<unsigned int, unsigned int>, int> countUses(const std::vector<unsigned int>& triangles) {
    std::map<std::pair<unsigned int, unsigned int>, int> uses;
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        const unsigned int* const t = &triangles[i / 3 * 3];
        uses[sideOf(triangles, i)] += t[0] != t[1] && t[1] != t[2] && t[2] != t[0] ? 1 : 0;
    }
    return uses;
}

TEST(MarkEdges, MarksEachVisibleEdgeOnceAndRepeatsIt) {
    const std::vector<unsigned int> triangles = randomTriangles(9, 60);
    const Marked marked = marksOf(tangleOf(triangles, 9), allClasses);
    const auto uses = countUses(triangles);
    std::map<std::pair<unsigned int, unsigned int>, int> seen;
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        const auto side = sideOf(triangles, i);
        const bool isEdge = side.first != side.second && uses.at(side) > 0;
        EXPECT_EQ(marked.marks[i], isEdge ? seen[side]++ == 0 ? 2U : 3U : 0U) << i;
    }
    EXPECT_EQ(marked.normals, 0u);
}

TEST(MarkEdges, MarksSilhouettesOnceWithTwoNormals) {
    const std::vector<unsigned int> triangles = randomTriangles(12, 30);
    const Marked marked = marksOf(tangleOf(triangles, 12), EdgeClass::Border);
    const auto uses = countUses(triangles);
    std::map<std::pair<unsigned int, unsigned int>, std::vector<unsigned int>> marks;
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        marks[sideOf(triangles, i)].push_back(marked.marks[i]);
    }
    std::size_t silhouettes = 0;
    for (const auto& [side, own] : marks) {
        const auto ones = static_cast<std::size_t>(std::count(own.begin(), own.end(), 1U));
        silhouettes += ones;
        if (side.first == side.second || uses.at(side) != 2) {
            EXPECT_EQ(ones, 0u);
        } else {
            EXPECT_EQ(own.front(), ones);
            EXPECT_EQ(std::count(own.begin(), own.end(), 0U), static_cast<long>(own.size() - ones));
        }
    }
    EXPECT_GT(silhouettes, 0u);
    EXPECT_EQ(marked.normals, 2 * silhouettes);
}

TEST(MarkEdges, NormalsFaceOutwardsWhereWindingsDisagree) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 0, 1, 0, -1, 0, 0, 0, 0, 1});
    model.addMesh(positions, model.addIndices({0, 1, 2, 0, 1, 3}));
    const auto file = markEdges(documentOf(model), {.classes = EdgeClass::Border});
    const Document output = vexa::tool::loadDocument(file.file, "marked.glb");
    const auto& content = output.asset.json["meshes"][0]["primitives"][0]["extensions"][extension];
    const auto normals = readAccessor(output.asset, content["silhouetteNormals"].get<std::size_t>());
    ASSERT_EQ(normals.count, 2u);
    EXPECT_EQ(normals.component(0, 2), 1);
    EXPECT_EQ(normals.component(1, 0), -1);
}

TEST(MarkEdges, FindsDamageToTheMarks) {
    const auto file = markEdges(documentOf(gridModel(2, 2)), {.classes = EdgeClass::Border});
    const Document output = vexa::tool::loadDocument(file.file, "marked.glb");
    const auto& content = output.asset.json["meshes"][0]["primitives"][0]["extensions"][extension];
    const auto& accessor = output.asset.model.accessors[content["visibility"].get<std::size_t>()];
    const auto& view = output.asset.model.bufferViews[static_cast<std::size_t>(accessor.bufferView)];
    std::vector<Bytes> buffers = output.asset.buffers;
    buffers[view.buffer][view.byteOffset + accessor.byteOffset] ^= 1;
    EXPECT_THAT(file.findFault(vexa::tool::writeGlb(output.asset.json, buffers)), testing::HasSubstr("marks"));
    auto json = output.asset.json;
    json["nodes"][0]["name"] = "other";
    EXPECT_THAT(file.findFault(vexa::tool::writeGlb(json, output.asset.buffers)),
                testing::HasSubstr("besides the marks"));
}

TEST(MarkEdges, IgnoresWhatFollowsTheLastWholeTriangle) {
    for (const std::vector<unsigned int>& triangles :
         {std::vector<unsigned int>{0, 1, 2, 3}, std::vector<unsigned int>{0, 1, 2, 3, 1}}) {
        EXPECT_EQ(marksOf(tangleOf(triangles, 4), allClasses).marks, (std::vector<unsigned int>{2, 2, 2, 0}));
    }
    const vexa::tool::EdgeFile file = markEdges(documentOf(tangleOf({0, 1}, 2)), {.classes = allClasses});
    EXPECT_EQ(file.meshes[0].triangles, 0u);
    EXPECT_EQ(file.findFault(file.file), "");
}

TEST(MarkEdges, WalksFansAsGltfDoes) {
    GltfModel model = tangleOf({0, 1, 2, 3}, 4);
    model.primitive(0)["mode"] = 6;
    // The triangles are 1 2 0 and 2 3 0. Their common edge 2-0 is smooth; all others are borders.
    EXPECT_EQ(marksOf(model, EdgeClass::Border).marks[0], 2u);
    EXPECT_EQ(marksOf(model, EdgeClass::Border).marks[2], 2u);
    EXPECT_NE(marksOf(model, EdgeClass::Border).marks[1], 2u) << "2-0 of the first triangle";
    EXPECT_NE(marksOf(model, EdgeClass::Border).marks[5], 2u) << "0-2 of the second one";
}

TEST(MarkEdges, RefusesGroupsOfStrips) {
    GltfModel model = tangleOf({0, 1, 2}, 3);
    model.json["meshes"][0]["extensions"]["EXT_mesh_primitive_restart"] = {
        {"primitiveGroups", {{{"primitives", {0}}, {"indices", 1}}}}};
    try {
        markEdges(documentOf(model), {.classes = allClasses});
        ADD_FAILURE() << "accepted";
    } catch (const vexa::tool::FileError& error) {
        EXPECT_NE(std::string(error.what()).find("`vexamesh unstrip`"), std::string::npos) << error.what();
    }
}

TEST(MarkEdges, RefusesPrimitivesWithoutPositions) {
    GltfModel model = gridModel(1, 1);
    model.primitive(0)["attributes"] = {{"_OTHER", model.primitive(0)["attributes"]["POSITION"]}};
    EXPECT_THROW(markEdges(documentOf(model), {.classes = EdgeClass::Border}), std::runtime_error);
}

} // namespace
