#include "ops/Merging.h"

#include "base/Errors.h"
#include "support/Documents.h"

#include <cstring>
#include <glm/gtc/matrix_transform.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::tool::Document;
using vexa::tool::FormatError;
using vexa::tool::MergedGroup;
using vexa::tool::Merger;
namespace mesh = vexa::mesh;

const glm::dmat4 inPlace(1);
const glm::dmat4 mirrored = glm::scale(glm::dmat4(1), glm::dvec3(-1, 1, 1));

/// One triangle in the plane z = 0.
GltfModel triangleModel() {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2}));
    return model;
}

GltfModel modelOf(const std::vector<std::uint16_t>& indices, int mode) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0, 2, 2, 0});
    model.addMesh(positions, model.addIndices(indices), mode);
    return model;
}

std::vector<unsigned long> indicesOf(const MergedGroup& group) {
    std::vector<unsigned long> indices;
    for (unsigned long i = 0; i < group.mesh->getIndexBuffer()->getElementCount(); ++i) {
        indices.push_back(group.mesh->getIndexBuffer()->getElement(i));
    }
    return indices;
}

template <std::size_t Count>
std::array<float, Count> elementOf(const MergedGroup& group, const std::string& name, unsigned long index) {
    std::array<float, Count> element{};
    group.mesh->getAttributeBuffer(name)->getElement(index, element.data());
    return element;
}

TEST(Merger, AppendsPrimitivesOfOneLayout) {
    Merger merger;
    merger.add(documentOf(triangleModel()), inPlace);
    merger.add(documentOf(gridModel(1, 1)), glm::translate(inPlace, glm::dvec3(5, 6, 7)));
    ASSERT_EQ(merger.groups().size(), 1u);
    const MergedGroup& group = merger.groups()[0];
    EXPECT_EQ(group.parts, 2u);
    EXPECT_EQ(group.layout, "TRIANGLES, POSITION VEC3 float");
    EXPECT_THAT(indicesOf(group), ElementsAre(0, 1, 2, 3, 4, 5, 4, 6, 5));
    EXPECT_THAT(elementOf<3>(group, "position", 3), ElementsAre(5, 6, 7));
}

TEST(Merger, KeepsLayoutsAndMaterialsApart) {
    GltfModel painted = triangleModel();
    painted.json["materials"] = Json::parse(R"([{"name":"red"}])");
    painted.primitive(0)["material"] = 0;
    GltfModel withNormals = triangleModel();
    withNormals.primitive(0)["attributes"]["NORMAL"] = 0;
    Merger merger;
    for (const GltfModel& model : {triangleModel(), painted, withNormals, painted}) {
        merger.add(documentOf(model), inPlace);
    }
    ASSERT_EQ(merger.groups().size(), 3u);
    EXPECT_EQ(merger.groups()[0].material, std::nullopt);
    EXPECT_EQ(merger.groups()[1].material, 0u);
    EXPECT_EQ(merger.groups()[1].parts, 2u);
    EXPECT_EQ(merger.groups()[2].layout, "TRIANGLES, POSITION VEC3 float, NORMAL VEC3 float");
}

TEST(Merger, ReversesTheWindingWhereThePlacementMirrors) {
    Merger merger;
    merger.add(documentOf(triangleModel()), mirrored);
    EXPECT_THAT(indicesOf(merger.groups().at(0)), ElementsAre(0, 2, 1));
    EXPECT_THAT(elementOf<3>(merger.groups()[0], "position", 1), ElementsAre(-1, 0, 0));
}

TEST(Merger, KeepsTheWindingWhereNodeAndPlacementBothMirror) {
    GltfModel model = triangleModel();
    model.json["nodes"][0]["scale"] = {1, 1, -1};
    Merger merger;
    merger.add(documentOf(model), mirrored);
    EXPECT_THAT(indicesOf(merger.groups().at(0)), ElementsAre(0, 1, 2));
}

TEST(Merger, TurnsTangentsAndFlipsTheirSignWhereMirrored) {
    GltfModel model = triangleModel();
    model.primitive(0)["attributes"]["TANGENT"] =
        model.addAccessor(std::vector<float>{1, 0, 0, 1, 0, 0, 0, 1, 0, 1, 0, -1}, 5126, "VEC4");
    Merger merger;
    merger.add(documentOf(model), glm::scale(glm::dmat4(1), glm::dvec3(-3, 2, 1)));
    const MergedGroup& group = merger.groups().at(0);
    EXPECT_THAT(elementOf<4>(group, "TANGENT", 0), ElementsAre(-1, 0, 0, -1));
    EXPECT_THAT(elementOf<4>(group, "TANGENT", 1), ElementsAre(0, 0, 0, -1));
    EXPECT_THAT(elementOf<4>(group, "TANGENT", 2), ElementsAre(0, 1, 0, 1));
}

TEST(Merger, TurnsNormalsAlikeAtAnyScale) {
    for (const double scale : {1.0, 1e-3, 1e-12}) {
        GltfModel model = triangleModel();
        model.primitive(0)["attributes"]["NORMAL"] = model.addPositions({0.6F, 0, 0.8F, 0, 0, 1, 0, 1, 0});
        Merger merger;
        merger.add(documentOf(model), glm::scale(glm::dmat4(1), glm::dvec3(scale, scale, scale / 2)));
        // Proportional to (0.6, 0, 1.6).
        const auto normal = elementOf<3>(merger.groups()[0], "normal", 0);
        EXPECT_NEAR(normal[0] / normal[2], 0.375, 1e-6) << scale;
        EXPECT_GT(normal[2], 0) << scale;
    }
}

TEST(Merger, MakesListsOfStripsAndFans) {
    Merger merger;
    merger.add(documentOf(modelOf({0, 1, 2, 3}, 5)), inPlace);
    merger.add(documentOf(modelOf({0, 1, 3, 2}, 6)), inPlace);
    EXPECT_THAT(indicesOf(merger.groups().at(0)), ElementsAre(0, 1, 2, 1, 3, 2, 5, 6, 8, 5, 8, 7));
}

TEST(Merger, MakesPairsOfLineStripsAndClosesLoops) {
    Merger merger;
    merger.add(documentOf(modelOf({0, 1, 2}, 3)), inPlace);
    merger.add(documentOf(modelOf({0, 1, 2}, 2)), inPlace);
    EXPECT_EQ(merger.groups().at(0).mesh->getPrimitiveType(), mesh::LINES);
    EXPECT_THAT(indicesOf(merger.groups()[0]), ElementsAre(0, 1, 1, 2, 5, 6, 6, 7, 7, 5));
}

TEST(Merger, DropsTheUnpairedIndexOfALineList) {
    Merger merger;
    merger.add(documentOf(modelOf({0, 1, 2, 3, 4}, 1)), inPlace);
    EXPECT_THAT(indicesOf(merger.groups().at(0)), ElementsAre(0, 1, 2, 3));
}

TEST(Merger, KeepsPointsAsTheyAre) {
    Merger merger;
    merger.add(documentOf(modelOf({4, 0}, 0)), mirrored);
    EXPECT_EQ(merger.groups().at(0).mesh->getPrimitiveType(), mesh::POINTS);
    EXPECT_THAT(indicesOf(merger.groups()[0]), ElementsAre(4, 0));
}

TEST(Merger, SkipsPrimitivesWithoutTriangles) {
    Merger merger;
    merger.add(documentOf(modelOf({0, 1, 1}, 4)), inPlace);
    EXPECT_TRUE(merger.groups().empty());
}

TEST(Merger, ReturnsWhatIsLeftOut) {
    GltfModel model = triangleModel();
    model.primitive(0)["targets"] = Json::array({{{"POSITION", 0}}});
    model.addMesh(0, 1);
    model.primitive(1)["attributes"] = {{"_POSITION", 0}};
    Merger merger;
    EXPECT_THAT(merger.add(documentOf(model), inPlace), ElementsAre("morph targets", "mesh 1, which has no positions"));
    EXPECT_THAT(merger.add(documentOf(triangleModel()), inPlace), ElementsAre());
}

/// Two primitives of one mesh that share their vertices.
GltfModel sharedModel() {
    GltfModel model = modelOf({0, 1, 2}, 4);
    model.json["meshes"][0]["primitives"].push_back(model.primitive(0));
    model.primitive(0, 1)["indices"] = model.addIndices({1, 3, 2});
    return model;
}

TEST(Merger, PrimitivesThatShareVerticesGoOnSharingThem) {
    Merger merger;
    merger.add(documentOf(sharedModel()), inPlace);
    ASSERT_EQ(merger.groups().size(), 1u);
    EXPECT_EQ(merger.groups()[0].mesh->getAttributeBuffer(0)->getElementCount(), 5u);
    EXPECT_THAT(indicesOf(merger.groups()[0]), ElementsAre(0, 1, 2, 1, 3, 2));
}

TEST(Merger, SharedVerticesAreRepeatedForEachPlace) {
    Merger merger;
    merger.add(documentOf(sharedModel()), inPlace);
    merger.add(documentOf(sharedModel()), mirrored);
    EXPECT_EQ(merger.groups().at(0).mesh->getAttributeBuffer(0)->getElementCount(), 10u);
    EXPECT_THAT(indicesOf(merger.groups()[0]), ElementsAre(0, 1, 2, 1, 3, 2, 5, 7, 6, 6, 7, 8));
    EXPECT_THAT(elementOf<3>(merger.groups()[0], "position", 6), ElementsAre(-1, 0, 0));
}

TEST(Merger, PrimitivesOfDifferentMaterialsShareAccessors) {
    GltfModel model = sharedModel();
    model.json["materials"] = Json::parse(R"([{"name":"red"}])");
    model.primitive(0, 1)["material"] = 0;
    model.json["nodes"].push_back({{"mesh", 0}, {"translation", {5, 0, 0}}});
    model.json["scenes"][0]["nodes"] = {0, 1};
    Merger merger;
    merger.add(documentOf(model), inPlace);
    const vexa::tool::Bytes file = merger.finish();
    const Document document = vexa::tool::loadDocument(file, "merged.glb");
    const auto& primitives = document.meshes.at(0).primitives;
    ASSERT_EQ(primitives.size(), 2u);
    EXPECT_EQ(primitives[0].attributes[0].accessor, primitives[1].attributes[0].accessor);
    EXPECT_EQ(primitives[0].vertices, 10u);
    EXPECT_THAT(primitives[1].indices, ElementsAre(1, 3, 2, 6, 8, 7));
    EXPECT_EQ(merger.findFault(file), "");
}

TEST(Merger, NoticesChangedMaterials) {
    GltfModel model = triangleModel();
    model.json["materials"] = Json::parse(R"([{"name":"red"}])");
    model.primitive(0)["material"] = 0;
    Merger merger;
    merger.add(documentOf(model), inPlace);
    vexa::tool::Bytes file = merger.finish();
    const std::string name = "\"red\"";
    const auto at = std::search(file.begin(), file.end(), name.begin(), name.end());
    ASSERT_NE(at, file.end());
    at[1] = 'b';
    EXPECT_THAT(merger.findFault(file), HasSubstr("materials"));
}

TEST(Merger, JoinsCopyrights) {
    GltfModel model = triangleModel();
    Merger merger;
    for (const char* owner : {"2024 Ann", "2025 Bob", "2024 Ann"}) {
        model.json["asset"]["copyright"] = owner;
        merger.add(documentOf(model), inPlace);
    }
    const Document document = vexa::tool::loadDocument(merger.finish(), "merged.glb");
    EXPECT_EQ(document.asset.json["asset"]["copyright"], "2024 Ann; 2025 Bob");
}

TEST(Merger, RequiresQuantizationForCoordinatesThatNeedIt) {
    GltfModel model = triangleModel();
    model.json["extensionsUsed"] = model.json["extensionsRequired"] = {"KHR_mesh_quantization"};
    const int view = model.addView(std::string(24, '\1'));
    model.json["bufferViews"].back()["byteStride"] = 4;
    model.json["accessors"].push_back({{"bufferView", view}, {"componentType", 5122}, {"count", 3}, {"type", "VEC2"}});
    model.primitive(0)["attributes"]["TEXCOORD_0"] = 2;
    Merger merger;
    merger.add(documentOf(model), inPlace);
    const Document document = vexa::tool::loadDocument(merger.finish(), "merged.glb");
    EXPECT_EQ(document.asset.json["extensionsRequired"], Json({"KHR_mesh_quantization"}));
    EXPECT_EQ(document.asset.json["extensionsUsed"], Json({"KHR_mesh_quantization"}));
}

TEST(Merger, LeavesOutJointsAndWeights) {
    GltfModel model = triangleModel();
    model.primitive(0)["attributes"]["JOINTS_0"] = model.addAccessor(std::vector<std::uint8_t>(12), 5121, "VEC4");
    model.primitive(0)["attributes"]["WEIGHTS_0"] = model.addAccessor(std::vector<float>(12), 5126, "VEC4");
    Merger merger;
    merger.add(documentOf(model), inPlace);
    EXPECT_EQ(merger.groups().at(0).layout, "TRIANGLES, POSITION VEC3 float");
}

TEST(Merger, RefusesNormalsOfAnotherTypeAndNamesTheFile) {
    GltfModel model = triangleModel();
    model.primitive(0)["attributes"]["NORMAL"] = model.addAccessor(std::vector<float>(6), 5126, "VEC2");
    Merger merger;
    try {
        merger.add(documentOf(model), inPlace);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const vexa::tool::FileError& error) {
        EXPECT_THAT(error.what(), HasSubstr("model.glb: mesh 0"));
        EXPECT_THAT(error.what(), HasSubstr("NORMAL"));
    }
}

TEST(MergerFinish, RefusesToWriteNothing) {
    Merger merger;
    EXPECT_THROW(merger.finish(), FormatError);
}

TEST(MergerFinish, WritesOnePrimitivePerGroupIntoOneMesh) {
    Merger merger;
    merger.add(documentOf(triangleModel()), inPlace);
    merger.add(documentOf(modelOf({0, 1}, 1)), inPlace);
    const Document document = vexa::tool::loadDocument(merger.finish(), "merged.glb");
    ASSERT_EQ(document.meshes.size(), 1u);
    EXPECT_EQ(document.meshes[0].name, "merged");
    ASSERT_EQ(document.meshes[0].primitives.size(), 2u);
    EXPECT_EQ(document.meshes[0].primitives[0].type, mesh::TRIANGLES);
    EXPECT_EQ(document.meshes[0].primitives[1].type, mesh::LINES);
}

TEST(MergerFinish, KeepsTangentsThatThePlacementFlattens) {
    GltfModel model = triangleModel();
    const std::vector<float> normals{0, 0, 1, 0, 0, 1, 0, 0, 1};
    const std::vector<float> tangents{1, 0, 0, 1, 1, 0, 0, -1, 0, 1, 0, 1};
    model.primitive(0)["attributes"]["NORMAL"] = model.addAccessor(normals, 5126, "VEC3");
    model.primitive(0)["attributes"]["TANGENT"] = model.addAccessor(tangents, 5126, "VEC4");
    Merger merger;
    merger.add(documentOf(model), glm::scale(inPlace, glm::dvec3(0, 1, 1)));
    merger.finish();
    const MergedGroup& group = merger.groups()[0];
    for (unsigned long i = 0; i < 3; ++i) {
        const auto tangent = elementOf<4>(group, "TANGENT", i);
        const auto normal = elementOf<3>(group, "normal", i);
        EXPECT_FLOAT_EQ(tangent[0] * tangent[0] + tangent[1] * tangent[1] + tangent[2] * tangent[2], 1) << i;
        EXPECT_NEAR(tangent[0] * normal[0] + tangent[1] * normal[1] + tangent[2] * normal[2], 0, 1e-6) << i;
        EXPECT_EQ(tangent[3], tangents[4 * i + 3]) << i;
    }
}

TEST(MergerFinish, GivesNormalsUnitLength) {
    GltfModel model = triangleModel();
    model.primitive(0)["attributes"]["NORMAL"] = model.addPositions({0.6F, 0, 0.8F, 0, 0, 1, 0, 0, 0});
    Merger merger;
    merger.add(documentOf(model), inPlace);
    merger.finish();
    EXPECT_THAT(elementOf<3>(merger.groups().at(0), "normal", 0),
                ElementsAre(testing::FloatNear(0.6F, 1e-6F), 0, testing::FloatNear(0.8F, 1e-6F)));
    EXPECT_THAT(elementOf<3>(merger.groups()[0], "normal", 2), ElementsAre(0, 0, 1));
}

} // namespace
