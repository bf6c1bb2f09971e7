#include "support/Million.h"
#include "support/UnreadableIndices.h"

#include <vexa/mesh/BoundingBox.h>
#include <vexa/mesh/Edges.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Merge.h>
#include <vexa/mesh/MeshConcatenation.h>
#include <vexa/mesh/StripBound.h>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Strips.h>
#include <vexa/mesh/Transformation.h>
#include <vexa/mesh/Views.h>

#include <glm/gtc/matrix_transform.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

// Buffers of a million vertices, which VEXA_MILLIONS=360 makes larger than 4 GiB, and lists that are too long.

namespace {

using namespace vexa::mesh;

const std::size_t million = vexa::test::readMillion();

/// A position from which its place in the buffer can be told.
glm::vec3 positionAt(std::size_t vertex) {
    return {static_cast<float>(vertex % 65536), static_cast<float>(vertex / 65536), 1.0F};
}

/// Half a million vertices, and three times as many indices: with twice that, both buffers have 12 bytes a vertex.
MeshPtr halfMesh() {
    const std::size_t count = million / 2;
    auto positions = AttributeBuffer::createDefaultVec3f("position");
    positions->resize(count);
    const auto elements = elementsOf<glm::vec3>(*positions);
    for (std::size_t i = 0; i < count; ++i) {
        elements[i] = positionAt(i);
    }
    auto indices = IndexBuffer::createDefault(UNSIGNED_INT);
    indices->resize(3 * count);
    const auto corners = indicesOf<unsigned int>(*indices);
    for (std::size_t i = 0; i < 3 * count; ++i) {
        corners[i] = static_cast<unsigned int>(i % count);
    }
    return makeMesh(TRIANGLES, indices, {positions});
}

/// Expects a mesh and its copy moved by 1 along z.
void expectBothHalves(const Mesh& mesh) {
    const std::size_t count = million / 2;
    const auto elements = elementsOf<glm::vec3>(mesh, "position");
    ASSERT_EQ(elements.size(), 2 * count);
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < 2 * count; ++i) {
        const glm::vec3 moved(0, 0, i < count ? 0 : 1);
        wrong += elements[i] != positionAt(i % count) + moved ? 1U : 0U;
    }
    EXPECT_EQ(wrong, 0u);
    const auto corners = indicesOf<unsigned int>(mesh);
    ASSERT_EQ(corners.size(), 6 * count);
    wrong = 0;
    for (std::size_t i = 0; i < 6 * count; ++i) {
        wrong += corners[i] != i % count + (i < 3 * count ? 0 : count) ? 1U : 0U;
    }
    EXPECT_EQ(wrong, 0u);
}

TEST(BufferScale, AppendsAMeshToItself) {
    MeshPtr mesh = halfMesh();
    AttributeTransformationMap map;
    createTransformation(map, glm::translate(glm::mat4(1.0F), glm::vec3(0, 0, 1)));
    concatMeshes(mesh, mesh, map);
    expectBothHalves(*mesh);
}

TEST(BufferScale, MergesMeshes) {
    const MeshPtr half = halfMesh();
    const std::vector<MeshInstance> instances{{half}, {half, glm::translate(glm::mat4(1.0F), glm::vec3(0, 0, 1))}};
    expectBothHalves(*mergeMeshes(instances, {.threads = 2}));
}

TEST(BufferScale, PlacesAndBoundsAMesh) {
    auto positions = makeAttribute<glm::vec3>("position", million);
    const auto elements = elementsOf<glm::vec3>(*positions);
    for (std::size_t i = 0; i < million; ++i) {
        elements[i] = positionAt(i);
    }
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {positions});
    placeMesh(*mesh, glm::scale(glm::mat4(1.0F), glm::vec3(-2, 1, 1)));
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < million; ++i) {
        wrong += elements[i] != positionAt(i) * glm::vec3(-2, 1, 1) ? 1U : 0U;
    }
    EXPECT_EQ(wrong, 0u);
    glm::detail::taabb<float> box{};
    computeVolume(box, mesh, glm::mat4(1.0F));
    EXPECT_EQ(box.max, glm::vec3(0, positionAt(million - 1).y, 1));
    EXPECT_EQ(box.min, glm::vec3(-2 * positionAt(std::min<std::size_t>(million, 65536) - 1).x, 0, 1));
}

/// The message of the std::length_error that a call throws.
std::string lengthErrorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const std::length_error& error) {
        return error.what();
    }
    return "";
}

TEST(BufferScale, RefusesTooManyTrianglesWithoutReadingThem) {
    if (sizeof(void*) == 4) {
        GTEST_SKIP() << "no list is that long";
    }
    const vexa::test::UnreadableIndices all(3UL * 1431655765);
    const std::string refusal = "Strips can be built from at most 1073741821 triangles";
    const auto tooLong = all.get().first(3UL * 1073741822);
    EXPECT_EQ(lengthErrorOf([&] { (void)buildPrimitives(tooLong); }), refusal);
    EXPECT_EQ(lengthErrorOf([&] { (void)buildStripBuffer(tooLong); }), refusal);
    EXPECT_EQ(lengthErrorOf([&] { (void)buildStrips(tooLong); }), refusal);
    EXPECT_EQ(lengthErrorOf([&] { (void)minIndexCount(all.get().first(3UL * 268435457), StripJoin::Restart); }),
              "minIndexCount: 268435457 triangles are more than the supported 268435456");
    EXPECT_EQ(lengthErrorOf([&] { (void)buildEdges(all.get()); }),
              "buildEdges: edges can be listed of at most 1431655764 triangles, not of 1431655765");
}

} // namespace
