#include "ops/Weld.h"

#include "base/Errors.h"
#include "support/Documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::tool::Document;
using vexa::tool::Primitive;
using vexa::tool::WeldStats;
using vexa::tool::weldVertices;

/// Two triangles of a square that share no corner: 0 1 2, 1 3 2.
GltfModel separateModel() {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
    model.addMesh(positions, -1);
    return model;
}

const Primitive& primitiveOf(const Document& document, std::size_t index = 0) {
    return document.meshes.at(0).primitives.at(index);
}

const Json& positionsOf(const Document& document) {
    return document.asset.json["accessors"][primitiveOf(document).findAttribute("POSITION")->accessor];
}

void appendElement(const Document& document, const Json& accessor, unsigned int vertex, std::string& text) {
    const auto values = vexa::tool::readAccessor(document.asset, accessor.get<std::size_t>());
    const std::size_t size = values.elementSize();
    text.append(reinterpret_cast<const char*>(values.bytes.data()) + vertex * size, size);
}

/// The bytes of all attributes and morph targets at each index of a primitive.
std::vector<std::string> corners(const Document& document, std::size_t index = 0) {
    const Json& source = document.asset.json["meshes"][0]["primitives"][index];
    std::vector<std::string> result;
    for (const unsigned int vertex : primitiveOf(document, index).indices) {
        std::string text;
        for (const Json& accessor : source["attributes"]) {
            appendElement(document, accessor, vertex, text);
        }
        for (const Json& target : source.value("targets", Json::array())) {
            for (const Json& accessor : target) {
                appendElement(document, accessor, vertex, text);
            }
        }
        result.push_back(text);
    }
    return result;
}

TEST(WeldVertices, JoinsVerticesThatAreEqual) {
    Document document = documentOf(separateModel());
    const auto before = corners(document);
    const WeldStats stats = weldVertices(document, std::nullopt);
    EXPECT_EQ(stats.vertices, 6u);
    EXPECT_EQ(stats.joined, 2u);
    EXPECT_EQ(stats.differing + stats.collapsed, 0u);
    EXPECT_EQ(primitiveOf(document).vertices, 4u);
    EXPECT_THAT(primitiveOf(document).indices, ElementsAre(0, 1, 2, 1, 3, 2));
    EXPECT_EQ(corners(document), before);
    EXPECT_EQ(document.file, "model.glb");
}

TEST(WeldVertices, LeavesAModelWithoutEqualVerticesAsItIs) {
    Document document = documentOf(gridModel(3, 3));
    const Json before = document.asset.json;
    EXPECT_EQ(weldVertices(document, std::nullopt).joined, 0u);
    EXPECT_EQ(document.asset.json, before);
}

TEST(WeldVertices, VerticesThatDifferInAnyAttributeOrTargetStayApart) {
    for (const char* name : {"NORMAL", "COLOR_0", "_MINE", "JOINTS_0", "target POSITION", "target NORMAL"}) {
        GltfModel model = separateModel();
        // One of the two pairs differs.
        std::vector<float> values(18);
        values[9] = 1;
        const bool isTarget = std::string(name).starts_with("target ");
        Json& owner = isTarget ? model.primitive(0)["targets"][0] : model.primitive(0)["attributes"];
        if (std::string(name) == "JOINTS_0") {
            std::vector<std::uint8_t> joints(24);
            joints[12] = 1;
            owner[name] = model.addAccessor(joints, 5121, "VEC4");
        } else {
            owner[isTarget ? std::string(name).substr(7) : name] = model.addPositions(values);
        }
        Document document = documentOf(model);
        const auto before = corners(document);
        EXPECT_EQ(weldVertices(document, std::nullopt).joined, 1u) << name;
        EXPECT_EQ(corners(document), before) << name;
        const bool isKind = std::string(name) == "JOINTS_0" || std::string(name) == "target POSITION";
        Document near = documentOf(model);
        const WeldStats stats = weldVertices(near, 0.0);
        EXPECT_EQ(stats.joined, isKind ? 1u : 2u) << name;
        EXPECT_EQ(stats.differing, isKind ? 0u : 1u) << name;
    }
}

TEST(WeldVertices, TheFirstVertexKeepsItsAttributes) {
    GltfModel model = separateModel();
    model.primitive(0)["attributes"]["_ID"] = model.addAccessor(std::vector<float>{0, 1, 2, 3, 4, 5}, 5126, "SCALAR");
    Document document = documentOf(model);
    EXPECT_EQ(weldVertices(document, 0.0).differing, 2u);
    const auto ids = vexa::tool::readAccessor(document.asset, primitiveOf(document).findAttribute("_ID")->accessor);
    ASSERT_EQ(ids.count, 4u);
    EXPECT_THAT((std::vector{ids.component(0, 0), ids.component(1, 0), ids.component(2, 0), ids.component(3, 0)}),
                ElementsAre(0, 1, 2, 4));
}

TEST(WeldVertices, CountsTrianglesThatCollapse) {
    Document document = documentOf(gridModel(2, 1));
    EXPECT_EQ(weldVertices(document, 1.0).collapsed, 4u);
}

TEST(WeldVertices, PrimitivesThatShareVerticesGoOnSharingThem) {
    GltfModel model = separateModel();
    model.primitive(0)["indices"] = model.addIndices({0, 1, 2});
    model.json["meshes"][0]["primitives"].push_back(model.primitive(0));
    model.primitive(0, 1)["indices"] = model.addIndices({3, 4, 5});
    model.primitive(0, 1)["attributes"]["_ID"] = model.addAccessor(std::vector<float>(6), 5126, "SCALAR");
    Document document = documentOf(model);
    EXPECT_EQ(weldVertices(document, std::nullopt).joined, 2u);
    EXPECT_EQ(primitiveOf(document, 0).findAttribute("POSITION")->accessor,
              primitiveOf(document, 1).findAttribute("POSITION")->accessor);
    EXPECT_THAT(primitiveOf(document, 1).indices, ElementsAre(1, 3, 2));
    EXPECT_EQ(document.asset.json["accessors"].size(), 4u);
}

TEST(WeldVertices, DecodesSparseAndInterleavedAccessors) {
    GltfModel model;
    const std::vector<float> data{0, 0, 0, 9, 1, 0, 0, 9, 0, 1, 0, 9, 1, 0, 0, 8, 1, 1, 0, 8, 0, 1, 0, 8};
    const int view = model.addView(std::string(reinterpret_cast<const char*>(data.data()), data.size() * 4), 34962);
    model.json["bufferViews"].back()["byteStride"] = 16;
    const int elements = model.addView(std::string("\3", 1));
    const std::vector<float> replaced{0, 0, 0};
    const int values = model.addView(std::string(reinterpret_cast<const char*>(replaced.data()), 12));
    model.json["accessors"].push_back({{"bufferView", view},
                                       {"componentType", 5126},
                                       {"count", 6},
                                       {"type", "VEC3"},
                                       {"min", {0, 0, 0}},
                                       {"max", {1, 1, 0}},
                                       {"name", "corners"}});
    model.json["accessors"][0]["sparse"] = {{"count", 1},
                                            {"indices", {{"bufferView", elements}, {"componentType", 5121}}},
                                            {"values", {{"bufferView", values}}}};
    model.addMesh(0, -1);
    Document document = documentOf(model);
    const auto before = corners(document);
    EXPECT_EQ(weldVertices(document, std::nullopt).joined, 2u);
    EXPECT_THAT(primitiveOf(document).indices, ElementsAre(0, 1, 2, 0, 3, 2));
    EXPECT_EQ(corners(document), before);
    EXPECT_EQ(positionsOf(document)["name"], "corners");
}

TEST(WeldVertices, RecomputesBounds) {
    Document document = documentOf(gridModel(3, 1));
    weldVertices(document, 1.0);
    const Json& positions = positionsOf(document);
    EXPECT_EQ(positions["count"], 1);
    EXPECT_EQ(positions["min"], positions["max"]);
}

TEST(WeldVertices, KeepsRestartIndices) {
    GltfModel model = separateModel();
    model.json["extensionsUsed"] = model.json["extensionsRequired"] = {"KHR_mesh_primitive_restart"};
    model.primitive(0)["indices"] = model.addIndices({0, 1, 2, 65535, 3, 4, 5});
    model.primitive(0)["mode"] = 5;
    Document document = documentOf(model);
    weldVertices(document, std::nullopt);
    EXPECT_THAT(primitiveOf(document).indices, ElementsAre(0, 1, 2, 4294967295U, 1, 3, 2));
}

TEST(WeldVertices, QuantisedPositionsAreComparedAsTheyAreMeant) {
    GltfModel model;
    model.json["extensionsUsed"] = model.json["extensionsRequired"] = {"KHR_mesh_quantization"};
    const std::vector<std::uint16_t> values{0, 0, 0, 0, 65535, 0, 0, 0, 0, 65535, 0, 0, 6, 0, 0, 0};
    const int view = model.addView(std::string(reinterpret_cast<const char*>(values.data()), values.size() * 2), 34962);
    model.json["bufferViews"].back()["byteStride"] = 8;
    model.json["accessors"].push_back({{"bufferView", view},
                                       {"componentType", 5123},
                                       {"normalized", true},
                                       {"count", 4},
                                       {"type", "VEC3"},
                                       {"min", {0, 0, 0}},
                                       {"max", {65535, 65535, 0}}});
    model.addMesh(0, model.addIndices({0, 1, 2, 3, 1, 2}));
    Document document = documentOf(model);
    EXPECT_EQ(weldVertices(document, 1e-4).joined, 1u);
    EXPECT_THAT(primitiveOf(document).indices, ElementsAre(0, 1, 2, 0, 1, 2));
    EXPECT_EQ(positionsOf(document)["normalized"], true);
}

TEST(WeldVertices, ExtensionsThatMayReferToVerticesAreRefused) {
    GltfModel model = separateModel();
    model.json["extensionsUsed"] = {"CESIUM_primitive_outline"};
    model.primitive(0)["extensions"]["CESIUM_primitive_outline"]["indices"] = model.addIndices({0, 1});
    Document document = documentOf(model);
    try {
        weldVertices(document, std::nullopt);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const vexa::tool::FileError& error) {
        EXPECT_THAT(error.what(), HasSubstr("model.glb: mesh 0: the extension CESIUM_primitive_outline may refer"));
    }
}

} // namespace
