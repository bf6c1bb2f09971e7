#include <vexa/mesh/Transformation.h>

#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Strips.h>
#include <vexa/mesh/Triangles.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "support/Floats.h"
#include "support/Foreign.h"
#include "support/Messages.h"

#include <glm/glm.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::test::Exactly;
using vexa::test::foreignCopy;
using Indices = std::vector<unsigned int>;

glm::mat4 scaling(float x, float y, float z) {
    return glm::scale(glm::mat4(1.0F), glm::vec3(x, y, z));
}

/// A mirrored, sheared and moved placement.
glm::mat4 skewed() {
    glm::mat4 m = glm::rotate(scaling(2, -1, 0.5F), 0.7F, glm::vec3(1, 2, 3));
    m[2][0] += 0.4F;
    m[3] = glm::vec4(4, -5, 6, 1);
    return m;
}

std::vector<glm::vec3> randomVectors(std::size_t count, unsigned int seed) {
    std::mt19937 engine(seed);
    std::vector<glm::vec3> vectors(count);
    for (glm::vec3& v : vectors) {
        for (int i = 0; i < 3; ++i) {
            v[i] = static_cast<float>(static_cast<std::int32_t>(engine())) * 0x1p-30F;
        }
    }
    return vectors;
}

glm::vec3 placedNormal(const glm::vec3& normal, const glm::mat4& matrix, NormalLength length = NormalLength::Unit) {
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute("normal", std::vector{normal})});
    placeMesh(*mesh, matrix, {.normals = length});
    return elementsOf<glm::vec3>(*mesh, "normal")[0];
}

/// The direction of a normal under the inverse transpose, in double.
glm::dvec3 exactNormal(const glm::vec3& normal, const glm::mat4& matrix) {
    return glm::normalize(glm::transpose(glm::inverse(glm::dmat3(glm::dmat4(matrix)))) * glm::dvec3(normal));
}

double angleBetween(const glm::dvec3& a, const glm::dvec3& b) {
    return std::atan2(glm::length(glm::cross(a, b)), glm::dot(a, b));
}

TEST(IsMirroring, IsTheSignOfTheDeterminant) {
    EXPECT_FALSE(isMirroring(glm::mat4(1.0F)));
    EXPECT_TRUE(isMirroring(scaling(1, -1, 1)));
    EXPECT_FALSE(isMirroring(scaling(1, -1, -1)));
    EXPECT_TRUE(isMirroring(scaling(1e-30F, -1e-30F, 1e-30F)));
    EXPECT_FALSE(isMirroring(scaling(-1, 1, 0)));
}

TEST(PlaceMesh, NormalsStayPerpendicularUnderASmallUnevenScale) {
    const glm::mat4 matrix = scaling(1e-3F, 1e-3F, 0.5e-3F);
    const glm::vec3 normal = glm::normalize(glm::vec3(1, 0, 1));
    EXPECT_LT(angleBetween(placedNormal(normal, matrix), exactNormal(normal, matrix)), 1e-6);
    EXPECT_NEAR(placedNormal(normal, matrix).x, 1 / std::sqrt(5.0F), 1e-6F);
}

TEST(PlaceMesh, NormalsDoNotDependOnTheScaleOfTheMatrix) {
    for (const glm::vec3& normal : randomVectors(50, 1)) {
        for (const float scale : {1e-18F, 1e-6F, 1.0F, 1e6F, 1e18F}) {
            const glm::mat4 matrix = scaling(scale, scale, scale) * skewed();
            const glm::vec3 placed = placedNormal(normal, matrix);
            EXPECT_NEAR(glm::length(placed), 1.0F, 2e-7F);
            EXPECT_LT(angleBetween(placed, exactNormal(normal, skewed())), 1e-6);
        }
    }
}

TEST(PlaceMesh, NormalsOfAnyLengthBecomeUnit) {
    for (const float length : {1e-42F, 1e-20F, 1.0F, 1e20F, 3e38F}) {
        EXPECT_EQ(placedNormal({0, length, 0}, glm::mat4(1.0F)), glm::vec3(0, 1, 0)) << length;
    }
    EXPECT_EQ(placedNormal({0, 0, 0}, skewed()), glm::vec3(0, 0, 0));
}

TEST(PlaceMesh, ResultsDoNotDependOnTheNeighboursInTheBuffer) {
    std::vector<glm::vec3> normals;
    for (const vexa::test::Vec3& v : vexa::test::mixedVectors(500, 3)) {
        normals.emplace_back(v[0], v[1], v[2]);
    }
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute("normal", normals)});
    placeMesh(*mesh, skewed());
    for (std::size_t i = 0; i < normals.size(); ++i) {
        const glm::vec3 alone = placedNormal(normals[i], skewed());
        const glm::vec3 together = elementsOf<glm::vec3>(*mesh, "normal")[i];
        for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(Exactly{alone[k]}, Exactly{together[k]}) << i;
        }
    }
}

TEST(PlaceMesh, OtherLengthsOfNormalsCanBeChosen) {
    const glm::vec3 normal(1, 2, 2);
    const glm::vec3 sum = placedNormal(normal, scaling(2, 2, 2), NormalLength::L1);
    EXPECT_FLOAT_EQ(std::abs(sum.x) + std::abs(sum.y) + std::abs(sum.z), 1.0F);
    EXPECT_EQ(placedNormal(normal, scaling(2, 2, 2), NormalLength::Keep), glm::vec3(0.5F, 1, 1));
}

TEST(PlaceMesh, FlatteningTurnsNormalsToThePlane) {
    EXPECT_EQ(placedNormal(glm::normalize(glm::vec3(1, 1, 1)), scaling(3, 2, 0)), glm::vec3(0, 0, 1));
    EXPECT_EQ(placedNormal({0, 1, 0}, scaling(0, 0, 0)), glm::vec3(0, 1, 0));
}

TEST(PlaceMesh, TangentsStayInTheSurfaceAndChangeHandednessInAMirror) {
    const std::vector<glm::vec3> normals = randomVectors(100, 5);
    std::vector<glm::vec4> tangents;
    std::vector<glm::vec3> bitangents;
    for (std::size_t i = 0; i < normals.size(); ++i) {
        const glm::vec3 tangent = glm::normalize(glm::cross(normals[i], glm::vec3(1, 0.3F, 0.2F)));
        tangents.emplace_back(tangent, i % 2 == 0 ? 1.0F : -1.0F);
        bitangents.push_back(glm::cross(normals[i], tangent) * tangents[i].w);
    }
    for (const glm::mat4& matrix : {skewed(), glm::rotate(glm::mat4(1.0F), 2.0F, glm::vec3(3, 2, 1))}) {
        const MeshPtr mesh =
            makeMesh(POINTS, nullptr, {makeAttribute("normal", normals), makeAttribute("tangent", tangents)});
        placeMesh(*mesh, matrix);
        for (std::size_t i = 0; i < normals.size(); ++i) {
            const glm::vec3 normal = elementsOf<glm::vec3>(*mesh, "normal")[i];
            const glm::vec4 tangent = elementsOf<glm::vec4>(*mesh, "tangent")[i];
            EXPECT_NEAR(glm::dot(normal, glm::vec3(tangent)), 0.0F, 1e-5F);
            EXPECT_NEAR(glm::length(glm::vec3(tangent)), 1.0F, 1e-6F);
            // The bitangent is on the side to which the matrix moves it.
            const glm::vec3 bitangent = glm::cross(normal, glm::vec3(tangent)) * tangent.w;
            EXPECT_GT(glm::dot(bitangent, glm::mat3(matrix) * bitangents[i]), 0.0F);
        }
    }
}

TEST(PlaceMesh, TangentsMayHaveThreeFloats) {
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute("tangent", std::vector{glm::vec3(1, 0, 0)})});
    placeMesh(*mesh, scaling(-2, 1, 1));
    EXPECT_EQ(elementsOf<glm::vec3>(*mesh, "tangent")[0], glm::vec3(-1, 0, 0));
    placeMesh(*mesh, scaling(-2, 1, 1), {.normals = NormalLength::Keep});
    EXPECT_EQ(elementsOf<glm::vec3>(*mesh, "tangent")[0], glm::vec3(2, 0, 0));
}

TEST(PlaceMesh, InverseGivesBackThePositions) {
    const std::vector<glm::vec3> positions = randomVectors(300, 7);
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute("position", positions)});
    placeMesh(*mesh, skewed());
    placeMesh(*mesh, glm::inverse(skewed()));
    for (std::size_t i = 0; i < positions.size(); ++i) {
        EXPECT_LT(glm::distance(elementsOf<glm::vec3>(*mesh, "position")[i], positions[i]), 1e-5F);
    }
}

TEST(PlaceMesh, PositionsAreThoseOfTheClassicTransformation) {
    const std::vector<glm::vec3> positions = randomVectors(77, 9);
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute("position", positions)});
    MeshPtr classic = copyMesh(*mesh);
    placeMesh(*mesh, skewed());
    AttributeTransformationMap map;
    createClassicTransformation(map, skewed());
    transformMesh(classic, map);
    EXPECT_EQ(toElements<glm::vec3>(*mesh->getAttributeBuffer("position")),
              toElements<glm::vec3>(*classic->getAttributeBuffer("position")));
}

TEST(PlaceMesh, InterleavedAndForeignBuffersGetTheSameValues) {
    const std::vector<glm::vec3> positions = randomVectors(700, 11);
    const std::vector<glm::vec3> normals = randomVectors(700, 12);
    std::vector<glm::vec4> tangents;
    for (const glm::vec3& v : randomVectors(700, 13)) {
        tangents.emplace_back(v, 1.0F);
    }
    const AttributeBuffers packed{makeAttribute("position", positions), makeAttribute("normal", normals),
                                  makeAttribute("tangent", tangents)};
    const auto storage = std::make_shared<detail::VectorBufferData>();
    storage->resize(700 * 44);
    AttributeBuffers interleaved;
    AttributeBuffers foreign;
    for (unsigned long i = 0; i < 3; ++i) {
        interleaved.push_back(std::make_shared<detail::DefaultAttributeBuffer>(
            FLOAT, i == 2 ? 4 : 3, 44, 12 * i + (i == 2 ? 4 : 0), storage, packed[i]->getAttributeName()));
        foreign.push_back(foreignCopy(*packed[i]));
        for (unsigned long k = 0; k < 700; ++k) {
            std::array<float, 4> element{};
            packed[i]->getElement(k, element.data());
            interleaved[i]->setElement(k, element.data());
        }
    }
    for (const AttributeBuffers& buffers : {packed, interleaved, foreign}) {
        placeMesh(*makeMesh(POINTS, nullptr, buffers), skewed());
    }
    for (unsigned long i = 0; i < 3; ++i) {
        for (unsigned long k = 0; k < 700; ++k) {
            std::array<std::array<float, 4>, 3> elements{};
            packed[i]->getElement(k, elements[0].data());
            interleaved[i]->getElement(k, elements[1].data());
            foreign[i]->getElement(k, elements[2].data());
            ASSERT_EQ(elements[0], elements[1]) << i << " " << k;
            ASSERT_EQ(elements[0], elements[2]) << i << " " << k;
        }
    }
}

TEST(PlaceMesh, RefusesOtherAttributesThanFloatsAndChangesNothing) {
    const MeshPtr mesh = makeMesh(
        TRIANGLES, Indices{0, 1, 2},
        {makeAttribute("position", randomVectors(3, 1)), makeAttribute<std::array<std::uint8_t, 2>>("normal", 3)});
    const MeshPtr before = copyMesh(*mesh);
    try {
        placeMesh(*mesh, scaling(-1, 1, 1));
        ADD_FAILURE();
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(),
                     "placeMesh: attribute \"normal\" has elements of 2 components of the type \"unsigned "
                     "byte\"; it must have three floats");
    }
    EXPECT_EQ(toElements<glm::vec3>(*mesh->getAttributeBuffer("position")),
              toElements<glm::vec3>(*before->getAttributeBuffer("position")));
    EXPECT_THAT(toIndices(*mesh->getIndexBuffer()), ElementsAre(0, 1, 2));
    mesh->addAttributeBuffer(nullptr);
    EXPECT_THROW(placeMesh(*mesh, glm::mat4(1.0F)), std::invalid_argument);
}

TEST(PlaceMesh, RefusesTangentsOfTwoFloats) {
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute<glm::vec2>("tangent", 1)});
    EXPECT_THAT(messageOf([&] { placeMesh(*mesh, scaling(2, 2, 2)); }), HasSubstr("it must have three or four floats"));
}

TEST(PlaceMesh, LeavesOtherAttributes) {
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute("uv", std::vector{glm::vec3(1, 2, 3)})});
    placeMesh(*mesh, scaling(2, 2, 2));
    EXPECT_EQ(toElements<glm::vec3>(*mesh->getAttributeBuffer(0))[0], glm::vec3(1, 2, 3));
}

TEST(PlaceMesh, KeepingLengthsUnderAFlatteningTurnsNormalsToThePlane) {
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute("normal", std::vector{glm::vec3(0, 0, 1)})});
    placeMesh(*mesh, scaling(1, 1, 0), {.normals = NormalLength::Keep});
    EXPECT_EQ(toElements<glm::vec3>(*mesh->getAttributeBuffer(0))[0], glm::vec3(0, 0, 1));
}

TEST(PlaceMesh, RefusesEmptyPointersAndChangesNothing) {
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute("position", std::vector{glm::vec3(1)})});
    mesh->addAttributeBuffer(nullptr);
    EXPECT_EQ(messageOf([&] { placeMesh(*mesh, scaling(2, 2, 2)); }), "placeMesh: attribute buffer 1 is empty");
    EXPECT_EQ(toElements<glm::vec3>(*mesh->getAttributeBuffer(0))[0], glm::vec3(1));
}

TEST(PlaceMesh, TransformsABufferThatTheMeshHoldsTwiceOnce) {
    const auto positions = makeAttribute("position", std::vector{glm::vec3(1, 1, 1)});
    placeMesh(*makeMesh(POINTS, nullptr, {positions, positions}), scaling(2, 2, 2));
    EXPECT_EQ(elementsOf<glm::vec3>(*positions)[0], glm::vec3(2, 2, 2));
}

TEST(PlaceMesh, TurnsTheWindingOnlyInAMirror) {
    const auto positions = makeAttribute("position", randomVectors(4, 2));
    const MeshPtr mesh = makeMesh(TRIANGLES, Indices{0, 1, 2, 2, 1, 3}, {positions});
    placeMesh(*mesh, scaling(2, 2, 2));
    EXPECT_THAT(toIndices(*mesh->getIndexBuffer()), ElementsAre(0, 1, 2, 2, 1, 3));
    placeMesh(*mesh, scaling(2, 2, -2));
    EXPECT_THAT(toIndices(*mesh->getIndexBuffer()), ElementsAre(0, 2, 1, 2, 3, 1));
    const MeshPtr lines = makeMesh(LINES, Indices{0, 1}, {positions});
    placeMesh(*lines, scaling(2, 2, -2));
    EXPECT_THAT(toIndices(*lines->getIndexBuffer()), ElementsAre(0, 1));
}

Indices flipped(PrimitiveType type, Indices indices) {
    flipWinding(type, indices);
    return indices;
}

TEST(FlipWinding, TurnsListsFansAndStrips) {
    EXPECT_THAT(flipped(TRIANGLES, {0, 1, 2, 3, 4, 5, 6}), ElementsAre(0, 2, 1, 3, 5, 4, 6));
    EXPECT_THAT(flipped(TRIANGLES, {0, 1, restartIndex, 3, 4, 5}), ElementsAre(0, 1, restartIndex, 3, 5, 4));
    EXPECT_THAT(flipped(TRIANGLE_FAN, {0, 1, 2, 3, restartIndex, 4, 5, 6}),
                ElementsAre(0, 3, 2, 1, restartIndex, 4, 6, 5));
    EXPECT_THAT(flipped(TRIANGLE_STRIP, {0, 1, 2, 3, 4}), ElementsAre(4, 3, 2, 1, 0));
    EXPECT_THAT(flipped(TRIANGLE_STRIP, {0, 1, 2, 3, restartIndex, 4, 5, 6}),
                ElementsAre(0, 0, 1, 2, 3, restartIndex, 6, 5, 4));
    EXPECT_THAT(flipped(TRIANGLE_STRIP, {0, 0, 1, 2, 3}), ElementsAre(0, 1, 2, 3));
}

/// Calls `visit` with every list of up to `size` indices below `limit`; the last of them stands for a restart index.
template <class Visit>
void forEachList(std::size_t size, unsigned int limit, const Visit& visit) {
    for (std::size_t length = 0; length <= size; ++length) {
        const auto count = static_cast<std::uint64_t>(std::pow(limit, length));
        for (std::uint64_t number = 0; number < count; ++number) {
            Indices indices(length);
            std::uint64_t rest = number;
            for (unsigned int& index : indices) {
                index = static_cast<unsigned int>(rest % limit);
                index = index == limit - 1 ? restartIndex : index;
                rest /= limit;
            }
            visit(indices);
        }
    }
}

TEST(FlipWinding, TurnsEveryTriangleAndTwiceGivesBackTheSameIndices) {
    for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN}) {
        forEachList(7, 4, [type](const Indices& indices) {
            const Indices once = flipped(type, indices);
            ASSERT_EQ(flipped(type, once), indices);
            Indices expected = toTriangles(type, indices);
            for (std::size_t i = 0; i < expected.size(); i += 3) {
                std::swap(expected[i + 1], expected[i + 2]);
            }
            ASSERT_TRUE(sameTriangles(toTriangles(type, once), expected)) << testing::PrintToString(indices);
        });
    }
}

TEST(FlipWinding, KeepsTheIndexTypeOfAMesh) {
    const auto positions = makeAttribute<glm::vec3>("position", 4);
    const MeshPtr mesh = makeMesh(TRIANGLE_STRIP, Indices{0, 1, 2, 3, restartIndex, 1, 2, 3}, {positions},
                                  {.indexWidth = IndexWidth::Bits8});
    flipWinding(*mesh);
    EXPECT_EQ(mesh->getIndexBuffer()->getComponentType(), UNSIGNED_BYTE);
    EXPECT_THAT(toIndices(*mesh->getIndexBuffer()), ElementsAre(0, 0, 1, 2, 3, restartIndex, 3, 2, 1));
}

TEST(FlipWinding, GivesIndicesToAMeshWithoutThem) {
    const MeshPtr mesh = makeMesh(TRIANGLES, nullptr, {makeAttribute<glm::vec3>("position", 6)});
    flipWinding(*mesh);
    EXPECT_EQ(mesh->getIndexBuffer()->getComponentType(), UNSIGNED_SHORT);
    EXPECT_THAT(toIndices(*mesh->getIndexBuffer()), ElementsAre(0, 2, 1, 3, 5, 4));
}

TEST(FlipWinding, GivesWideIndicesToManyVertices) {
    const MeshPtr mesh = makeMesh(TRIANGLES, nullptr, {makeAttribute<glm::vec3>("position", 65538)});
    flipWinding(*mesh);
    EXPECT_EQ(mesh->getIndexBuffer()->getComponentType(), UNSIGNED_INT);
    EXPECT_EQ(toIndices(*mesh->getIndexBuffer()).back(), 65536U);
}

TEST(FlipWinding, RefusesMoreVerticesThan32BitsTellApart) {
    if (sizeof(unsigned long) == 4) {
        GTEST_SKIP() << "no mesh has as many";
    }
    const MeshPtr mesh =
        makeMesh(TRIANGLES, nullptr, {std::make_shared<vexa::test::TooManyPositions>(restartIndex + 1UL)});
    EXPECT_EQ(messageOf<std::length_error>([&] { flipWinding(*mesh); }),
              "flipWinding: 4294967296 vertices need more than 32 bits an index; split the mesh");
    EXPECT_EQ(mesh->getIndexBuffer(), nullptr);
}

TEST(PlaceMesh, TurnsTheWindingOfFansInAMirror) {
    const MeshPtr fan = makeMesh(TRIANGLE_FAN, Indices{0, 1, 2}, {makeAttribute("position", randomVectors(3, 2))});
    const Indices before = toTriangles(*fan);
    placeMesh(*fan, scaling(2, 2, -2));
    EXPECT_EQ(toTriangles(*fan), (Indices{before[0], before[2], before[1]}));
}

TEST(FlipWinding, RefusesMeshesWithoutTriangles) {
    Indices indices{0, 1};
    try {
        flipWinding(LINES, indices);
        ADD_FAILURE();
    } catch (const std::invalid_argument& error) {
        EXPECT_THAT(error.what(), HasSubstr("flipWinding: LINES does not contain triangles"));
    }
}

TEST(CreateTransformation, KeepsOtherEntries) {
    AttributeTransformationMap map;
    map["uv"] = [](void*) {};
    createTransformation(map, skewed());
    EXPECT_EQ(map.size(), 4U);
    glm::vec4 tangent(1, 0, 0, 1);
    map.at("tangent")(&tangent);
    EXPECT_EQ(tangent.w, -1.0F);
}

TEST(ApplyTransformations, TakeReferencesAndTemporaries) {
    const auto moved = createVec3ElementFunction(
        createVec3TransformationFunction(1, glm::translate(glm::mat4(1.0F), glm::vec3(1, 2, 3))));
    const auto positions = makeAttribute("position", std::vector{glm::vec3(0, 0, 0)});
    applyTransformations(*makeMesh(POINTS, nullptr, {positions}), {{"position", moved}});
    EXPECT_EQ(elementsOf<glm::vec3>(*positions)[0], glm::vec3(1, 2, 3));
    applyTransformation(*positions, moved);
    EXPECT_EQ(elementsOf<glm::vec3>(*positions)[0], glm::vec3(2, 4, 6));
}

TEST(DescribedOperations, HaveUnambiguousAddresses) {
    EXPECT_NE(&transformMesh, nullptr);
    EXPECT_NE(&transformAttrib, nullptr);
    EXPECT_NE(&transformAttributes, nullptr);
    EXPECT_NE(&createClassicTransformation, nullptr);
    EXPECT_NE(&createVec3TransformationFunction, nullptr);
    EXPECT_NE(&createVec3AttributeTransformationFunction, nullptr);
}

} // namespace
