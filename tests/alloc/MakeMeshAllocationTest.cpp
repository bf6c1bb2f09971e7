#include "alloc/EveryAllocation.h"
#include "support/Buffers.h"
#include "support/Graphs.h"
#include "support/Meshes.h"

#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/Interleave.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Statistics.h>
#include <vexa/mesh/Strips.h>
#include <vexa/mesh/Triangles.h>
#include <vexa/mesh/Views.h>

#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace vexa::mesh;
using vexa::test::failEveryAllocation;

TEST(MakeMeshAllocation, FailureLeavesNothingBehind) {
    const auto positions = vexa::test::zeros("position", 200);
    const std::vector<IndexedPrimitive> primitives = buildPrimitives(meshes::sphere(12, 8), {.buildFans = true});
    const auto isUnshared = [&] { ASSERT_EQ(positions.use_count(), 1); };
    failEveryAllocation([&] { makeMesh(primitives, {positions}, {.join = StripJoin::Degenerate}); }, isUnshared);
    failEveryAllocation([&] { makeAttribute("normal", std::vector<glm::vec3>(9)); });
    const MeshPtr mesh = makeMesh(primitives, {positions});
    failEveryAllocation([&] { copyMesh(*mesh); });
    failEveryAllocation([&] { toTriangles(*mesh); });
}

TEST(MakeMeshAllocation, FailureToAssignLeavesTheBuffer) {
    const auto positions = vexa::test::vec3f("position", {{1, 2, 3}});
    const auto isUnchanged = [&] { ASSERT_EQ(elementsOf<glm::vec3>(*positions)[0], glm::vec3(1, 2, 3)); };
    const std::vector<glm::vec3> elements(100);
    failEveryAllocation([&] { assign(*positions, elements); }, isUnchanged, 1);
    for (const ComponentType type : {UNSIGNED_SHORT, UNSIGNED_INT}) {
        const auto indices = vexa::test::indexBuffer(type, {7});
        const auto areUnchanged = [&] {
            ASSERT_EQ(indices->getElementCount(), 1U);
            ASSERT_EQ(indices->getElement(0), 7U);
        };
        const std::vector<unsigned int> many(100);
        failEveryAllocation([&] { assign(*indices, many); }, areUnchanged, 1);
    }
}

TEST(MakeMeshAllocation, FailureToInterleaveOrCountLeavesNothingBehind) {
    const AttributeBuffers attributes{vexa::test::zeros("position", 20), vexa::test::zeros("normal", 20)};
    failEveryAllocation([&] { interleave(attributes); });
    const std::vector<float> floats(20);
    failEveryAllocation([&] { BufferStorage::copy(std::as_bytes(std::span(floats))); });
    const auto owner = std::make_shared<std::vector<float>>(20);
    failEveryAllocation([&] { adoptAttribute("weight", std::span(*owner), owner); },
                        [&] { ASSERT_EQ(owner.use_count(), 1); });
    const meshes::Indices mesh = meshes::sphere(12, 8);
    failEveryAllocation([&] { computeStats(TRIANGLES, mesh, {.cache = CacheModel::Lru}); });
}

TEST(MakeMeshAllocation, FailureToTakePrimitivesLeavesThemInTheGraph) {
    graphs::FilledGraph graph(meshes::damaged(meshes::sphere(12, 8), 1));
    graph.calcOptPrim(1, true, true, 5, false);
    const std::string before = graphs::describe(graph);
    failEveryAllocation([&] { vexa::mesh::takePrimitives(graph); },
                        [&] { ASSERT_EQ(graphs::describe(graph), before); });
}

} // namespace
