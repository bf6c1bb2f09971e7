#include "support/Buffers.h"
#include "support/Floats.h"
#include "support/Foreign.h"
#include "support/Messages.h"

#include <vexa/mesh/AttributeTransformation.h>
#include <vexa/mesh/Interleave.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/MeshConcatenation.h>
#include <vexa/mesh/NormalQuantization.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/detail/DefaultAttributeBuffer.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::test::Vec3;
using vexa::test::vec3f;
using vexa::test::zeros;

struct Vertex {
    glm::vec3 position;
    glm::vec3 normal;
    glm::vec2 texcoord;
};

const std::array layoutOfVertex{attributeAt<glm::vec3>("position", offsetof(Vertex, position)),
                                attributeAt<glm::vec3>("normal", offsetof(Vertex, normal)),
                                attributeAt<glm::vec2>("TEXCOORD_0", offsetof(Vertex, texcoord))};

std::shared_ptr<AttributeBuffer> vectors(const std::string& name, std::size_t count, std::uint32_t seed) {
    return makeAttribute(name, vexa::test::mixedVectors(count, seed));
}

/// The elements by their bits, but for those of a NaN.
std::vector<std::array<vexa::test::Exactly, 3>> exactElements(const AttributeBuffer& buffer) {
    std::vector<std::array<vexa::test::Exactly, 3>> elements;
    for (const Vec3& element : toElements<Vec3>(buffer)) {
        elements.push_back(vexa::test::exactly(element));
    }
    return elements;
}

TEST(Interleave, CopiesElementsIntoOneStorage) {
    const auto bytes = makeAttribute("colour", std::vector<std::array<std::uint8_t, 3>>{{1, 2, 3}, {4, 5, 6}});
    const auto attributes = interleave({vec3f("position", {{1, 2, 3}, {4, 5, 6}}), bytes,
                                        vexa::test::foreignCopy(*vec3f("normal", {{7, 8, 9}, {10, 11, 12}}))});
    ASSERT_EQ(attributes.size(), 3u);
    for (const auto& attribute : attributes) {
        EXPECT_EQ(attribute->getElementStrideInBytes(), 28u);
        EXPECT_EQ(bytesOf(*attribute).data(), bytesOf(*attributes[0]).data());
    }
    EXPECT_EQ(bytesOf(*attributes[0]).size(), 56u);
    EXPECT_EQ(attributes[1]->getElementOffsetInBytes(), 12u);
    EXPECT_EQ(attributes[2]->getElementOffsetInBytes(), 16u);
    EXPECT_THAT(toElements<glm::vec3>(*attributes[2]), ElementsAre(glm::vec3(7, 8, 9), glm::vec3(10, 11, 12)));
    EXPECT_EQ(stridedElementsOf<glm::u8vec3>(*attributes[1])[1], glm::u8vec3(4, 5, 6));
    EXPECT_EQ(attributes[1]->getAttributeName(), "colour");
    EXPECT_EQ(bytesOf(*attributes[0])[15], std::byte{0});
}

TEST(Interleave, AlignsComponentsAndTheStride) {
    const auto byte = makeAttribute<std::uint8_t>("a", 3);
    const auto half = makeAttribute<std::uint16_t>("b", 3);
    const auto tight = interleave({byte, half, byte}, {.alignment = 1});
    EXPECT_EQ(tight[1]->getElementOffsetInBytes(), 2u);
    EXPECT_EQ(tight[2]->getElementOffsetInBytes(), 4u);
    EXPECT_EQ(tight[2]->getElementStrideInBytes(), 6u);
    EXPECT_EQ(interleave({byte, byte}, {.alignment = 16})[1]->getElementStrideInBytes(), 32u);
    EXPECT_TRUE(interleave({}).empty());
    EXPECT_EQ(interleave({makeAttribute<float>("a", 0), makeAttribute<float>("b", 0)})[1]->getElementCount(), 0u);
}

TEST(Interleave, RefusesWhatDoesNotBelongTogether) {
    EXPECT_EQ(messageOf([] { interleave({zeros("a", 1)}, {.alignment = 12}); }),
              "interleave: an alignment of 12 bytes is not a power of two");
    EXPECT_EQ(messageOf([] { interleave({zeros("a", 1)}, {.alignment = 0}); }),
              "interleave: an alignment of 0 bytes is not a power of two");
    EXPECT_THAT(messageOf([] {
                    interleave({zeros("a", 1), zeros("b", 2)});
                }),
                HasSubstr("interleave: attribute \"b\" has 2 elements and attribute \"a\" 1"));
    EXPECT_THAT(messageOf([] { interleave({zeros("a", 1), nullptr}); }), HasSubstr("attribute 1 is an empty pointer"));
    EXPECT_THROW(interleave({AttributeBuffer::createDefault(static_cast<ComponentType>(9), 1, "a")}),
                 std::invalid_argument);
}

TEST(MakeInterleaved, CopiesAnArrayOfVertices) {
    const std::vector<Vertex> vertices{{{1, 2, 3}, {4, 5, 6}, {7, 8}}, {{9, 10, 11}, {12, 13, 14}, {15, 16}}};
    const auto attributes = makeInterleaved(std::as_bytes(std::span(vertices)), sizeof(Vertex), layoutOfVertex);
    EXPECT_THAT(toElements<glm::vec2>(*attributes[2]), ElementsAre(glm::vec2(7, 8), glm::vec2(15, 16)));
    stridedElementsOf<glm::vec3>(*attributes[0])[1].x = 0;
    EXPECT_EQ(vertices[1].position.x, 9);
    attributes[0]->resize(3);
    EXPECT_EQ(attributes[2]->getElementCount(), 3u);
}

TEST(MakeInterleaved, RefusesALayoutThatDoesNotFit) {
    const std::vector<std::byte> bytes(64);
    const auto message = [&](unsigned long stride, VertexAttribute attribute) {
        return messageOf([&] { makeInterleaved(bytes, stride, std::array{std::move(attribute)}); });
    };
    EXPECT_EQ(message(24, attributeAt<float>("a", 0)),
              "makeInterleaved: 64 bytes are not a whole number of vertices of 24");
    EXPECT_THAT(message(0, attributeAt<float>("a", 0)), HasSubstr("not a whole number"));
    EXPECT_THAT(message(16, attributeAt<glm::vec3>("a", 8)), HasSubstr("exceeds the vertex of 16 bytes"));
    EXPECT_THAT(message(16, attributeAt<float>("a", ~0UL)), HasSubstr("exceeds the vertex"));
    EXPECT_THAT(message(16, {"a", FLOAT, ~0UL / 4 + 2, 0}), HasSubstr("exceeds the vertex"));
    EXPECT_THAT(message(16, {"a", FLOAT, 0, 0}), HasSubstr("has 0 components"));
    EXPECT_THAT(message(16, {"a", static_cast<ComponentType>(1), 1, 0}), HasSubstr("of type 1"));
}

TEST(BufferStorage, AdoptsMemoryAndKeepsItsOwner) {
    auto vertices = std::make_shared<std::vector<Vertex>>(3);
    const std::weak_ptr<std::vector<Vertex>> watch = vertices;
    auto attributes = makeInterleaved(BufferStorage::adopt(std::as_writable_bytes(std::span(*vertices)), vertices),
                                      sizeof(Vertex), layoutOfVertex);
    stridedElementsOf<glm::vec3>(*attributes[1])[2].y = 5;
    EXPECT_EQ((*vertices)[2].normal.y, 5);
    vertices.reset();
    attributes.resize(1);
    EXPECT_FALSE(watch.expired());
    attributes.clear();
    EXPECT_TRUE(watch.expired());
}

TEST(BufferStorage, AdoptedCannotBeResized) {
    std::vector<glm::vec3> positions{{1, 2, 3}, {4, 5, 6}};
    const auto buffer = adoptAttribute("position", std::span(positions), nullptr);
    EXPECT_EQ(messageOf<std::length_error>([&] { buffer->resize(3); }),
              "A buffer over 24 bytes of the program cannot be resized to 36; copy the mesh with copyMesh first");
    EXPECT_NO_THROW(buffer->resize(2));
    EXPECT_THROW(assign(*buffer, std::vector<glm::vec3>(1)), std::length_error);
    assign(*buffer, std::vector<glm::vec3>(2, glm::vec3(7)));
    EXPECT_EQ(positions[1], glm::vec3(7));
    auto target = buffer;
    EXPECT_THROW(concatAttribs(target, vec3f("position", {{1, 1, 1}}), [](void*) {}), std::length_error);
    EXPECT_EQ(positions[0], glm::vec3(7));
}

TEST(BufferStorage, AdoptedIndicesAreReadAndWritten) {
    std::vector<std::uint16_t> indices{0, 1, 65535};
    const auto buffer = adoptIndices(std::span(indices), nullptr);
    EXPECT_THAT(toIndices(*buffer), ElementsAre(0u, 1u, restartIndex));
    indicesOf<std::uint16_t>(*buffer)[0] = 8;
    EXPECT_EQ(indices[0], 8);
    assign(*buffer, std::array{3U, 4U, 5U});
    EXPECT_EQ(indices[2], 5);
    EXPECT_THROW(assign(*buffer, std::array{3U}), std::length_error);
    for (const ComponentType type : {BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT}) {
        const auto typed = detail::makeIndexBuffer(type, BufferStorage::copy(std::array<std::byte, 4>{}));
        EXPECT_EQ(typed->getElementCount(), 4 / getComponentSizeInBytes(type));
    }
}

TEST(InterleavedMesh, IsTransformedAsPackedBuffersAreToTheBit) {
    for (const std::size_t count : {0UL, 1UL, 511UL, 512UL, 513UL, 2000UL}) {
        const MeshPtr packed = makeMesh(POINTS, nullptr, {vectors("position", count, 1), vectors("normal", count, 2)});
        for (const glm::mat4& matrix : vexa::test::variousMatrices()) {
            AttributeTransformationMap map;
            createClassicTransformation(map, matrix);
            MeshPtr expected = copyMesh(*packed);
            MeshPtr actual = makeMesh(POINTS, nullptr, interleave(attributesOf(*packed)));
            transformMesh(expected, map);
            transformMesh(actual, map);
            for (const char* const name : {"position", "normal"}) {
                ASSERT_EQ(exactElements(*actual->getAttributeBuffer(name)),
                          exactElements(*expected->getAttributeBuffer(name)))
                    << count;
            }
        }
    }
}

/// Places attributes of these names, as normals those that begin with an n.
AttributeTransformationMap mapOf(const std::vector<std::string>& names) {
    AttributeTransformationMap classic;
    createClassicTransformation(classic, vexa::test::variousMatrices()[4]);
    AttributeTransformationMap map;
    for (const std::string& name : names) {
        map[name] = classic[name[0] == 'n' ? "normal" : "position"];
    }
    return map;
}

TEST(InterleavedMesh, WithManyAttributesIsTransformedAttributeByAttribute) {
    const std::vector<std::string> names{"p0", "n1", "p2", "n3", "p4", "n5", "p6"};
    AttributeBuffers packed;
    for (std::size_t i = 0; i < names.size(); ++i) {
        packed.push_back(vectors(names[i], 600, static_cast<std::uint32_t>(i)));
    }
    AttributeBuffers mixed = interleave(packed);
    mixed[3] = makeAttribute("n3", toElements<Vec3>(*packed[3]));
    mixed.push_back(mixed[0]);
    packed.push_back(packed[0]);
    MeshPtr expected = makeMesh(POINTS, nullptr, packed);
    MeshPtr actual = makeMesh(POINTS, nullptr, mixed);
    const AttributeTransformationMap map = mapOf({"p0", "n1", "p2", "n3", "n5", "p6"});
    transformMesh(expected, map);
    transformMesh(actual, map);
    for (const std::string& name : names) {
        EXPECT_EQ(exactElements(*actual->getAttributeBuffer(name)), exactElements(*expected->getAttributeBuffer(name)))
            << name;
    }
}

TEST(InterleavedMesh, IsTransformedUpToAnAttributeThatIsMissing) {
    const auto interleaved = interleave({vectors("p", 300, 1), vectors("n", 300, 2)});
    MeshPtr mesh = makeMesh(POINTS, nullptr, interleaved);
    mesh->addAttributeBuffer(nullptr);
    MeshPtr expected = copyMesh(*makeMesh(POINTS, nullptr, interleaved));
    const AttributeTransformationMap map = mapOf({"p", "n"});
    transformMesh(expected, map);
    EXPECT_THROW(transformMesh(mesh, map), std::logic_error);
    for (const char* const name : {"p", "n"}) {
        EXPECT_EQ(exactElements(*mesh->getAttributeBuffer(name)), exactElements(*expected->getAttributeBuffer(name)));
    }
}

TEST(InterleavedMesh, IsUpToDateWhenACallersFunctionIsCalled) {
    const auto interleaved = interleave({zeros("p", 3), zeros("n", 3), zeros("own", 3)});
    MeshPtr mesh = makeMesh(POINTS, nullptr, interleaved);
    AttributeTransformationMap map = mapOf({"p", "n"});
    glm::mat4 shift(1.0F);
    shift[3] = {1, 2, 3, 1};
    AttributeTransformationMap classic;
    createClassicTransformation(classic, shift);
    map["p"] = classic["position"];
    std::vector<glm::vec3> seen;
    map["own"] = [&](void*) { seen.push_back(toElements<glm::vec3>(*interleaved[0])[2]); };
    transformMesh(mesh, map);
    EXPECT_THAT(seen, ElementsAre(glm::vec3(1, 2, 3), glm::vec3(1, 2, 3), glm::vec3(1, 2, 3)));
}

TEST(InterleavedMesh, HasTheBoundsOfPackedBuffersToTheBit) {
    for (const std::size_t count : {1UL, 512UL, 513UL, 2000UL}) {
        for (const glm::mat4& matrix : vexa::test::variousMatrices()) {
            const MeshPtr packed = makeMesh(POINTS, nullptr, {vectors("position", count, 3), zeros("normal", count)});
            const MeshPtr interleaved = makeMesh(POINTS, nullptr, interleave(attributesOf(*packed)));
            glm::detail::taabb<float> expected{};
            glm::detail::taabb<float> actual{};
            computeVolume(expected, packed, matrix);
            computeVolume(actual, interleaved, matrix);
            for (int i = 0; i < 3; ++i) {
                ASSERT_EQ(vexa::test::Exactly{actual.min[i]}, vexa::test::Exactly{expected.min[i]});
                ASSERT_EQ(vexa::test::Exactly{actual.max[i]}, vexa::test::Exactly{expected.max[i]});
            }
        }
    }
}

TEST(InterleavedMesh, IsPackedAndAppendedAsPackedBuffersAre) {
    const auto normals = vectors("normal", 1300, 4);
    const auto interleaved = interleave({zeros("position", 1300), normals});
    const auto expected = makeAttribute<glm::u8vec2>("packed", 1300);
    const auto actual = interleave({makeAttribute<glm::u8vec2>("packed", 1300), zeros("position", 1300)});
    transformAttributes(normals, expected, quantizeNormals());
    transformAttributes(interleaved[1], actual[0], quantizeNormals());
    EXPECT_EQ(toElements<glm::u8vec2>(*actual[0]), toElements<glm::u8vec2>(*expected));
    EXPECT_EQ(toElements<glm::vec3>(*actual[1]), std::vector<glm::vec3>(1300));

    AttributeTransformationMap map;
    createClassicTransformation(map, vexa::test::variousMatrices()[4]);
    auto packedTarget = zeros("normal", 5);
    auto spacedTarget = interleave({zeros("normal", 5), zeros("position", 5)});
    concatAttribs(packedTarget, normals, map["normal"]);
    concatAttribs(spacedTarget[0], interleaved[1], map["normal"]);
    EXPECT_EQ(exactElements(*spacedTarget[0]), exactElements(*packedTarget));
}

TEST(InterleavedMesh, IsAppendedToItselfElementByElement) {
    auto spaced = interleave({vec3f("position", {{1, 2, 3}, {4, 5, 6}}), zeros("normal", 2)})[0];
    AttributeTransformationMap map;
    createClassicTransformation(map, glm::mat4(1.0F));
    concatAttribs(spaced, spaced, map["position"]);
    EXPECT_THAT(toElements<glm::vec3>(*spaced),
                ElementsAre(glm::vec3(1, 2, 3), glm::vec3(4, 5, 6), glm::vec3(1, 2, 3), glm::vec3(4, 5, 6)));
}

TEST(InterleavedMesh, WithElementsThatOverlapIsTransformedInOrder) {
    const BufferStorage storage = BufferStorage::copy(std::array<std::byte, 28>{});
    const auto floats = makeInterleaved(storage, 4, std::array{attributeAt<float>("a", 0)})[0];
    // Three elements of 12 bytes, 8 bytes apart.
    std::shared_ptr<AttributeBuffer> buffer =
        std::make_shared<detail::DefaultAttributeBuffer>(FLOAT, 3, 8, 0, storage.data(), "position");
    glm::mat4 shift(1.0F);
    shift[3] = {1, 1, 1, 1};
    AttributeTransformationMap map;
    createClassicTransformation(map, shift);
    transformAttrib(buffer, map["position"]);
    EXPECT_THAT(toElements<float>(*floats), ElementsAre(1, 1, 2, 1, 2, 1, 1));
}

} // namespace
