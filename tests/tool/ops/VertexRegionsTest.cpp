#include "ops/VertexRegions.h"
#include "support/SmallModels.h"

#include <gtest/gtest.h>
#include <random>
#include <vexa/mesh/Strips.h>

namespace {

using vexa::tool::growRegions;
using vexa::tool::VertexRegion;
using Indices = std::vector<unsigned int>;

/// Fails the test unless the regions hold the triangles, and have as many vertices as they may; counts these.
std::size_t expectRegionsOf(const Indices& triangles, std::size_t vertices, std::size_t maxVertices) {
    Indices all;
    std::size_t copies = 0;
    for (const VertexRegion& region : growRegions(triangles, vertices, maxVertices)) {
        EXPECT_LE(region.vertices.size(), maxVertices);
        copies += region.vertices.size();
        for (const unsigned int position : region.triangles) {
            all.push_back(region.vertices.at(position));
        }
    }
    EXPECT_TRUE(vexa::mesh::sameTriangles(all, triangles));
    return copies;
}

TEST(GrowRegions, KeepTheTrianglesAndTheLimit) {
    const tool_test::Grid grid = tool_test::makeGrid(40, 40);
    const Indices triangles(grid.indices.begin(), grid.indices.end());
    for (const std::size_t limit : {3U, 4U, 10U, 255U, 5000U}) {
        expectRegionsOf(triangles, 41 * 41, limit);
    }
}

TEST(GrowRegions, RepeatFewVertices) {
    const tool_test::Grid grid = tool_test::makeGrid(80, 80);
    const Indices triangles(grid.indices.begin(), grid.indices.end());
    EXPECT_LT(expectRegionsOf(triangles, 81 * 81, 255), 81 * 81 * 13 / 10);
}

TEST(GrowRegions, AcceptAVertexOfVeryManyTriangles) {
    Indices triangles;
    for (unsigned int i = 1; i < 30'000; ++i) {
        triangles.insert(triangles.end(), {0, i, i + 1});
    }
    expectRegionsOf(triangles, 30'001, 255);
}

TEST(GrowRegions, AcceptTrianglesInAnyOrder) {
    std::mt19937 random(7);
    Indices triangles;
    for (unsigned int i = 0; i < 900; ++i) {
        const auto first = static_cast<unsigned int>(random() % 500);
        triangles.insert(triangles.end(), {first, (first + 1) % 500, (first + 2 + i % 400) % 500});
    }
    expectRegionsOf(triangles, 500, 255);
}

TEST(GrowRegions, AreNoneWithoutTriangles) {
    EXPECT_TRUE(growRegions({}, 0, 255).empty());
}

} // namespace
