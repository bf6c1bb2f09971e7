#include "io/gltf/GltfCheck.h"

#include "base/Errors.h"
#include "support/SmallModels.h"

#include <functional>
#include <gtest/gtest.h>
#include <vexa/mesh/Types.h>

namespace {

using namespace tool_test;
using vexa::tool::MeshCheck;

/// The text of the `FormatError` for a small valid document after an edit; "" if it is still valid.
std::string faultAfter(const std::function<void(Json&)>& edit, MeshCheck check = MeshCheck::Full) {
    GltfModel model = gridModel(1, 1);
    Json& json = model.json;
    json["buffers"] = {{{"byteLength", model.binary.size()}}};
    edit(json);
    try {
        vexa::tool::checkDocument(json, check);
    } catch (const vexa::tool::FormatError& error) {
        return error.what();
    }
    return "";
}

TEST(CheckDocument, AcceptsAValidDocument) {
    EXPECT_EQ(faultAfter([](Json&) {}), "");
}

TEST(CheckDocument, RefusesOtherVersions) {
    EXPECT_EQ(faultAfter([](Json& json) { json.erase("asset"); }), "not glTF: \"asset\" is missing");
    EXPECT_EQ(faultAfter([](Json& json) { json["asset"]["version"] = "1.0"; }),
              "glTF version 1.0 is not supported, only 2 is");
    EXPECT_EQ(faultAfter([](Json& json) { json["asset"]["minVersion"] = "2.1"; }),
              "glTF version 2.1 is required, only 2.0 is supported");
    EXPECT_EQ(faultAfter([](Json& json) { json["asset"]["version"] = "2.1"; }), "");
}

TEST(CheckDocument, RefusesElementsThatAreNotObjects) {
    EXPECT_EQ(faultAfter([](Json& json) { json["cameras"] = {Json::object(), 7}; }), "cameras[1] is not an object");
    EXPECT_EQ(faultAfter([](Json& json) { json["meshes"][0]["primitives"].push_back(1); }),
              "meshes[0].primitives[1] is not an object");
    EXPECT_EQ(faultAfter([](Json& json) { json["meshes"][0]["primitives"][0]["targets"] = {1}; }),
              "meshes[0].primitives[0].targets[0] is not an object");
    EXPECT_EQ(faultAfter([](Json& json) {
                  json["animations"] = {{{"samplers", {1}}}};
              }),
              "animations[0].samplers[0] is not an object");
}

TEST(CheckDocument, RefusesReferencesBeyondTheirArray) {
    const auto refused = [](const char* pointer, const std::string& name, int size) {
        const std::string fault = faultAfter([&](Json& json) { json[Json::json_pointer(pointer)] = 9; });
        EXPECT_EQ(fault, name + " is 9, but there are only " + std::to_string(size));
    };
    refused("/bufferViews/1/buffer", "bufferViews[1].buffer", 1);
    refused("/accessors/0/bufferView", "accessors[0].bufferView", 2);
    refused("/meshes/0/primitives/0/indices", "meshes[0].primitives[0].indices", 2);
    refused("/meshes/0/primitives/0/attributes/POSITION", "meshes[0].primitives[0].attributes.POSITION", 2);
    refused("/scenes/0/nodes/0", "scenes[0].nodes", 1);
    refused("/nodes/0/mesh", "nodes[0].mesh", 1);
    refused("/scene", "scene", 1);
}

TEST(CheckDocument, RefusesReferencesOfUneditedPartsBeyondTheirArray) {
    EXPECT_EQ(faultAfter([](Json& json) {
                  json["images"] = {{{"bufferView", 2}}};
              }),
              "images[0].bufferView is 2, but there are only 2");
    EXPECT_EQ(faultAfter([](Json& json) {
                  json["skins"] = {{{"inverseBindMatrices", 2}}};
              }),
              "skins[0].inverseBindMatrices is 2, but there are only 2");
    EXPECT_EQ(faultAfter([](Json& json) {
                  json["animations"] = {{{"samplers", {{{"input", 0}, {"output", 2}}}}}};
              }),
              "animations[0].samplers[0].output is 2, but there are only 2");
}

TEST(CheckDocument, RefusesDataThatReachesTooFar) {
    EXPECT_EQ(faultAfter([](Json& json) { json["buffers"][0]["byteLength"] = 59; }),
              "bufferViews[1] reaches to byte 60 of buffers[0], which has 59");
    EXPECT_EQ(faultAfter([](Json& json) { json["accessors"][0]["count"] = 5; }),
              "accessors[0] reaches to byte 60 of bufferViews[0], which has 48");
    EXPECT_EQ(faultAfter([](Json& json) { json["accessors"][0]["count"] = 0; }), "accessors[0].count is 0");
    EXPECT_EQ(faultAfter([](Json& json) { json["bufferViews"][0]["byteStride"] = 8; }),
              "accessors[0] has elements of 12 bytes, which overlap at a byteStride of 8");
}

TEST(CheckDocument, RefusesASparseAccessorWithoutItsParts) {
    EXPECT_EQ(faultAfter([](Json& json) { json["accessors"][0]["sparse"]["count"] = 5; }),
              "accessors[0].sparse.count is 5, more than the accessor's");
    EXPECT_EQ(faultAfter([](Json& json) { json["accessors"][0]["sparse"]["count"] = 1; }),
              "accessors[0].sparse.indices.bufferView is missing");
}

TEST(CheckDocument, ComparesAttributeLengthsOnlyInFull) {
    const auto addShortNormals = [](Json& json) {
        json["accessors"].push_back(json["accessors"][0]);
        json["accessors"][2]["count"] = 3;
        json["meshes"][0]["primitives"][0]["attributes"]["NORMAL"] = 2;
    };
    EXPECT_EQ(faultAfter(addShortNormals),
              "meshes[0].primitives[0].attributes.NORMAL has 3 elements, another attribute 4");
    EXPECT_EQ(faultAfter(addShortNormals, MeshCheck::References), "");
}

TEST(CheckDocument, RefusesNodesThatFormNoTree) {
    EXPECT_EQ(faultAfter([](Json& json) { json["nodes"][0]["children"] = {0}; }), "nodes are children of themselves");
    EXPECT_EQ(faultAfter([](Json& json) {
                  json["nodes"] = {{{"children", {2}}}, {{"children", {2}}}, Json::object()};
              }),
              "nodes[2] has more than one parent");
}

TEST(ElementSize, PadsTheColumnsOfMatrices) {
    using vexa::tool::elementSize;
    EXPECT_EQ(elementSize(vexa::mesh::FLOAT, "VEC3"), 12u);
    EXPECT_EQ(elementSize(vexa::mesh::UNSIGNED_BYTE, "MAT2"), 8u);
    EXPECT_EQ(elementSize(vexa::mesh::UNSIGNED_BYTE, "MAT3"), 12u);
    EXPECT_EQ(elementSize(vexa::mesh::UNSIGNED_SHORT, "MAT3"), 24u);
    EXPECT_EQ(elementSize(vexa::mesh::FLOAT, "MAT4"), 64u);
    EXPECT_EQ(elementSize(vexa::mesh::INT, "SCALAR"), 0u);
    EXPECT_EQ(elementSize(vexa::mesh::FLOAT, "VEC5"), 0u);
}

} // namespace
