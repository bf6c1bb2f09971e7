#include "ops/MeshConversion.h"

#include "support/Documents.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using vexa::tool::AccessorData;
using vexa::tool::toFloats;
namespace mesh = vexa::mesh;
namespace tool = vexa::tool;

template <typename T>
AccessorData valuesOf(const std::vector<T>& values, mesh::ComponentType type, bool normalized) {
    AccessorData data;
    data.componentType = type;
    data.type = "SCALAR";
    data.normalized = normalized;
    data.components = 1;
    data.count = values.size();
    data.bytes.resize(values.size() * sizeof(T));
    std::memcpy(data.bytes.data(), values.data(), data.bytes.size());
    return data;
}

std::vector<float> floatsOf(const AccessorData& data) {
    EXPECT_EQ(data.componentType, mesh::FLOAT);
    EXPECT_FALSE(data.normalized);
    std::vector<float> values(data.bytes.size() / sizeof(float));
    std::memcpy(values.data(), data.bytes.data(), data.bytes.size());
    return values;
}

TEST(AttributeNames, DifferForPositionsAndNormalsOnly) {
    EXPECT_EQ(tool::libraryName("POSITION"), "position");
    EXPECT_EQ(tool::libraryName("NORMAL"), "normal");
    EXPECT_EQ(tool::libraryName("TEXCOORD_0"), "TEXCOORD_0");
    for (const char* name : {"POSITION", "NORMAL", "TANGENT", "_CUSTOM"}) {
        EXPECT_EQ(tool::gltfName(tool::libraryName(name)), name);
    }
}

TEST(ToFloats, ScalesNormalizedIntegers) {
    EXPECT_THAT(floatsOf(toFloats(valuesOf<std::uint8_t>({0, 51, 255}, mesh::UNSIGNED_BYTE, true))),
                ElementsAre(0, 0.2F, 1));
    EXPECT_THAT(floatsOf(toFloats(valuesOf<std::uint16_t>({0, 13107, 65535}, mesh::UNSIGNED_SHORT, true))),
                ElementsAre(0, 0.2F, 1));
    EXPECT_THAT(floatsOf(toFloats(valuesOf<std::int8_t>({-127, 0, 127}, mesh::BYTE, true))), ElementsAre(-1, 0, 1));
    EXPECT_THAT(floatsOf(toFloats(valuesOf<std::int16_t>({-32767, 0, 32767}, mesh::SHORT, true))),
                ElementsAre(-1, 0, 1));
}

TEST(ToFloats, ClampsTheMostNegativeNormalizedIntegers) {
    EXPECT_THAT(floatsOf(toFloats(valuesOf<std::int8_t>({-128}, mesh::BYTE, true))), ElementsAre(-1));
    EXPECT_THAT(floatsOf(toFloats(valuesOf<std::int16_t>({-32768}, mesh::SHORT, true))), ElementsAre(-1));
}

TEST(ToFloats, KeepsTheValuesOfPlainIntegers) {
    EXPECT_THAT(floatsOf(toFloats(valuesOf<std::int16_t>({-300, 7}, mesh::SHORT, false))), ElementsAre(-300, 7));
}

TEST(ToFloats, KeepsFloatsBitForBit) {
    const AccessorData floats =
        valuesOf<float>({-0.0F, std::numeric_limits<float>::infinity(), 1e-40F}, mesh::FLOAT, false);
    EXPECT_EQ(toFloats(floats).bytes, floats.bytes);
}

TEST(Normalize, GivesEachNormalUnitLength) {
    auto normals = mesh::AttributeBuffer::createDefault(mesh::FLOAT, 3, "normal");
    normals->resize(2);
    const std::array<std::array<float, 3>, 2> values{{{3, 0, 4}, {0, -1e-30F, 0}}};
    normals->setElement(0, values[0].data());
    normals->setElement(1, values[1].data());
    tool::normalize(*normals);
    std::array<float, 3> normal{};
    normals->getElement(0, normal.data());
    EXPECT_THAT(normal, ElementsAre(0.6F, 0, 0.8F));
    normals->getElement(1, normal.data());
    EXPECT_THAT(normal, ElementsAre(0, -1, 0));
}

TEST(Normalize, ReplacesNormalsWithoutADirection) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    for (const std::array<float, 3>& value :
         {std::array<float, 3>{0, 0, 0}, std::array<float, 3>{infinity, 0, 0}, std::array<float, 3>{0, nan, 1}}) {
        auto normals = mesh::AttributeBuffer::createDefault(mesh::FLOAT, 3, "normal");
        normals->resize(1);
        normals->setElement(0, value.data());
        tool::normalize(*normals);
        std::array<float, 3> normal{};
        normals->getElement(0, normal.data());
        EXPECT_THAT(normal, ElementsAre(0, 0, 1));
    }
}

TEST(ToAttributeBuffer, HoldsTheValuesAsStored) {
    AccessorData values = valuesOf<std::uint8_t>({1, 2, 3, 4, 5, 6}, mesh::UNSIGNED_BYTE, true);
    values.type = "VEC3";
    values.components = 3;
    values.count = 2;
    const auto buffer = tool::toAttributeBuffer(values, "colour");
    EXPECT_EQ(buffer->getAttributeName(), "colour");
    EXPECT_EQ(buffer->getComponentType(), mesh::UNSIGNED_BYTE);
    ASSERT_EQ(buffer->getElementCount(), 2u);
    std::array<std::uint8_t, 3> element{};
    buffer->getElement(1, element.data());
    EXPECT_THAT(element, ElementsAre(4, 5, 6));
}

TEST(ToMesh, PutsPositionsFirstUnderTheLibrarysName) {
    GltfModel model = gridModel(1, 1);
    model.primitive(0)["attributes"] = Json::object();
    model.primitive(0)["attributes"]["NORMAL"] = model.addPositions({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1});
    model.primitive(0)["attributes"]["_B"] = 0;
    model.primitive(0)["attributes"]["POSITION"] = 0;
    const tool::Document document = documentOf(model);
    const mesh::MeshPtr result = tool::toMesh(document, document.meshes.at(0).primitives.at(0));
    ASSERT_EQ(result->getNumAttributeBuffers(), 3u);
    EXPECT_EQ(result->getAttributeBuffer(0)->getAttributeName(), "position");
    EXPECT_EQ(result->getAttributeBuffer(1)->getAttributeName(), "normal");
    EXPECT_EQ(result->getAttributeBuffer(2)->getAttributeName(), "_B");
    EXPECT_NO_THROW(result->isValid());
}

TEST(ToMesh, KeepsTheIndexTypeOfTheFile) {
    const tool::Document document = documentOf(gridModel(1, 1));
    const auto indices = tool::toMesh(document, document.meshes.at(0).primitives.at(0))->getIndexBuffer();
    ASSERT_NE(indices, nullptr);
    EXPECT_EQ(indices->getComponentType(), mesh::UNSIGNED_SHORT);
    ASSERT_EQ(indices->getElementCount(), 6u);
    EXPECT_EQ(indices->getElement(4), 3);
}

TEST(ToMesh, HasNoIndexBufferIfTheFileHasNoIndices) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0}), -1, 5);
    const tool::Document document = documentOf(model);
    const mesh::MeshPtr result = tool::toMesh(document, document.meshes.at(0).primitives.at(0));
    EXPECT_EQ(result->getIndexBuffer(), nullptr);
    EXPECT_EQ(result->getPrimitiveType(), mesh::TRIANGLE_STRIP);
}

TEST(PrimitiveName, NumbersThePrimitivesOfAMeshWithSeveral) {
    tool::Mesh mesh{"wheel", std::vector<tool::Primitive>(1)};
    EXPECT_EQ(tool::primitiveName(mesh, 0), "wheel");
    mesh.primitives.resize(2);
    EXPECT_EQ(tool::primitiveName(mesh, 1), "wheel, primitive 1");
}

} // namespace
