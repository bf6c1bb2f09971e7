#include "ops/IndexLimit.h"

#include "base/Errors.h"
#include "ops/StripFile.h"
#include "support/Documents.h"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using vexa::tool::Document;
using vexa::tool::FileError;
using vexa::tool::limitIndices;
namespace mesh = vexa::mesh;

Document limited(const GltfModel& model, unsigned int bits) {
    Document document = documentOf(model);
    limitIndices(document, bits);
    return document;
}

/// The corners of all triangles by their positions, sorted.
std::vector<std::array<double, 9>> cornersOf(const Document& document) {
    std::vector<std::array<double, 9>> corners;
    for (const auto& part : document.meshes) {
        for (const auto& primitive : part.primitives) {
            const auto positions = readAccessor(document.asset, primitive.findAttribute("POSITION")->accessor);
            const auto triangles = mesh::toTriangles(primitive.type, primitive.indices);
            for (std::size_t t = 0; t < triangles.size(); t += 3) {
                std::array<double, 9> triangle{};
                for (std::size_t i = 0; i < 9; ++i) {
                    triangle[i] = positions.component(triangles[t + i / 3], i % 3);
                }
                corners.push_back(triangle);
            }
        }
    }
    std::sort(corners.begin(), corners.end());
    return corners;
}

void expectBits(const Document& document, std::size_t bits) {
    for (const auto& part : document.meshes) {
        for (const auto& primitive : part.primitives) {
            EXPECT_LE(8 * mesh::getComponentSizeInBytes(primitive.indexType), bits);
        }
    }
}

TEST(LimitIndices, SplitsPrimitivesOfManyVertices) {
    const GltfModel model = gridModel(40, 40);
    const Document document = limited(model, 8);
    EXPECT_GT(document.meshes[0].primitives.size(), 6u);
    expectBits(document, 8);
    EXPECT_EQ(cornersOf(document), cornersOf(documentOf(model)));
}

TEST(LimitIndices, LeavesWhatFits) {
    const Document document = limited(gridModel(10, 10), 16);
    EXPECT_EQ(document.asset.json["accessors"], documentOf(gridModel(10, 10)).asset.json["accessors"]);
}

TEST(LimitIndices, NarrowsIndicesThatFit) {
    GltfModel model = gridModel(4, 4);
    model.addMesh(0, model.addIndices({0, 3, 3, 24}), 1);
    const Document document = limited(model, 8);
    expectBits(document, 8);
    EXPECT_THAT(document.meshes[1].primitives[0].indices, testing::ElementsAre(0, 3, 3, 24));
    EXPECT_EQ(document.meshes[0].primitives.size(), 1u);
}

TEST(LimitIndices, SplitsEveryAttributeAndMorphTarget) {
    GltfModel model = gridModel(30, 30);
    std::vector<float> numbers;
    std::vector<std::uint8_t> colours;
    for (int i = 0; i < 31 * 31; ++i) {
        const auto value = static_cast<float>(i);
        numbers.insert(numbers.end(), {value, 0, 0});
        colours.insert(colours.end(), {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i / 256), 0});
    }
    model.primitive(0)["attributes"]["_NUMBER"] = model.addAccessor(numbers, 5126, "VEC3");
    model.primitive(0)["targets"] = Json::array({{{"POSITION", model.addPositions(numbers)}}});
    model.primitive(0)["extras"] = "kept";
    const Document document = limited(model, 8);
    for (std::size_t p = 0; p < document.meshes[0].primitives.size(); ++p) {
        const Json& part = document.asset.json["meshes"][0]["primitives"][p];
        EXPECT_EQ(part["extras"], "kept");
        const auto read = [&](const Json& accessor) {
            return readAccessor(document.asset, accessor.get<std::size_t>());
        };
        const auto positions = read(part["attributes"]["POSITION"]);
        const auto number = read(part["attributes"]["_NUMBER"]);
        const auto moved = read(part["targets"][0]["POSITION"]);
        for (std::size_t v = 0; v < positions.count; ++v) {
            const double expected = positions.component(v, 1) * 31 + positions.component(v, 0);
            EXPECT_EQ(number.component(v, 0), expected);
            EXPECT_EQ(moved.component(v, 0), expected);
        }
    }
}

TEST(LimitIndices, SharesThePartsOfMeshesThatShareTheirData) {
    GltfModel model = gridModel(40, 40);
    model.addMesh(0, 1);
    const Document document = limited(model, 8);
    EXPECT_EQ(document.asset.json["meshes"][0], document.asset.json["meshes"][1]);
}

TEST(LimitIndices, RemovesTheDataOfTheInput) {
    const GltfModel model = gridModel(40, 40);
    const Document document = limited(model, 8);
    EXPECT_EQ(document.asset.json["accessors"].size(), 2 * document.meshes[0].primitives.size());
}

void expectRefusal(const GltfModel& model, const std::string& what) {
    Document document = documentOf(model, "car.glb");
    try {
        limitIndices(document, 8);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const FileError& error) {
        EXPECT_THAT(error.what(), HasSubstr("car.glb: " + what));
    }
}

TEST(LimitIndices, RefusesLinesOfManyVertices) {
    GltfModel model = gridModel(40, 40);
    model.primitive(0)["mode"] = 1;
    expectRefusal(model, "mesh 0: its indices do not fit 8 bits, and only triangles can be split");
}

TEST(LimitIndices, RefusesExtensionsThatMayReferToVertices) {
    GltfModel model = gridModel(40, 40);
    model.primitive(0)["extensions"]["ACME_seams"] = {{"edges", 1}};
    model.json["extensionsUsed"] = {"ACME_seams"};
    expectRefusal(model, "mesh 0: the extension ACME_seams may refer to its vertices");
}

TEST(LimitIndices, KeepsTheFiguresOfTheInput) {
    GltfModel model = gridModel(40, 40);
    std::vector<std::uint16_t> indices = makeGrid(40, 40).indices;
    indices.insert(indices.end(), {7, 7, 8});
    model.primitive(0)["indices"] = model.addIndices(indices);
    vexa::tool::StripSettings settings;
    settings.indexBits = 8;
    auto outcome = vexa::tool::stripDocument(documentOf(model), settings, {});
    EXPECT_EQ(vexa::tool::readBackStrips(outcome), "");
    EXPECT_EQ(outcome.total.degenerate, 1u);
    EXPECT_EQ(outcome.total.indicesBefore, 9603u);
    EXPECT_EQ(outcome.meshes[0].primitivesBefore, 1u);
}

TEST(LimitIndices, HoldsForTheStripsOfEveryJoin) {
    GltfModel model = gridModel(40, 40);
    model.addMesh(0, model.addIndices({0, 3, 3, 24}), 1);
    for (const auto joining : {vexa::tool::Joining::Degenerate, vexa::tool::Joining::Restart,
                               vexa::tool::Joining::RestartFallback, vexa::tool::Joining::None}) {
        vexa::tool::StripSettings settings;
        settings.indexBits = 8;
        settings.joining = joining;
        auto outcome = vexa::tool::stripDocument(documentOf(model), settings, {});
        EXPECT_EQ(vexa::tool::readBackStrips(outcome), "");
        const Document output = vexa::tool::loadDocument(outcome.file, "output.glb");
        for (const Json& accessor : output.asset.json["accessors"]) {
            EXPECT_TRUE(accessor["type"] != "SCALAR" || accessor["componentType"] == 5121) << accessor;
        }
        EXPECT_EQ(outcome.total.triangles, 3200u);
        EXPECT_EQ(outcome.before.primitives, 2u);
        EXPECT_EQ(outcome.total.primitivesBefore, 1u);
        EXPECT_EQ(outcome.total.bytesBefore, 2u * 9600);
    }
}

} // namespace
