#include <vexa/mesh/Merge.h>

#include <vexa/mesh/Interleave.h>
#include <vexa/mesh/Triangles.h>
#include <vexa/mesh/Views.h>

#include "support/Foreign.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <glm/gtc/matrix_transform.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Indices = std::vector<unsigned int>;

/// Positions x = first, first + 1, ...
std::shared_ptr<AttributeBuffer> positions(std::size_t count, float first = 0) {
    std::vector<glm::vec3> result(count);
    for (std::size_t i = 0; i < count; ++i) {
        result[i] = {first + static_cast<float>(i), 1, 2};
    }
    return makeAttribute("position", result);
}

MeshPtr meshOf(PrimitiveType type, const Indices& indices, std::size_t vertexCount,
               IndexWidth width = IndexWidth::Narrowest) {
    return makeMesh(type, indices, {positions(vertexCount)}, {.indexWidth = width});
}

std::vector<MeshInstance> instancesOf(const std::vector<MeshPtr>& meshes, const glm::mat4& placement = glm::mat4(1)) {
    std::vector<MeshInstance> instances;
    for (const MeshPtr& mesh : meshes) {
        instances.push_back({mesh, placement});
    }
    return instances;
}

Indices indicesOf(const MeshPtr& mesh) {
    return toIndices(*mesh->getIndexBuffer());
}

glm::mat4 mirror() {
    return glm::scale(glm::mat4(1.0F), glm::vec3(-1, 1, 1));
}

TEST(MergeMeshes, RaisesIndicesAndConcatenatesAttributes) {
    const MeshPtr merged =
        mergeMeshes(instancesOf({meshOf(TRIANGLES, {0, 1, 2}, 3), meshOf(TRIANGLES, {3, 2, 1, 0, 1, 2}, 4)}));
    EXPECT_THAT(indicesOf(merged), ElementsAre(0, 1, 2, 6, 5, 4, 3, 4, 5));
    const auto x = toElements<glm::vec3>(*merged->getAttributeBuffer("position"));
    ASSERT_EQ(x.size(), 7U);
    EXPECT_EQ(x[3], glm::vec3(0, 1, 2));
    EXPECT_EQ(x[6], glm::vec3(3, 1, 2));
}

TEST(MergeMeshes, WidensIndicesWhereAllVerticesTogetherNeedIt) {
    const auto merged = mergeMeshes(instancesOf({meshOf(POINTS, {65529}, 65530), meshOf(POINTS, {9}, 10)}));
    EXPECT_EQ(merged->getIndexBuffer()->getComponentType(), UNSIGNED_INT);
    EXPECT_THAT(indicesOf(merged), ElementsAre(65529, 65539));
    // The index with all bits set is never a vertex.
    const auto largest = mergeMeshes(instancesOf({meshOf(POINTS, {0}, 65530), meshOf(POINTS, {4}, 5)}));
    EXPECT_EQ(largest->getIndexBuffer()->getComponentType(), UNSIGNED_SHORT);
    const auto one = mergeMeshes(instancesOf({meshOf(POINTS, {0}, 65530), meshOf(POINTS, {5}, 6)}));
    EXPECT_EQ(one->getIndexBuffer()->getComponentType(), UNSIGNED_INT);
    const auto bytes = instancesOf({meshOf(POINTS, {0}, 200, IndexWidth::Bits8), meshOf(POINTS, {0}, 55)});
    EXPECT_EQ(mergeMeshes(bytes)->getIndexBuffer()->getComponentType(), UNSIGNED_SHORT);
    EXPECT_EQ(mergeMeshes(bytes, {.indexWidth = IndexWidth::Bits8})->getIndexBuffer()->getComponentType(),
              UNSIGNED_BYTE);
    const auto tooMany = instancesOf({meshOf(POINTS, {0}, 200), meshOf(POINTS, {0}, 56)});
    EXPECT_THROW(mergeMeshes(tooMany, {.indexWidth = IndexWidth::Bits8}), std::length_error);
}

TEST(MergeMeshes, OnlyLeavesOutIndicesWhereNobodyNeedsThem) {
    const MeshPtr loose = makeMesh(TRIANGLES, nullptr, {positions(3)});
    EXPECT_EQ(mergeMeshes(instancesOf({loose, loose}))->getIndexBuffer(), nullptr);
    EXPECT_EQ(mergedRanges(instancesOf({loose, loose}))[1].indexCount, 0U);
    EXPECT_THAT(indicesOf(mergeMeshes(instancesOf({loose, meshOf(TRIANGLES, {0, 1, 2}, 3)}))),
                ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(indicesOf(mergeMeshes(instancesOf({loose, loose}, mirror()))), ElementsAre(0, 2, 1, 3, 5, 4));
    const MeshPtr strip = makeMesh(TRIANGLE_STRIP, nullptr, {positions(3)});
    EXPECT_THAT(indicesOf(mergeMeshes(instancesOf({strip, strip}))), ElementsAre(0, 1, 2, restartIndex, 3, 4, 5));
}

TEST(MergeMeshes, JoinsStripsByRestartOrByParity) {
    const MeshPtr odd = meshOf(TRIANGLE_STRIP, {0, 1, 2}, 3);
    const MeshPtr two = meshOf(TRIANGLE_STRIP, {0, 1, 2, restartIndex, 1, 2, 3, 0}, 4);
    EXPECT_THAT(indicesOf(mergeMeshes(instancesOf({odd, two}))),
                ElementsAre(0, 1, 2, restartIndex, 3, 4, 5, restartIndex, 4, 5, 6, 3));
    const MergeOptions degenerate{.join = StripJoin::Degenerate};
    EXPECT_THAT(indicesOf(mergeMeshes(instancesOf({odd, odd}), degenerate)), ElementsAre(0, 1, 2, 2, 3, 3, 3, 4, 5));
    for (const auto& instances : {instancesOf({odd, two, odd}), instancesOf({two, odd, two}, mirror())}) {
        const Indices triangles = toTriangles(*mergeMeshes(instances));
        EXPECT_EQ(triangles.size() / 3, instances.size() == 3 && instances[0].mesh == odd ? 5U : 7U);
        const MeshPtr joined = mergeMeshes(instances, degenerate);
        EXPECT_THAT(indicesOf(joined), testing::Each(testing::Lt(restartIndex)));
        EXPECT_EQ(toTriangles(*joined), triangles);
        EXPECT_EQ(toTriangles(*mergeMeshes(instances, {.asTriangles = true})), triangles);
    }
}

TEST(MergeMeshes, JoinsFansLoopsAndLineStripsByRestart) {
    for (const PrimitiveType type : {TRIANGLE_FAN, LINE_LOOP, LINE_STRIP}) {
        const MeshPtr mesh = meshOf(type, {2, 1, 0}, 3);
        EXPECT_THAT(indicesOf(mergeMeshes(instancesOf({mesh, mesh}), {.join = StripJoin::Degenerate})),
                    ElementsAre(2, 1, 0, restartIndex, 5, 4, 3));
    }
}

TEST(MergeMeshes, MixesTypesAsTriangles) {
    const auto instances = instancesOf({meshOf(TRIANGLE_STRIP, {0, 1, 2, 3}, 4), meshOf(TRIANGLE_FAN, {0, 1, 2, 3}, 4),
                                        meshOf(TRIANGLES, {0, 1, 2}, 3)});
    const MeshPtr merged = mergeMeshes(instances, {.asTriangles = true});
    EXPECT_EQ(merged->getPrimitiveType(), TRIANGLES);
    EXPECT_THAT(indicesOf(merged), ElementsAre(0, 1, 2, 1, 3, 2, 4, 5, 6, 4, 6, 7, 8, 9, 10));
    EXPECT_THAT(messageOf([&] { mergeMeshes(instances); }),
                HasSubstr("mergeMeshes: instance 1: its primitive type is TRIANGLE_FAN, and that of the first is "
                          "TRIANGLE_STRIP"));
}

TEST(MergeMeshes, PlacesInstancesAsPlaceMeshDoes) {
    const MeshPtr mesh = makeMesh(TRIANGLES, Indices{0, 1, 2},
                                  {positions(3, 5), makeAttribute("normal", std::vector(3, glm::vec3(0.6F, 0, 0.8F))),
                                   makeAttribute("tangent", std::vector(3, glm::vec4(0, 1, 0, 1)))});
    const glm::mat4 placement = glm::rotate(mirror(), 1.0F, glm::vec3(1, 2, 3));
    const MeshPtr merged = mergeMeshes(std::vector<MeshInstance>{{mesh}, {mesh, placement}});
    const MeshPtr placed = copyMesh(*mesh);
    placeMesh(*placed, placement);
    for (const char* const name : {"position", "normal"}) {
        const auto both = toElements<glm::vec3>(*merged->getAttributeBuffer(name));
        const auto own = toElements<glm::vec3>(*placed->getAttributeBuffer(name));
        EXPECT_TRUE(std::equal(own.begin(), own.end(), both.begin() + 3, both.end())) << name;
    }
    EXPECT_EQ(toElements<glm::vec4>(*merged->getAttributeBuffer("tangent"))[5],
              toElements<glm::vec4>(*placed->getAttributeBuffer("tangent"))[2]);
    EXPECT_THAT(indicesOf(merged), ElementsAre(0, 1, 2, 3, 5, 4));
}

TEST(MergeMeshes, FillsMissingAttributesIfAskedTo) {
    const MeshPtr plain = meshOf(TRIANGLES, {0, 1, 2}, 3);
    const MeshPtr textured =
        makeMesh(TRIANGLES, Indices{0, 1, 2}, {makeAttribute("uv", std::vector(3, glm::vec2(1, 2))), positions(3)});
    const auto instances = instancesOf({plain, textured, plain});
    EXPECT_THAT(messageOf([&] { mergeMeshes(instances); }),
                HasSubstr("mergeMeshes: instance 0: it lacks the attribute \"uv\", which others have"));
    const MeshPtr merged = mergeMeshes(instances, {.missing = MissingAttribute::FillWithZeros});
    EXPECT_EQ(merged->getAttributeBuffer(0)->getAttributeName(), "position");
    const glm::vec2 zero(0);
    const glm::vec2 set(1, 2);
    EXPECT_THAT(toElements<glm::vec2>(*merged->getAttributeBuffer("uv")),
                ElementsAre(zero, zero, zero, set, set, set, zero, zero, zero));
}

TEST(MergeMeshes, MatchesEqualNamesInOrder) {
    const MeshPtr mesh =
        makeMesh(POINTS, nullptr,
                 {positions(1), makeAttribute("uv", std::vector{1.0F}), makeAttribute("uv", std::vector{2.0F})});
    const MeshPtr merged = mergeMeshes(instancesOf({mesh, mesh}));
    ASSERT_EQ(merged->getNumAttributeBuffers(), 3U);
    EXPECT_THAT(toElements<float>(*merged->getAttributeBuffer(1)), ElementsAre(1, 1));
    EXPECT_THAT(toElements<float>(*merged->getAttributeBuffer(2)), ElementsAre(2, 2));
}

TEST(MergeMeshes, AcceptsForeignBuffers) {
    const MeshPtr own = meshOf(TRIANGLES, {0, 2, 1}, 3);
    const MeshPtr foreign = makeMesh(TRIANGLES, vexa::test::foreignCopy(*own->getIndexBuffer()),
                                     {vexa::test::foreignCopy(*own->getAttributeBuffer(0))});
    const MeshPtr expected = mergeMeshes(instancesOf({own, own}, mirror()));
    const MeshPtr merged = mergeMeshes(instancesOf({own, foreign}, mirror()));
    EXPECT_EQ(indicesOf(merged), indicesOf(expected));
    EXPECT_EQ(toElements<glm::vec3>(*merged->getAttributeBuffer(0)),
              toElements<glm::vec3>(*expected->getAttributeBuffer(0)));
}

TEST(MergeMeshes, NamesTheInstanceThatDoesNotFit) {
    const MeshPtr mesh = meshOf(TRIANGLES, {0, 1, 2}, 3);
    const auto fault = [&](const MeshInstance& second) {
        return messageOf([&] { mergeMeshes(std::vector<MeshInstance>{{mesh}, second}); });
    };
    EXPECT_EQ(fault({nullptr}), "mergeMeshes: instance 1: its mesh is missing");
    EXPECT_EQ(messageOf([] { mergeMeshes({}); }), "mergeMeshes: at least one instance is needed");
    EXPECT_EQ(fault({meshOf(TRIANGLES, {0, 1}, 3)}),
              "mergeMeshes: instance 1: its 2 indices are not a whole number of TRIANGLES");
    const MeshPtr wrong = copyMesh(*mesh);
    wrong->getIndexBuffer()->setElement(2, 3);
    EXPECT_EQ(fault({wrong}), "mergeMeshes: instance 1: index 3 at 2 is out of range: the mesh has 3 vertices");
    EXPECT_EQ(messageOf([&] { mergedRanges(instancesOf({wrong})); }),
              "mergedRanges: instance 0: index 3 at 2 is out of range: the mesh has 3 vertices");
    EXPECT_THAT(fault({meshOf(TRIANGLES, {0, 1, restartIndex}, 3)}),
                HasSubstr("mergeMeshes: instance 1: index 2 restarts a primitive"));
    const MeshPtr shorts = makeMesh(TRIANGLES, Indices{0, 1, 2}, {makeAttribute<std::array<short, 3>>("position", 3)});
    EXPECT_THAT(fault({shorts}),
                HasSubstr("instance 1: its attribute 0 (\"position\") has 3 components of the type "
                          "\"short\", and that of a preceding mesh 3 components of the type \"float\""));
    EXPECT_THAT(messageOf([&] { mergeMeshes(instancesOf({shorts}, mirror())); }), HasSubstr("cannot be placed"));
    EXPECT_EQ(mergeMeshes(instancesOf({shorts, shorts}))->getAttributeBuffer(0)->getElementCount(), 6U);
}

TEST(MergeMeshes, RefusesAnUnknownPrimitiveType) {
    const MeshPtr unknown = Mesh::createDefault(static_cast<PrimitiveType>(7), UNSIGNED_INT);
    EXPECT_THAT(messageOf([&] { mergeMeshes(instancesOf({unknown})); }),
                HasSubstr("mergeMeshes: instance 0: its primitive type is "));
}

TEST(MergeMeshes, RefusesMoreVerticesThan32BitsTellApart) {
    const MeshPtr half = makeMesh(POINTS, nullptr, {std::make_shared<vexa::test::TooManyPositions>(0x80000000UL)});
    EXPECT_EQ(
        messageOf<std::length_error>([&] {
            mergeMeshes(instancesOf({half, half}));
        }),
        "mergeMeshes: instance 1: with it there are 4294967296 vertices, which need indices of more than 32 bits; "
        "merge fewer meshes");
}

TEST(MergeMeshes, WithoutAttributesMergesNothing) {
    const MeshPtr bare = makeMesh(POINTS, nullptr, {});
    EXPECT_EQ(mergeMeshes(instancesOf({bare, bare}))->getNumAttributeBuffers(), 0U);
    EXPECT_EQ(mergedRanges(instancesOf({bare, bare}))[1].vertexCount, 0U);
}

TEST(MergeMeshes, PlacesTangentsOfThreeOrFourFloatsOnly) {
    const auto merged = [](const std::shared_ptr<AttributeBuffer>& tangents) {
        mergeMeshes(instancesOf({makeMesh(POINTS, nullptr, {positions(1), tangents})}, mirror()));
    };
    EXPECT_NO_THROW(merged(makeAttribute("tangent", std::vector{glm::vec3(1, 0, 0)})));
    EXPECT_NO_THROW(merged(makeAttribute("tangent", std::vector{glm::vec4(1, 0, 0, 1)})));
    EXPECT_THAT(messageOf([&] { merged(makeAttribute<glm::vec2>("tangent", 1)); }),
                HasSubstr("its attribute 1 (\"tangent\") has 2 components of the type \"float\" and cannot be placed; "
                          "make it four floats"));
    EXPECT_THAT(messageOf([] {
                    mergeMeshes(
                        instancesOf({makeMesh(POINTS, nullptr, {makeAttribute<glm::vec4>("position", 1)})}, mirror()));
                }),
                HasSubstr("make it three floats"));
}

TEST(MergeMeshes, RefusesAnotherNumberOfComponents) {
    const auto mesh = [](const std::shared_ptr<AttributeBuffer>& uv) { return makeMesh(POINTS, nullptr, {uv}); };
    EXPECT_THAT(messageOf([&] {
                    mergeMeshes(instancesOf(
                        {mesh(makeAttribute<glm::vec2>("uv", 1)), mesh(makeAttribute<glm::vec3>("uv", 1))}));
                }),
                HasSubstr("instance 1: its attribute 0 (\"uv\") has 3 components of the type \"float\", and that of a "
                          "preceding mesh 2 components"));
}

TEST(MergeMeshes, NamesAnAttributeThatIsMissingInTheMiddle) {
    const auto uv = makeAttribute<glm::vec2>("uv", 3);
    const MeshPtr both = makeMesh(POINTS, nullptr, {uv, positions(3)});
    const MeshPtr last = makeMesh(POINTS, nullptr, {positions(3)});
    EXPECT_THAT(messageOf([&] {
                    mergeMeshes(instancesOf({both, last}));
                }),
                HasSubstr("instance 1: it lacks the attribute \"uv\", which others have"));
}

TEST(MergeMeshes, GivesIndicesToAListThatIsFlippedOrNextToOneWithThem) {
    const MeshPtr loose = makeMesh(TRIANGLES, nullptr, {positions(3)});
    const std::vector<MeshInstance> mixed{{loose, glm::mat4(1)}, {meshOf(TRIANGLES, {2, 1, 0}, 3), mirror()}};
    EXPECT_THAT(indicesOf(mergeMeshes(mixed)), ElementsAre(0, 1, 2, 5, 3, 4));
}

TEST(MergedRanges, CountTheVerticesOfAListWithoutIndicesNextToOneWithThem) {
    const MeshPtr loose = makeMesh(TRIANGLES, nullptr, {positions(6)});
    const auto ranges = mergedRanges(instancesOf({loose, meshOf(TRIANGLES, {2, 1, 0}, 3)}));
    EXPECT_EQ(ranges[0].indexCount, 6U);
    EXPECT_EQ(ranges[1].firstIndex, 6U);
    EXPECT_EQ(ranges[1].indexCount, 3U);
}

TEST(MergeMeshes, RefusesRestartsInForeignLists) {
    const MeshPtr own = meshOf(TRIANGLES, {0, 1, restartIndex}, 3);
    const MeshPtr foreign = makeMesh(TRIANGLES, vexa::test::foreignCopy(*own->getIndexBuffer()), {positions(3)});
    const auto fault = [](const MeshPtr& mesh) { return messageOf([&] { mergeMeshes(instancesOf({mesh})); }); };
    EXPECT_EQ(fault(foreign), "mergeMeshes: instance 0: index 2 restarts a primitive, which a list of " +
                                  getStringForPrimitiveType(TRIANGLES) + " does not need");
    EXPECT_EQ(fault(foreign), fault(own));
}

TEST(MergeMeshes, RefusesRestartsInMirroredLists) {
    for (const bool asTriangles : {false, true}) {
        EXPECT_EQ(messageOf([&] {
                      mergeMeshes(instancesOf({meshOf(TRIANGLES, {0, 1, restartIndex}, 3)}, mirror()),
                                  {.asTriangles = asTriangles});
                  }),
                  "mergeMeshes: instance 0: index 2 restarts a primitive, which a list of " +
                      getStringForPrimitiveType(TRIANGLES) + " does not need");
    }
}

TEST(MergeMeshes, RefusesTypesAndRestartsThatDoNotMakeTriangles) {
    const auto fault = [](const MeshPtr& mesh) {
        return messageOf([&] { mergeMeshes(instancesOf({mesh}), {.asTriangles = true}); });
    };
    EXPECT_EQ(fault(meshOf(LINES, {0, 1}, 2)), "mergeMeshes: instance 0: its primitive type is " +
                                                   getStringForPrimitiveType(LINES) +
                                                   ", which does not contain triangles");
    const std::vector<MeshInstance> restarted =
        instancesOf({meshOf(TRIANGLE_STRIP, {0, 1, 2}, 3), meshOf(TRIANGLES, {0, 1, restartIndex}, 3)});
    EXPECT_EQ(messageOf([&] { mergeMeshes(restarted, {.asTriangles = true}); }),
              "mergeMeshes: instance 1: index 2 restarts a primitive, which a list of " +
                  getStringForPrimitiveType(TRIANGLES) + " does not need");
}

TEST(MergeMeshes, FlipsMirroredListsOfEveryIndexWidth) {
    for (const IndexWidth width : {IndexWidth::Bits8, IndexWidth::Bits16, IndexWidth::Bits32}) {
        const MeshPtr mesh = meshOf(TRIANGLES, {0, 1, 2, 2, 1, 3}, 4, width);
        const MeshPtr merged = mergeMeshes(std::vector<MeshInstance>{{mesh}, {mesh, mirror()}}, {.indexWidth = width});
        EXPECT_THAT(indicesOf(merged), ElementsAre(0, 1, 2, 2, 1, 3, 4, 6, 5, 6, 7, 5));
        EXPECT_EQ(merged->getIndexBuffer()->getComponentType(), mesh->getIndexBuffer()->getComponentType());
    }
}

TEST(MergeMeshes, RaisesIndicesOfStripsOfEveryWidth) {
    for (const IndexWidth width : {IndexWidth::Bits8, IndexWidth::Bits16, IndexWidth::Bits32}) {
        const MeshPtr strip = meshOf(TRIANGLE_STRIP, {0, 1, 2, 3}, 4, width);
        const MeshPtr merged = mergeMeshes(instancesOf({strip, strip}), {.indexWidth = width});
        EXPECT_THAT(indicesOf(merged), ElementsAre(0, 1, 2, 3, restartIndex, 4, 5, 6, 7));
    }
}

bool isEqual(const Mesh& a, const Mesh& b) {
    if (a.getPrimitiveType() != b.getPrimitiveType() || a.getNumAttributeBuffers() != b.getNumAttributeBuffers() ||
        toIndices(*a.getIndexBuffer()) != toIndices(*b.getIndexBuffer())) {
        return false;
    }
    for (unsigned long i = 0; i < a.getNumAttributeBuffers(); ++i) {
        const auto first = bytesOf(*a.getAttributeBuffer(i));
        const auto second = bytesOf(*b.getAttributeBuffer(i));
        if (!std::equal(first.begin(), first.end(), second.begin(), second.end())) {
            return false;
        }
    }
    return true;
}

/// Positions and ids of one storage.
AttributeBuffers interleavedAttributes(unsigned int count) {
    struct Vertex {
        glm::vec3 position;
        std::array<std::uint8_t, 4> id;
    };
    std::vector<Vertex> vertices;
    for (unsigned int i = 0; i < count; ++i) {
        vertices.push_back({{9 + static_cast<float>(i), 1, 2}, {static_cast<std::uint8_t>(i % 251)}});
    }
    return makeInterleaved(
        std::as_bytes(std::span(vertices)), sizeof(Vertex),
        std::array{attributeAt<glm::vec3>("position", 0), attributeAt<std::uint8_t>("id", offsetof(Vertex, id))});
}

/// Instances of enough vertices for eight threads: one mesh as it is and mirrored, one without normals, one of
/// interleaved attributes as it is and mirrored.
std::vector<MeshInstance> largeInstances(PrimitiveType type) {
    constexpr unsigned int count = 12000;
    const auto normals = makeAttribute("normal", std::vector<glm::vec3>(count, glm::vec3(0.6F, 0, 0.8F)));
    const auto ids = makeAttribute("id", std::vector<std::uint8_t>(count, 7));
    const Indices indices = meshes::soup(count, 9000, 1);
    const MeshPtr whole = makeMesh(type, indices, {positions(count), normals, ids});
    const MeshPtr bare = makeMesh(type, indices, {positions(count, 5), ids});
    const MeshPtr interleaved = makeMesh(type, indices, interleavedAttributes(count));
    const glm::mat4 twice = glm::scale(glm::mat4(1.0F), glm::vec3(2));
    return {{whole}, {whole, mirror()}, {bare, twice}, {interleaved}, {interleaved, mirror()}};
}

TEST(MergeMeshes, GivesTheSameInAnyNumberOfThreads) {
    for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP}) {
        const auto instances = largeInstances(type);
        MergeOptions options{.missing = MissingAttribute::FillWithZeros};
        const MeshPtr alone = mergeMeshes(instances, options);
        for (const unsigned threads : {0U, 2U, 3U, 8U}) {
            options.threads = threads;
            EXPECT_TRUE(isEqual(*mergeMeshes(instances, options), *alone)) << type << ", " << threads << " threads";
        }
    }
}

TEST(MergeMeshes, ReportsTheSameFaultInAnyNumberOfThreads) {
    auto instances = largeInstances(TRIANGLES);
    const MeshPtr wrong = copyMesh(*instances[1].mesh);
    wrong->getIndexBuffer()->setElement(600, 12000);
    instances[1].mesh = wrong;
    for (const unsigned threads : {1U, 2U, 8U}) {
        EXPECT_EQ(messageOf([&] {
                      mergeMeshes(instances, {.missing = MissingAttribute::FillWithZeros, .threads = threads});
                  }),
                  "mergeMeshes: instance 1: index 12000 at 600 is out of range: the mesh has 12000 vertices");
    }
}

TEST(ExtractRange, GivesBackEveryMergedMesh) {
    for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
        for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN, LINES}) {
            std::vector<MeshPtr> meshes;
            for (std::uint32_t seed = 0; seed < 12; ++seed) {
                const unsigned int vertices = 3 + seed * 7;
                const Indices indices = seed == 5 ? Indices{} : meshes::soup(vertices, 2 * seed, seed);
                meshes.push_back(makeMesh(type, indices,
                                          {positions(vertices, static_cast<float>(100 * seed)),
                                           makeAttribute("id", std::vector(vertices, seed))}));
            }
            const auto instances = instancesOf(meshes);
            const MergeOptions options{.join = join};
            const MeshPtr merged = mergeMeshes(instances, options);
            const auto ranges = mergedRanges(instances, options);
            ASSERT_EQ(ranges.size(), meshes.size());
            for (std::size_t i = 0; i < meshes.size(); ++i) {
                EXPECT_TRUE(isEqual(*extractRange(*merged, ranges[i]), *meshes[i])) << type << " " << i;
            }
        }
    }
}

TEST(ExtractRange, RefusesRangesOutsideOfTheMesh) {
    const MeshPtr mesh = meshOf(TRIANGLES, {0, 1, 2}, 3);
    EXPECT_EQ(messageOf([&] {
                  extractRange(*mesh, {0, 4, 0, 3});
              }),
              "extractRange: 4 vertices from 0 are not within the 3 of the mesh");
    EXPECT_EQ(messageOf([&] {
                  extractRange(*mesh, {0, 2, 0, 3});
              }),
              "extractRange: index 2 at 2 refers to a vertex outside of the range");
}

TEST(ExtractRange, RefusesRangesThatBeginBeyondTheMesh) {
    const MeshPtr mesh = meshOf(TRIANGLES, {0, 1, 2}, 3);
    EXPECT_EQ(messageOf([&] {
                  extractRange(*mesh, {4, 0, 0, 0});
              }),
              "extractRange: 0 vertices from 4 are not within the 3 of the mesh");
    EXPECT_EQ(messageOf([&] {
                  extractRange(*mesh, {0, 0, 1, 3});
              }),
              "extractRange: 3 indices from 1 are not within the 3 of the mesh");
    EXPECT_EQ(messageOf([] {
                  extractRange(*makeMesh(POINTS, nullptr, {}), {0, 1, 0, 0});
              }),
              "extractRange: 1 vertices from 0 are not within the 0 of the mesh");
}

TEST(ExtractRange, MayBeEmpty) {
    const MeshPtr range = extractRange(*meshOf(TRIANGLES, {0, 1, 2}, 3), {1, 0, 3, 0});
    EXPECT_EQ(range->getAttributeBuffer("position")->getElementCount(), 0U);
    EXPECT_EQ(range->getIndexBuffer()->getElementCount(), 0U);
}

TEST(ExtractRange, KeepsRestarts) {
    const MeshPtr mesh = meshOf(TRIANGLE_STRIP, {0, 1, 2, 3, 4, 5, restartIndex, 5, 4, 3}, 6);
    const MeshPtr range = extractRange(*mesh, {3, 3, 3, 7});
    EXPECT_THAT(indicesOf(range), ElementsAre(0, 1, 2, restartIndex, 2, 1, 0));
}

TEST(SplitMesh, PartsFitTheirIndicesAndHoldAllTriangles) {
    const Indices triangles = meshes::damaged(meshes::grid(40, 30), 3);
    const std::size_t vertexCount = 1 + *std::max_element(triangles.begin(), triangles.end());
    const MeshPtr mesh = meshOf(TRIANGLES, triangles, vertexCount);
    const auto parts = splitMesh(*mesh, {.indexWidth = IndexWidth::Bits8});
    EXPECT_GT(parts.size(), 4U);
    Indices restored;
    for (const MeshPtr& part : parts) {
        EXPECT_EQ(part->getIndexBuffer()->getComponentType(), UNSIGNED_BYTE);
        const auto x = toElements<glm::vec3>(*part->getAttributeBuffer("position"));
        EXPECT_LE(x.size(), 255U);
        for (const unsigned int index : indicesOf(part)) {
            restored.push_back(static_cast<unsigned int>(x[index].x));
        }
    }
    EXPECT_EQ(restored, toTriangles(*mesh));
}

TEST(SplitMesh, LimitsTheTrianglesOfAPart) {
    const MeshPtr mesh = meshOf(TRIANGLES, meshes::grid(5, 5), 36);
    std::vector<std::size_t> sizes;
    for (const MeshPtr& part : splitMesh(*mesh, {.maxTriangles = 20})) {
        sizes.push_back(indicesOf(part).size() / 3);
    }
    EXPECT_THAT(sizes, ElementsAre(20, 20, 10));
}

TEST(SplitMesh, KeepsTheTypeOfTheIndices) {
    const Indices triangles = meshes::grid(20, 20);
    const auto sizes = [&](ComponentType type, IndexWidth width) {
        const auto indices = IndexBuffer::createDefault(type);
        indices->resize(triangles.size());
        for (std::size_t i = 0; i < triangles.size(); ++i) {
            indices->setElement(i, triangles[i]);
        }
        std::size_t most = 0;
        for (const MeshPtr& part : splitMesh(*makeMesh(TRIANGLES, indices, {positions(441)}), {.indexWidth = width})) {
            EXPECT_EQ(part->getIndexBuffer()->getComponentType(), width == IndexWidth::Keep ? type : UNSIGNED_SHORT);
            most = std::max(most, static_cast<std::size_t>(part->getAttributeBuffer(0)->getElementCount()));
        }
        return most;
    };
    for (const ComponentType type : {SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT}) {
        EXPECT_EQ(sizes(type, IndexWidth::Keep), 441U);
        EXPECT_EQ(sizes(type, IndexWidth::Narrowest), 441U);
    }
}

TEST(SplitMesh, KeepsSignedBytes) {
    const auto indices = IndexBuffer::createDefault(BYTE);
    assign(*indices, meshes::grid(7, 7));
    const MeshPtr mesh = makeMesh(TRIANGLES, indices, {positions(64)});
    const auto parts = splitMesh(*mesh, {.indexWidth = IndexWidth::Keep});
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0]->getIndexBuffer()->getComponentType(), BYTE);
    EXPECT_EQ(indicesOf(parts[0]), meshes::grid(7, 7));
}

TEST(SplitMesh, OfAMeshWithoutAttributesIsNothing) {
    EXPECT_THAT(splitMesh(*makeMesh(TRIANGLES, Indices{}, {})), IsEmpty());
}

TEST(SplitMesh, MeshThatFitsStaysWhole) {
    const MeshPtr mesh = meshOf(TRIANGLE_STRIP, {0, 1, 2, 3}, 9);
    const auto parts = splitMesh(*mesh);
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0]->getAttributeBuffer(0)->getElementCount(), 9U);
    EXPECT_THAT(indicesOf(parts[0]), ElementsAre(0, 1, 2, 1, 3, 2));
    EXPECT_THAT(splitMesh(*meshOf(TRIANGLES, {}, 3)), IsEmpty());
    EXPECT_THAT(messageOf([] { splitMesh(*meshOf(LINES, {0, 1}, 2)); }), HasSubstr("splitMesh: LINES does not"));
}

TEST(SplitMesh, GivesBackMergedMeshesOfEqualSize) {
    Indices list(30);
    std::iota(list.begin(), list.end(), 0U);
    const std::vector<MeshPtr> meshes{meshOf(TRIANGLES, list, 30), meshOf(TRIANGLES, list, 30)};
    const auto parts = splitMesh(*mergeMeshes(instancesOf(meshes)), {.maxTriangles = 10});
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_TRUE(isEqual(*parts[0], *meshes[0]));
    EXPECT_TRUE(isEqual(*parts[1], *meshes[1]));
}

} // namespace
