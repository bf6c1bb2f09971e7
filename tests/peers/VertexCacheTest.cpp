#include "support/Meshes.h"

#include <vexa/mesh/Statistics.h>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>
#include <meshoptimizer.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

// meshoptimizer analyses the same lists.

namespace {

using namespace vexa::mesh;

void expectEqualAnalysis(const std::vector<unsigned int>& triangles, const std::string& name) {
    const std::size_t vertexCount =
        triangles.empty() ? 0 : std::size_t{1} + *std::max_element(triangles.begin(), triangles.end());
    for (const unsigned int size : {3U, 16U, 32U}) {
        const auto expected = meshopt_analyzeVertexCache(triangles.data(), triangles.size(), vertexCount, size, 0, 0);
        const IndexStats stats = computeStats(TRIANGLES, triangles, {.cacheSize = size});
        EXPECT_EQ(stats.cacheMisses, expected.vertices_transformed) << name;
        EXPECT_EQ(static_cast<float>(stats.atvr()), expected.atvr) << name;
        if (stats.degenerateCount == 0) {
            EXPECT_EQ(static_cast<float>(stats.acmr()), expected.acmr) << name;
        }
    }
}

TEST(ComputeStats, AgreesWithMeshoptimizerOnLists) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        expectEqualAnalysis(mesh.indices, mesh.name);
    }
}

TEST(ComputeStats, AgreesWithMeshoptimizerOnOptimisedLists) {
    const meshes::Indices mesh = meshes::shuffled(meshes::torus(60, 40), 1);
    std::vector<unsigned int> optimised(mesh.size());
    meshopt_optimizeVertexCache(optimised.data(), mesh.data(), mesh.size(), 2400);
    expectEqualAnalysis(optimised, "optimised");
    expectEqualAnalysis(toTriangles(TRIANGLE_STRIP, buildStripBuffer(mesh)), "strips as a list");
}

} // namespace
