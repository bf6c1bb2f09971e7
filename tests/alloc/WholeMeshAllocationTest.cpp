#include "alloc/EveryAllocation.h"
#include "support/Meshes.h"

#include <vexa/mesh/AttributeTransformation.h>
#include <vexa/mesh/Edges.h>
#include <vexa/mesh/Faults.h>
#include <vexa/mesh/Interleave.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Merge.h>
#include <vexa/mesh/MeshConcatenation.h>
#include <vexa/mesh/Normals.h>
#include <vexa/mesh/Statistics.h>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Transformation.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/Weld.h>

#include <algorithm>
#include <cstring>
#include <glm/gtc/matrix_transform.hpp>
#include <gtest/gtest.h>
#include <new>
#include <span>
#include <utility>
#include <vector>

namespace {

using namespace vexa::mesh;
using vexa::test::failEveryAllocation;

MeshPtr sampleMesh(PrimitiveType type) {
    std::vector<glm::vec3> positions(60);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        positions[i] = {i % 7, i % 5, i % 3};
    }
    return makeMesh(type, meshes::soup(60, 40, 3),
                    {makeAttribute("position", positions), makeAttribute("normal", positions),
                     makeAttribute<glm::vec4>("tangent", 60)});
}

TEST(WholeMeshAllocation, FailureWhileMakingNewMeshesLeavesNothingBehind) {
    const MeshPtr list = sampleMesh(TRIANGLES);
    const MeshPtr strip = sampleMesh(TRIANGLE_STRIP);
    failEveryAllocation([&] { weld(*list); });
    failEveryAllocation([&] { weld(*list, {.tolerance = 1, .compare = {"position"}}); });
    failEveryAllocation([&] { computeNormals(*list, {.creaseAngle = 0.5F}); });
    failEveryAllocation([&] { classifyEdges(*strip); });
    failEveryAllocation([&] { buildEdges(meshes::book(70)); });
    failEveryAllocation([&] { findFaults(*list); });
    failEveryAllocation([&] { splitMesh(*list, {.maxTriangles = 7}); });
    const std::vector<MeshInstance> instances{{strip}, {strip, glm::scale(glm::mat4(1.0F), glm::vec3(-1, 1, 1))}};
    failEveryAllocation([&] { mergeMeshes(instances, {.join = StripJoin::Degenerate}); });
    failEveryAllocation([&] { mergedRanges(instances); });
    const MeshPtr large =
        makeMesh(POINTS, nullptr, {makeAttribute<glm::vec3>("position", 20000), makeAttribute<glm::vec2>("uv", 20000)});
    failEveryAllocation([&] { mergeMeshes(std::vector<MeshInstance>{{large}, {large}}, {.threads = 3}); });
    failEveryAllocation([&] { extractRange(*strip, {.vertexCount = 60, .indexCount = 9}); });
    failEveryAllocation([&] { Mesh::createEmptyMesh(list); });
    failEveryAllocation([&] { AttributeBuffer::createDefault(FLOAT, 7, "an attribute with a long name"); });
    failEveryAllocation([&] { toLines(classifyEdges(*strip), EdgeClass::Border); });
    failEveryAllocation([&] { buildStrips(meshes::sphere(12, 8)); });
    failEveryAllocation([&] { computeStats(*strip); });
    failEveryAllocation([&] {
        std::vector<float> weights(60);
        makeInterleaved(std::as_bytes(std::span(weights)), 12,
                        std::vector<VertexAttribute>{attributeAt<glm::vec3>("position", 0)});
    });
}

TEST(WholeMeshAllocation, FailureToFlipWindingsChangesNothing) {
    for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN}) {
        const MeshPtr mesh = sampleMesh(type);
        const std::vector<unsigned int> before = toIndices(*mesh->getIndexBuffer());
        // The first winding that is flipped without a failure ends the loop.
        failEveryAllocation([&] { flipWinding(*mesh); }, [&] { ASSERT_EQ(toIndices(*mesh->getIndexBuffer()), before); },
                            1);
    }
}

TEST(WholeMeshAllocation, FailureToTransformChangesNothing) {
    const auto positions = makeAttribute("position", std::vector<glm::vec3>{{1, 2, 3}, {4, 5, 6}});
    const auto isUnchanged = [&] { ASSERT_EQ(elementsOf<glm::vec3>(*positions)[1], glm::vec3(4, 5, 6)); };
    const auto toOrigin = [](void* element) { *static_cast<glm::vec3*>(element) = {}; };
    auto buffer = positions;
    failEveryAllocation([&] { transformAttrib(buffer, toOrigin); }, isUnchanged, 1);
    const auto target = makeAttribute("position", std::vector<glm::vec3>{{1, 2, 3}, {4, 5, 6}});
    const auto targetIsUnchanged = [&] { ASSERT_EQ(elementsOf<glm::vec3>(*target)[1], glm::vec3(4, 5, 6)); };
    const auto copy = [](const void* from, void* to) { std::memcpy(to, from, sizeof(glm::vec3)); };
    failEveryAllocation([&] { transformAttributes(positions, target, copy); }, targetIsUnchanged, 1);
    const auto entriesOf = [](auto create) {
        return [create] {
            AttributeTransformationMap map;
            create(map, glm::mat4(2.0F));
        };
    };
    failEveryAllocation(entriesOf(createClassicTransformation));
    failEveryAllocation(entriesOf([](auto& map, const glm::mat4& matrix) { createTransformation(map, matrix); }));
}

TEST(WholeMeshAllocation, FailureToAppendKeepsTheElementsOfTheTarget) {
    const MeshPtr source = sampleMesh(TRIANGLES);
    bool areKept = true;
    failEveryAllocation([&] {
        MeshPtr target = copyMesh(*source);
        try {
            concatMeshes(target, source, {});
        } catch (const std::bad_alloc&) {
            for (unsigned long i = 0; i < 3; ++i) {
                const auto before = bytesOf(std::as_const(*source->getAttributeBuffer(i)));
                const auto now = bytesOf(std::as_const(*target->getAttributeBuffer(i)));
                areKept &= now.size() >= before.size() && std::equal(before.begin(), before.end(), now.begin());
            }
            throw;
        }
    });
    EXPECT_TRUE(areKept);
}

TEST(WholeMeshAllocation, FailureWhilePlacingChangesNothing) {
    for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP}) {
        const MeshPtr mesh = sampleMesh(type);
        if (type == TRIANGLES) {
            mesh->setIndexBuffer(nullptr);
        }
        const MeshPtr before = copyMesh(*mesh);
        const auto expectNothingChanged = [&] {
            for (unsigned long i = 0; i < 3; ++i) {
                const auto now = bytesOf(*mesh->getAttributeBuffer(i));
                const auto then = bytesOf(*before->getAttributeBuffer(i));
                ASSERT_TRUE(std::equal(now.begin(), now.end(), then.begin(), then.end()));
            }
            ASSERT_EQ(mesh->getIndexBuffer() == nullptr, before->getIndexBuffer() == nullptr);
            if (mesh->getIndexBuffer()) {
                ASSERT_EQ(toIndices(*mesh->getIndexBuffer()), toIndices(*before->getIndexBuffer()));
            }
        };
        failEveryAllocation([&] { placeMesh(*mesh, glm::scale(glm::mat4(1.0F), glm::vec3(-1, 2, 3))); },
                            expectNothingChanged);
    }
}

} // namespace
