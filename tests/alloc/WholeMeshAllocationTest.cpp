#include "alloc/FailingNew.h"
#include "support/Meshes.h"

#include <vexa/mesh/Edges.h>
#include <vexa/mesh/Faults.h>
#include <vexa/mesh/Merge.h>
#include <vexa/mesh/Normals.h>
#include <vexa/mesh/Transformation.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/Weld.h>

#include <glm/gtc/matrix_transform.hpp>
#include <gtest/gtest.h>

#include <functional>
#include <new>

namespace {

using namespace vexa::mesh;
using vexa::test::FailingNew;
using vexa::test::liveAllocations;

MeshPtr sampleMesh(PrimitiveType type) {
    std::vector<glm::vec3> positions(60);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        positions[i] = {i % 7, i % 5, i % 3};
    }
    return makeMesh(type, meshes::soup(60, 40, 3),
                    {makeAttribute("position", positions), makeAttribute("normal", positions),
                     makeAttribute<glm::vec4>("tangent", 60)});
}

/// Lets one allocation after the other fail until none is left to fail, and checks after each that nothing has changed.
void failEveryAllocation(const std::function<void()>& operation, const std::function<void()>& expectNothingChanged) {
    for (std::size_t n = 0;; ++n) {
        const std::size_t before = liveAllocations();
        bool hasThrown = false;
        bool hasFailed = false;
        {
            const FailingNew failing(n, FailingNew::Mode::Once);
            try {
                operation();
            } catch (const std::bad_alloc&) {
                hasThrown = true;
            }
            hasFailed = failing.hasFailed();
        }
        if (!hasFailed) {
            ASSERT_GT(n, 1U);
            return;
        }
        ASSERT_EQ(liveAllocations(), before) << "allocation " << n;
        // The standard library's stable sort manages with less memory.
        if (hasThrown) {
            expectNothingChanged();
        }
    }
}

TEST(WholeMeshAllocation, FailureWhileMakingNewMeshesLeavesNothingBehind) {
    const MeshPtr list = sampleMesh(TRIANGLES);
    const MeshPtr strip = sampleMesh(TRIANGLE_STRIP);
    const auto nothing = [] {};
    failEveryAllocation([&] { weld(*list); }, nothing);
    failEveryAllocation([&] { weld(*list, {.tolerance = 1, .compare = {"position"}}); }, nothing);
    failEveryAllocation([&] { computeNormals(*list, {.creaseAngle = 0.5F}); }, nothing);
    failEveryAllocation([&] { classifyEdges(*strip); }, nothing);
    failEveryAllocation([&] { buildEdges(meshes::book(70)); }, nothing);
    failEveryAllocation([&] { findFaults(*list); }, nothing);
    failEveryAllocation([&] { splitMesh(*list, {.maxTriangles = 7}); }, nothing);
    const std::vector<MeshInstance> instances{{strip}, {strip, glm::scale(glm::mat4(1.0F), glm::vec3(-1, 1, 1))}};
    failEveryAllocation([&] { mergeMeshes(instances, {.join = StripJoin::Degenerate}); }, nothing);
    failEveryAllocation([&] { mergedRanges(instances); }, nothing);
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
