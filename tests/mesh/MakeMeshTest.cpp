#include "support/Buffers.h"
#include "support/Foreign.h"
#include "support/Graphs.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/StripBuffer.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::test::foreignCopy;
using vexa::test::ForeignMesh;
using vexa::test::indexBuffer;
using vexa::test::vec3f;
using vexa::test::zeros;
using Indices = std::vector<unsigned int>;

Indices indicesIn(const MeshPtr& mesh) {
    return toIndices(*mesh->getIndexBuffer());
}

ComponentType typeOf(const MeshPtr& mesh) {
    return mesh->getIndexBuffer()->getComponentType();
}

TEST(MakeAttribute, CopiesElements) {
    const auto buffer = makeAttribute("normal", std::vector<glm::vec3>{{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(buffer->getAttributeName(), "normal");
    EXPECT_TRUE(buffer->isVec3f());
    EXPECT_EQ(elementsOf<glm::vec3>(*buffer)[1], glm::vec3(4, 5, 6));
    const auto bytes = makeAttribute("colour", std::array<std::array<std::uint8_t, 4>, 1>{{{1, 2, 3, 4}}});
    EXPECT_EQ(bytes->getComponentType(), UNSIGNED_BYTE);
    EXPECT_EQ(bytes->getComponentCountPerElement(), 4u);
}

TEST(MakeAttribute, CutsFlatComponentsIntoElements) {
    const auto buffer = makeAttribute("TEXCOORD_0", std::vector<float>{0, 1, 2, 3}, 2);
    EXPECT_THAT(toElements<glm::vec2>(*buffer), ElementsAre(glm::vec2(0, 1), glm::vec2(2, 3)));
    EXPECT_EQ(messageOf([] { makeAttribute("uv", std::vector<float>(3), 2); }),
              "makeAttribute: 3 components of attribute \"uv\" are not a whole number of elements of 2");
    EXPECT_THROW(makeAttribute("uv", std::vector<float>(3), 0), std::invalid_argument);
}

TEST(MakeAttribute, IsZeroWhenOnlyCounted) {
    const auto buffer = makeAttribute<glm::u16vec2>("weights", 3);
    EXPECT_THAT(toElements<glm::u16vec2>(*buffer), testing::Each(glm::u16vec2(0)));
    EXPECT_EQ(buffer->getElementCount(), 3u);
}

TEST(AttributesOf, AreSharesInOrder) {
    const auto mesh = makeMesh(POINTS, nullptr, {zeros("b", 2), zeros("a", 2)});
    const AttributeBuffers attributes = attributesOf(*mesh);
    ASSERT_EQ(attributes.size(), 2u);
    EXPECT_EQ(attributes[0], mesh->getAttributeBuffer("b"));
    mesh->addAttributeBuffer(nullptr);
    EXPECT_THAT(messageOf([&] { attributesOf(*mesh); }), HasSubstr("attribute 2 of the mesh"));
}

TEST(MakeMesh, CopiesIndicesAndSharesAttributes) {
    const auto positions = zeros("position", 3);
    const auto mesh = makeMesh(TRIANGLES, Indices{0, 1, 2}, {positions});
    EXPECT_EQ(mesh->getPrimitiveType(), TRIANGLES);
    EXPECT_EQ(typeOf(mesh), UNSIGNED_SHORT);
    EXPECT_THAT(indicesIn(mesh), ElementsAre(0u, 1u, 2u));
    EXPECT_EQ(mesh->getAttributeBuffer("position"), positions);
    EXPECT_NO_THROW(mesh->isValid());
}

TEST(MakeMesh, ChoosesTheIndexWidthByTheNumberOfVertices) {
    const auto typeFor = [](unsigned long vertexCount, IndexWidth width) {
        return typeOf(makeMesh(POINTS, Indices{0}, {zeros("position", vertexCount)}, {.indexWidth = width}));
    };
    EXPECT_EQ(typeFor(1, IndexWidth::Narrowest), UNSIGNED_SHORT);
    EXPECT_EQ(typeFor(65535, IndexWidth::Narrowest), UNSIGNED_SHORT);
    EXPECT_EQ(typeFor(65536, IndexWidth::Narrowest), UNSIGNED_INT);
    EXPECT_EQ(typeFor(1, IndexWidth::Keep), UNSIGNED_INT);
    EXPECT_EQ(typeFor(1, IndexWidth::Bits8), UNSIGNED_BYTE);
    EXPECT_EQ(typeFor(1, IndexWidth::Bits32), UNSIGNED_INT);
    EXPECT_EQ(typeFor(70000, IndexWidth::Bits16), UNSIGNED_SHORT);
}

TEST(MakeMesh, RefusesIndicesThatDoNotFitTheWidth) {
    const auto positions = zeros("position", 65536);
    EXPECT_EQ(indicesIn(makeMesh(POINTS, Indices{65534}, {positions}, {.indexWidth = IndexWidth::Bits16})).back(),
              65534u);
    EXPECT_THAT(messageOf<std::length_error>([&] {
                    makeMesh(POINTS, Indices{0, 65535}, {positions}, {.indexWidth = IndexWidth::Bits16});
                }),
                HasSubstr("makeMesh: index 65535 at 1 does not fit"));
    EXPECT_THROW(makeMesh(POINTS, Indices{255}, {positions}, {.indexWidth = IndexWidth::Bits8}), std::length_error);
}

TEST(MakeMesh, RefusesWhatIsNotAMesh) {
    const auto message = [](PrimitiveType type, const Indices& indices, const AttributeBuffers& attributes) {
        return messageOf([&] { makeMesh(type, indices, attributes); });
    };
    EXPECT_EQ(message(TRIANGLES, {0, 3, 1}, {zeros("position", 3)}),
              "makeMesh: index 3 at 1 is out of range: the mesh has 3 vertices");
    EXPECT_EQ(message(POINTS, {}, {zeros("position", 3), zeros("normal", 2)}),
              "makeMesh: attribute \"normal\" has 2 elements and attribute \"position\" 3; give every vertex one "
              "element of each");
    EXPECT_EQ(message(POINTS, {}, {nullptr}), "makeMesh: attribute 0 is an empty pointer; leave it out");
    EXPECT_THAT(message(static_cast<PrimitiveType>(7), {}, {}), HasSubstr("makeMesh: 7 is not a primitive type"));
}

TEST(MakeMesh, OfPrimitivesIsOneStripOfTheirTriangles) {
    const std::vector<IndexedPrimitive> primitives{{TRIANGLE_FAN, {0, 1, 2, 3, 4, 5, 1}},
                                                   {TRIANGLE_STRIP, {1, 2, 6, 7, restartIndex, 7, 6, 3}},
                                                   {TRIANGLES, {2, 3, 6, 5, 5, 4, 6, 5, 7}}};
    Indices expected;
    for (const auto& primitive : primitives) {
        const Indices triangles = toTriangles(primitive.type, primitive.indices);
        expected.insert(expected.end(), triangles.begin(), triangles.end());
    }
    for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
        const auto mesh = makeMesh(primitives, {zeros("position", 8)}, {.join = join});
        EXPECT_EQ(mesh->getPrimitiveType(), TRIANGLE_STRIP);
        EXPECT_TRUE(sameTriangles(toTriangles(TRIANGLE_STRIP, indicesIn(mesh)), expected));
    }
    EXPECT_THAT(messageOf([] {
                    makeMesh(std::vector<IndexedPrimitive>{{LINES, {}}}, {});
                }),
                HasSubstr("makeMesh: primitive 0 is of type LINES"));
}

TEST(MakeMesh, OfAFanTakesThreeTrianglesPerStrip) {
    const std::vector<IndexedPrimitive> fan{{TRIANGLE_FAN, {0, 1, 2, 3, 4, 5}}};
    EXPECT_THAT(indicesIn(makeMesh(fan, {zeros("position", 6)})),
                ElementsAre(1u, 2u, 0u, 3u, 4u, restartIndex, 4u, 5u, 0u));
}

TEST(MakeMesh, OfPrimitivesKeepsTheTrianglesOfEveryMesh) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const auto positions = zeros("position", meshes::Indices::value_type{4000});
        const auto made = makeMesh(buildPrimitives(mesh.indices, {.buildFans = true}), {positions});
        EXPECT_TRUE(sameTriangles(toTriangles(TRIANGLE_STRIP, indicesIn(made)), toTriangles(TRIANGLES, mesh.indices)))
            << mesh.name;
    }
}

TEST(MakeMesh, SharesAnIndexBuffer) {
    const auto indices = indexBuffer(UNSIGNED_BYTE, {0, 1});
    const auto mesh = makeMesh(LINES, indices, {zeros("position", 2)});
    EXPECT_EQ(mesh->getIndexBuffer(), indices);
    EXPECT_EQ(makeMesh(LINES, nullptr, {zeros("position", 2)})->getIndexBuffer(), nullptr);
    EXPECT_THROW(makeMesh(LINES, indices, {nullptr}), std::invalid_argument);
}

TEST(CopyMesh, IsIndependentAndEqual) {
    const auto mesh = makeMesh(TRIANGLES, indexBuffer(SHORT, {0, 1, 65535}), {vec3f("position", {{1, 2, 3}})});
    const MeshPtr copy = copyMesh(*mesh);
    EXPECT_EQ(typeOf(copy), SHORT);
    EXPECT_EQ(indicesIn(copy), indicesIn(mesh));
    EXPECT_TRUE(Mesh::meshesAreCompatible(mesh, copy, false));
    elementsOf<glm::vec3>(*copy, "position")[0].x = 9;
    indicesOf<short>(*copy)[0] = 5;
    EXPECT_EQ(elementsOf<glm::vec3>(*mesh, "position")[0].x, 1);
    EXPECT_EQ(mesh->getIndexBuffer()->getElement(0), 0u);
    mesh->setIndexBuffer(nullptr);
    EXPECT_EQ(copyMesh(*mesh)->getIndexBuffer(), nullptr);
}

TEST(CopyMesh, MakesBuffersOfTheLibraryFromForeignOnes) {
    ForeignMesh mesh(TRIANGLE_FAN);
    mesh.addAttributeBuffer(foreignCopy(*vec3f("position", {{1, 2, 3}, {4, 5, 6}})));
    mesh.setIndexBuffer(foreignCopy(*indexBuffer(UNSIGNED_BYTE, {1, 0, 255})));
    const MeshPtr copy = copyMesh(mesh);
    EXPECT_EQ(copy->getPrimitiveType(), TRIANGLE_FAN);
    EXPECT_EQ(elementsOf<glm::vec3>(*copy, "position")[1], glm::vec3(4, 5, 6));
    EXPECT_THAT(indicesOf<std::uint8_t>(*copy), ElementsAre(1, 0, 255));
}

TEST(CopyMesh, RefusesAnIndexBufferOfFloats) {
    ForeignMesh mesh(POINTS);
    mesh.setIndexBuffer(std::make_shared<vexa::test::ForeignIndexBuffer>(FLOAT));
    EXPECT_THAT(messageOf([&] { copyMesh(mesh); }), HasSubstr("component type 5126"));
}

TEST(TakePrimitives, LeavesTheGraphAsTakingThemOneByOneDoes) {
    for (const meshes::NamedMesh& mesh : meshes::family("Variants")) {
        graphs::FilledGraph graph(mesh.indices);
        graphs::FilledGraph expected(mesh.indices);
        graph.calcOptPrim(1, true, true, 5, false);
        expected.calcOptPrim(1, true, true, 5, false);
        std::vector<std::string> taken;
        for (const IndexedPrimitive& primitive : vexa::mesh::takePrimitives(graph)) {
            taken.push_back(std::to_string(primitive.type) + ": " + graphs::text(primitive.indices));
        }
        EXPECT_EQ(taken, graphs::takePrimitives(expected)) << mesh.name;
        EXPECT_EQ(graphs::describe(graph), graphs::describe(expected)) << mesh.name;
    }
}

} // namespace
