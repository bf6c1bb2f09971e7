// Writing new indices and removing the old ones.

#include "io/gltf/IndexEdit.h"
#include "base/Errors.h"
#include "io/AssetBuilder.h"
#include "io/Document.h"
#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using vexa::tool::Asset;
using vexa::tool::IndexEdit;
namespace mesh = vexa::mesh;

Asset assetOf(const GltfModel& model) {
    const std::string file = model.glb();
    return vexa::tool::readGltf({file.begin(), file.end()}, "");
}

IndexEdit edit(std::size_t mesh, const std::vector<std::vector<unsigned int>>& strips) {
    IndexEdit result{mesh, 0, {}};
    for (const auto& strip : strips) {
        result.replacements.push_back({mesh::TRIANGLE_STRIP, strip});
    }
    return result;
}

/// The document after writing it and reading it back.
vexa::tool::Document written(const Asset& asset) {
    return vexa::tool::loadDocument(vexa::tool::writeGlb(asset.json, asset.buffers), "written.glb");
}

TEST(ReplaceIndices, ReplacesTheOldIndicesInPlace) {
    Asset asset = assetOf(gridModel(2, 2));
    const std::size_t accessors = asset.json["accessors"].size();
    const auto edited = vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 3, 4}})});
    EXPECT_EQ(edited[0].accessors, std::vector<std::size_t>{1});
    EXPECT_EQ(asset.json["accessors"].size(), accessors);
    EXPECT_EQ(asset.json["bufferViews"].size(), 2u);
    EXPECT_EQ(written(asset).meshes[0].primitives[0].indices, (std::vector<unsigned int>{0, 1, 3, 4}));
}

/// Three strips with the same vertices.
GltfModel threeStrips() {
    GltfModel model = gridModel(2, 2);
    model.primitive(0)["mode"] = 5;
    for (int i = 0; i < 2; ++i) {
        Json other = model.primitive(0);
        other["indices"] = model.addIndices({4, 5, 7, 8});
        model.json["meshes"][0]["primitives"].push_back(other);
    }
    return model;
}

TEST(ReplaceIndices, MakesOnePrimitiveOfNeighbours) {
    Asset asset = assetOf(threeStrips());
    IndexEdit edit{0, 1, {{mesh::TRIANGLES, {4, 5, 7}}}};
    edit.count = 2;
    const auto edited = vexa::tool::replaceIndices(asset, {edit});
    EXPECT_EQ(edited[0].firstPrimitive, 1u);
    const auto document = written(asset);
    ASSERT_EQ(document.meshes[0].primitives.size(), 2u);
    EXPECT_EQ(document.meshes[0].primitives[0].indices.size(), 24u);
    EXPECT_EQ(document.meshes[0].primitives[1].indices, (std::vector<unsigned int>{4, 5, 7}));
    EXPECT_EQ(asset.json["accessors"].size(), 3u);
}

TEST(ReplaceIndices, KeepsAccessorsOfNeighboursThatAnUnknownExtensionMayNeed) {
    GltfModel model = threeStrips();
    model.json["extensions"]["ACME_notes"] = {{"page", 3}};
    model.json["extensionsUsed"] = {"ACME_notes"};
    Asset asset = assetOf(model);
    IndexEdit edit{0, 0, {{mesh::TRIANGLES, {4, 5, 7}}}};
    edit.count = 3;
    vexa::tool::replaceIndices(asset, {edit});
    const auto document = written(asset);
    EXPECT_EQ(document.meshes[0].primitives.size(), 1u);
    EXPECT_EQ(document.meshes[0].primitives[0].indices, (std::vector<unsigned int>{4, 5, 7}));
    EXPECT_EQ(asset.json["accessors"].size(), 4u);
}

TEST(ReplaceIndices, DropsTheOldBytes) {
    const GltfModel model = gridModel(20, 10);
    Asset asset = assetOf(model);
    vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 2}})});
    const auto file = vexa::tool::writeGlb(asset.json, asset.buffers);
    EXPECT_LT(file.size() + 1100, model.glb().size());
}

TEST(ReplaceIndices, SeveralPrimitivesKeepTheMembersOfTheOneTheyReplace) {
    GltfModel model = gridModel(2, 2);
    model.json["materials"] = Json::array({Json::object()});
    model.primitive(0)["material"] = 0;
    model.json["meshes"][0]["primitives"].push_back(model.primitive(0));
    model.primitive(0, 1)["mode"] = 1;
    model.primitive(0, 1)["indices"] = model.addIndices({0, 1});
    Asset asset = assetOf(model);
    const auto edited = vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 3}, {1, 4, 3}, {4, 5, 8}})});
    EXPECT_EQ(edited[0].firstPrimitive, 0u);
    EXPECT_EQ(edited[0].count, 3u);
    const auto document = written(asset);
    ASSERT_EQ(document.meshes[0].primitives.size(), 4u);
    EXPECT_EQ(document.meshes[0].primitives[2].indices, (std::vector<unsigned int>{4, 5, 8}));
    EXPECT_EQ(document.meshes[0].primitives[3].type, mesh::LINES);
    EXPECT_EQ(document.asset.json["meshes"][0]["primitives"][2]["material"], 0);
}

TEST(ReplaceIndices, SharedIndicesStayShared) {
    GltfModel model = gridModel(2, 2);
    model.addMesh(0, 1);
    Asset asset = assetOf(model);
    const auto edited = vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 3}}), edit(1, {{0, 1, 3}})});
    EXPECT_EQ(edited[0].accessors, edited[1].accessors);
    EXPECT_EQ(asset.json["accessors"].size(), 2u);
}

TEST(ReplaceIndices, SharedIndicesThatBecomeDifferentAreSeparated) {
    GltfModel model = gridModel(2, 2);
    model.addMesh(0, 1);
    Asset asset = assetOf(model);
    vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 3}}), edit(1, {{4, 5, 7}})});
    const auto document = written(asset);
    EXPECT_EQ(document.meshes[0].primitives[0].indices, (std::vector<unsigned int>{0, 1, 3}));
    EXPECT_EQ(document.meshes[1].primitives[0].indices, (std::vector<unsigned int>{4, 5, 7}));
}

TEST(ReplaceIndices, TheRestOfASharedBufferViewMovesUp) {
    GltfModel model = gridModel(4, 4);
    // Three index lists in one buffer view; the second one is of lines.
    model.json["accessors"][1]["count"] = 6;
    for (int i = 1; i < 3; ++i) {
        Json accessor = model.json["accessors"][1];
        accessor["byteOffset"] = 12 * i;
        model.json["accessors"].push_back(accessor);
    }
    const std::vector<std::uint16_t> indices{0, 1, 5, 1, 6, 5, 2, 3, 7, 8, 0, 1, 2, 3, 7, 3, 8, 7};
    model.binary.replace(model.json["bufferViews"][1]["byteOffset"].get<std::size_t>(), 36,
                         std::string(reinterpret_cast<const char*>(indices.data()), 36));
    model.addMesh(0, 2, 1);
    model.addMesh(0, 3);
    Asset asset = assetOf(model);
    vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 5, 6}}), edit(2, {{2, 3, 7, 8}})});
    const auto document = written(asset);
    EXPECT_EQ(document.meshes[0].primitives[0].indices, (std::vector<unsigned int>{0, 1, 5, 6}));
    EXPECT_EQ(document.meshes[1].primitives[0].indices, (std::vector<unsigned int>{2, 3, 7, 8, 0, 1}));
    EXPECT_EQ(document.meshes[2].primitives[0].indices, (std::vector<unsigned int>{2, 3, 7, 8}));
    EXPECT_EQ(document.asset.json["bufferViews"].size(), 2u);
    EXPECT_EQ(document.asset.json["bufferViews"][1]["byteLength"], 20);
}

TEST(ReplaceIndices, SparseIndicesBecomePlainAndTheirViewsAreRemoved) {
    GltfModel model = gridModel(2, 2);
    const int where = model.addView(std::string("\x00", 1));
    const int what = model.addView(std::string("\x04\x00", 2));
    model.json["accessors"][1]["sparse"] = {{"count", 1},
                                            {"indices", {{"bufferView", where}, {"componentType", 5121}}},
                                            {"values", {{"bufferView", what}}}};
    model.addMesh(0, model.addIndices({0, 1, 3}), 1);
    Asset asset = assetOf(model);
    EXPECT_EQ(written(asset).meshes[0].primitives[0].indices[0], 4u);
    vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 3}})});
    EXPECT_FALSE(asset.json["accessors"][1].contains("sparse"));
    EXPECT_EQ(asset.json["bufferViews"].size(), 3u);
    EXPECT_EQ(written(asset).meshes[1].primitives[0].indices, (std::vector<unsigned int>{0, 1, 3}));
}

TEST(ReplaceIndices, UpdatesTheBoundsOfIndices) {
    GltfModel model = gridModel(2, 2);
    model.json["accessors"][1]["min"] = Json::array({0});
    model.json["accessors"][1]["max"] = Json::array({8});
    Asset asset = assetOf(model);
    vexa::tool::replaceIndices(asset, {edit(0, {{1, 2, 4, 5}})});
    EXPECT_EQ(asset.json["accessors"][1]["min"], Json::array({1}));
    EXPECT_EQ(asset.json["accessors"][1]["max"], Json::array({5}));
}

TEST(ReplaceIndices, KeepsEverythingAnUnknownExtensionMayReferTo) {
    GltfModel model = gridModel(2, 2);
    model.json["extensionsUsed"] = {"ACME_secret"};
    model.json["meshes"][0]["extensions"] = {{"ACME_secret", {{"list", {0, 1}}}}};
    Asset asset = assetOf(model);
    vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 3}})});
    EXPECT_EQ(asset.json["accessors"][1], model.json["accessors"][1]);
    EXPECT_EQ(asset.json["bufferViews"][1], model.json["bufferViews"][1]);
    EXPECT_EQ(asset.json["extensionsUsed"], model.json["extensionsUsed"]);
    EXPECT_EQ(written(asset).meshes[0].primitives[0].indices, (std::vector<unsigned int>{0, 1, 3}));
}

TEST(ReplaceIndices, NumbersInAKnownExtensionAreNotReferences) {
    GltfModel model = gridModel(2, 2);
    model.json["extensionsUsed"] = {"KHR_materials_ior"};
    model.json["materials"] = Json::parse(R"([{"extensions":{"KHR_materials_ior":{"ior":1}}}])");
    Asset asset = assetOf(model);
    vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 3}})});
    EXPECT_EQ(asset.json["accessors"].size(), 2u);
}

TEST(ReplaceIndices, RefusesAnUnknownExtensionThatUsesABuffer) {
    GltfModel model = gridModel(2, 2);
    model.json["bufferViews"][0]["extensions"] = {{"ACME_packed", {{"buffer", 0}, {"byteOffset", 3}}}};
    Asset asset = assetOf(model);
    EXPECT_THROW(vexa::tool::replaceIndices(asset, {edit(0, {{0, 1, 3}})}), vexa::tool::FormatError);
}

TEST(WriteGlb, OverlappingBufferViewsAreStoredOnce) {
    GltfModel model = gridModel(2, 2);
    model.json["bufferViews"].push_back(model.json["bufferViews"][0]);
    model.json["bufferViews"][2]["byteOffset"] = 12;
    model.json["bufferViews"][2]["byteLength"] = 96;
    const Asset asset = assetOf(model);
    const auto file = vexa::tool::writeGlb(asset.json, asset.buffers);
    EXPECT_LE(file.size(), model.glb().size());
    const auto document = vexa::tool::loadDocument(file, "written.glb");
    EXPECT_EQ(document.asset.buffers[0], asset.buffers[0]);
}

} // namespace
