#include "support/Buffers.h"
#include "support/Foreign.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Statistics.h>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Strips.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <set>
#include <stdexcept>
#include <vector>

namespace {

using namespace vexa::mesh;
using testing::HasSubstr;
using vexa::test::zeros;
using Indices = std::vector<unsigned int>;

/// A cache as one describes it: a queue that is searched from end to end.
std::uint64_t countMissesPlainly(const Indices& indices, CacheModel model, std::size_t cacheSize) {
    std::deque<unsigned int> cache;
    std::uint64_t misses = 0;
    for (const unsigned int index : indices) {
        if (index == restartIndex) {
            continue;
        }
        const auto found = std::find(cache.begin(), cache.end(), index);
        const bool isHit = found != cache.end();
        misses += isHit ? 0 : 1;
        if (isHit && model == CacheModel::Lru) {
            cache.erase(found);
        }
        if (!isHit || model == CacheModel::Lru) {
            cache.push_front(index);
        }
        cache.resize(std::min(cache.size(), cacheSize));
    }
    return misses;
}

TEST(ComputeStats, CountsAList) {
    const IndexStats stats = computeStats(TRIANGLES, Indices{0, 1, 2, 2, 1, 3, 4, 4, 5});
    EXPECT_EQ(stats.indexCount, 9u);
    EXPECT_EQ(stats.vertexCount, 6u);
    EXPECT_EQ(stats.triangleCount, 2u);
    EXPECT_EQ(stats.degenerateCount, 1u);
    EXPECT_EQ(stats.stripCount, 0u);
    EXPECT_EQ(stats.cacheMisses, 6u);
    EXPECT_EQ(stats.indicesPerTriangle(), 4.5);
    EXPECT_EQ(stats.acmr(), 3.0);
    EXPECT_EQ(stats.atvr(), 1.0);
}

TEST(ComputeStats, CountsStripsBetweenRestartIndices) {
    const IndexStats stats =
        computeStats(TRIANGLE_STRIP, Indices{0, 1, 2, 3, 4, restartIndex, 5, 6, restartIndex, 7, 8, 9, restartIndex});
    EXPECT_EQ(stats.indexCount, 13u);
    EXPECT_EQ(stats.vertexCount, 10u);
    EXPECT_EQ(stats.triangleCount, 4u);
    EXPECT_EQ(stats.restartCount, 3u);
    EXPECT_EQ(stats.stripCount, 2u);
    EXPECT_EQ(stats.maxStripTriangles, 3u);
}

TEST(ComputeStats, TellsSwapsFromTheJointsOfStrips) {
    const IndexStats swapped = computeStats(TRIANGLE_STRIP, Indices{0, 1, 2, 1, 3, 4});
    EXPECT_EQ(swapped.swapCount, 1u);
    EXPECT_EQ(swapped.stripCount, 1u);
    EXPECT_EQ(swapped.degenerateCount, 1u);
    EXPECT_EQ(swapped.maxStripTriangles, 3u);
    const IndexStats joined = computeStats(TRIANGLE_STRIP, Indices{0, 1, 2, 2, 5, 5, 6, 7});
    EXPECT_EQ(joined.swapCount, 0u);
    EXPECT_EQ(joined.stripCount, 2u);
    EXPECT_EQ(joined.maxStripTriangles, 1u);
}

TEST(ComputeStats, CountsFans) {
    const IndexStats stats = computeStats(TRIANGLE_FAN, Indices{0, 1, 2, 2, 3, restartIndex, 4, 5, 6});
    EXPECT_EQ(stats.triangleCount, 3u);
    EXPECT_EQ(stats.degenerateCount, 1u);
    EXPECT_EQ(stats.stripCount, 2u);
    EXPECT_EQ(stats.swapCount, 0u);
    EXPECT_EQ(stats.maxStripTriangles, 2u);
}

TEST(ComputeStats, CountsTheStripsThatAreJoinedInEitherWay) {
    for (const meshes::NamedMesh& mesh : meshes::family("Plain")) {
        const auto strips = buildStrips(mesh.indices);
        std::set<unsigned int> vertices;
        for (const auto& strip : strips) {
            vertices.insert(strip.indices.begin(), strip.indices.end());
        }
        for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
            const IndexStats stats = computeStats(TRIANGLE_STRIP, joinStrips(strips, join));
            EXPECT_EQ(stats.triangleCount, toTriangles(TRIANGLES, mesh.indices).size() / 3) << mesh.name;
            EXPECT_EQ(stats.stripCount, strips.size()) << mesh.name;
            EXPECT_EQ(stats.vertexCount, vertices.size()) << mesh.name;
        }
    }
}

TEST(ComputeStats, SimulatesTheCacheAsDescribed) {
    for (const meshes::NamedMesh& mesh : meshes::family("Variants")) {
        const Indices strip = buildStripBuffer(mesh.indices, {.effort = 0});
        for (const CacheModel model : {CacheModel::Fifo, CacheModel::Lru}) {
            for (const std::uint32_t size : {3U, 4U, 16U}) {
                const StatsOptions options{.cache = model, .cacheSize = size};
                EXPECT_EQ(computeStats(TRIANGLES, mesh.indices, options).cacheMisses,
                          countMissesPlainly(mesh.indices, model, size))
                    << mesh.name;
                EXPECT_EQ(computeStats(TRIANGLE_STRIP, strip, options).cacheMisses,
                          countMissesPlainly(strip, model, size))
                    << mesh.name;
            }
        }
    }
}

TEST(ComputeStats, TransformsEachVertexOnceWithACacheForAll) {
    const Indices mesh = meshes::shuffled(meshes::sphere(12, 8), 3);
    for (const CacheModel model : {CacheModel::Fifo, CacheModel::Lru}) {
        EXPECT_EQ(computeStats(TRIANGLES, mesh, {.cache = model, .cacheSize = 4294967295U}).atvr(), 1.0);
    }
}

TEST(ComputeStats, AcceptsVerticesWithLargeGaps) {
    const IndexStats stats = computeStats(TRIANGLES, Indices{0, 4294967294U, 7, 7, 4294967294U, 9});
    EXPECT_EQ(stats.vertexCount, 4u);
    EXPECT_EQ(stats.cacheMisses, 4u);
}

TEST(ComputeStats, ReadsMeshesOfAnyImplementation) {
    const auto indices = vexa::test::indexBuffer(UNSIGNED_BYTE, {0, 1, 2, 255, 2, 1, 3});
    const auto mesh = makeMesh(TRIANGLE_STRIP, vexa::test::foreignCopy(*indices), {zeros("position", 4)});
    EXPECT_EQ(computeStats(*mesh).restartCount, 1u);
    EXPECT_EQ(computeStats(*mesh).triangleCount, 2u);
    const IndexStats stats = computeStats(*makeMesh(TRIANGLES, nullptr, {zeros("position", 6)}));
    EXPECT_EQ(stats.indexCount, 0u);
    EXPECT_EQ(stats.triangleCount, 2u);
    EXPECT_EQ(stats.cacheMisses, 6u);
}

TEST(ComputeStats, OfNothingIsZero) {
    const IndexStats stats = computeStats(TRIANGLES, Indices{}, {.cache = CacheModel::Lru});
    EXPECT_EQ(stats.cacheMisses, 0u);
    EXPECT_EQ(stats.acmr(), 0.0);
    EXPECT_EQ(stats.atvr(), 0.0);
}

TEST(ComputeStats, RefusesOtherTypesAndTinyCaches) {
    EXPECT_THAT(messageOf([] { computeStats(LINES, Indices{}); }), HasSubstr("computeStats: LINES"));
    EXPECT_EQ(messageOf([] { computeStats(TRIANGLES, Indices{}, {.cacheSize = 2}); }),
              "computeStats: a cache of 2 vertices cannot hold a triangle; use 3 or more");
}

} // namespace
