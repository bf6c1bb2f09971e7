#include "reference/ReferenceShortestStrip.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/StripBuffer.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using meshes::Indices;
using reference::Joins;
using vexa::mesh::BoundOptions;
using vexa::mesh::minIndexCount;
using vexa::mesh::StripJoin;

std::string messageOf(const Indices& triangles) {
    try {
        minIndexCount(triangles, StripJoin::Restart);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return {};
}

TEST(MinIndexCount, ProvesNothingWithoutTriangles) {
    EXPECT_EQ(minIndexCount({}, StripJoin::Restart), 0u);
    EXPECT_EQ(minIndexCount({}, StripJoin::Degenerate), 0u);
    EXPECT_EQ(minIndexCount(Indices{1, 1, 2, 3, 3, 3}, StripJoin::Restart), 0u);
}

TEST(MinIndexCount, IsExactForOneStrip) {
    EXPECT_EQ(minIndexCount(Indices{0, 1, 2}, StripJoin::Restart), 3u);
    EXPECT_EQ(minIndexCount(meshes::strip(50), StripJoin::Restart), 52u);
    EXPECT_EQ(minIndexCount(meshes::strip(50), StripJoin::Degenerate), 52u);
}

TEST(MinIndexCount, CountsAStripForEveryPart) {
    EXPECT_EQ(minIndexCount(meshes::scattered(100), StripJoin::Restart), 399u);
    EXPECT_EQ(minIndexCount(meshes::scattered(100), StripJoin::Degenerate), 399u);
    // Where strips share a vertex, one can begin with the last index of the other.
    EXPECT_EQ(minIndexCount(meshes::hub(100), StripJoin::Degenerate), 300u);
}

TEST(MinIndexCount, IgnoresCollapsedTriangles) {
    const Indices collapsed{5, 5, 6, 0, 1, 0};
    for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
        EXPECT_EQ(minIndexCount(meshes::joined(collapsed, meshes::icosahedron()), join),
                  minIndexCount(meshes::icosahedron(), join));
    }
}

TEST(MinIndexCount, CountsSwapsAroundAVertex) {
    // Around one vertex, all triangles but the first and the last turn the same way.
    EXPECT_EQ(minIndexCount(meshes::openFan(9), StripJoin::Restart),
              reference::minIndexCount(meshes::openFan(9), Joins::Restart));
}

TEST(MinIndexCount, TakesTheLargestVertexIndex) {
    constexpr unsigned int largest = std::numeric_limits<unsigned int>::max() - 1;
    EXPECT_EQ(minIndexCount(Indices{0, 1, largest}, StripJoin::Restart), 3u);
}

TEST(MinIndexCount, RefusesIndicesThatAreNotWholeTriangles) {
    EXPECT_EQ(messageOf({0, 1, 2, 3}), "minIndexCount: 4 indices are not a whole number of triangles");
}

TEST(MinIndexCount, RefusesTheRestartIndex) {
    EXPECT_EQ(messageOf({0, 1, 2, 3, 4, 0xffffffff}),
              "minIndexCount: index 5 is 4294967295, which is reserved for primitive restart");
}

TEST(MinIndexCount, RisesWithMoreSweeps) {
    const Indices mesh = meshes::sphere(40, 30);
    const auto bound = [&](unsigned sweeps) { return minIndexCount(mesh, StripJoin::Restart, {sweeps, {}}); };
    EXPECT_LT(bound(0), bound(1));
    EXPECT_LT(bound(1), bound(16));
}

// Sweeps visit patches of 4,096 triangles first and then what lies between them.
TEST(MinIndexCount, RisesWithMoreSweepsOverSeveralPatches) {
    const Indices mesh = meshes::sphere(100, 100);
    const auto bound = [&](unsigned sweeps) { return minIndexCount(mesh, StripJoin::Restart, {sweeps, {}}); };
    EXPECT_LT(bound(1), bound(4));
}

TEST(MinIndexCount, DoesNotDependOnTheNumberOfThreads) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(250, 120), 3), 4);
    const std::uint64_t alone = minIndexCount(mesh, StripJoin::Restart);
    for (const unsigned threads : {0U, 2U, 8U}) {
        EXPECT_EQ(minIndexCount(mesh, StripJoin::Restart, {.threads = threads}), alone) << threads;
    }
}

TEST(MinIndexCount, IsTheSameOnEveryMachineAndCompiler) {
    const auto boundsOf = [](const Indices& mesh) {
        return std::pair(minIndexCount(mesh, StripJoin::Restart), minIndexCount(mesh, StripJoin::Degenerate));
    };
    using Bounds = std::pair<std::uint64_t, std::uint64_t>;
    EXPECT_EQ(boundsOf(meshes::sphere(40, 30)), (Bounds{2386, 2374}));
    EXPECT_EQ(boundsOf(meshes::torus(30, 20)), (Bounds{1202, 1202}));
    EXPECT_EQ(boundsOf(meshes::damaged(meshes::grid(25, 20), 5)), (Bounds{1544, 1381}));
    EXPECT_EQ(boundsOf(meshes::holed(meshes::sphere(60, 40), 10, 3)), (Bounds{5391, 5065}));
    EXPECT_EQ(boundsOf(meshes::soup(40, 300, 9)), (Bounds{633, 521}));
}

TEST(MinIndexCount, IsBelowWhatStripsOfMeshesNeed) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
            EXPECT_LE(minIndexCount(mesh.indices, join),
                      vexa::mesh::buildStripBuffer(mesh.indices, {.join = join}).size())
                << mesh.name;
        }
    }
}

TEST(MinIndexCount, ReportsProgressThatRises) {
    double last = -1;
    BoundOptions options;
    options.onProgress = [&](double part) {
        EXPECT_GE(part, last);
        EXPECT_LE(part, 1);
        last = part;
        return true;
    };
    const Indices mesh = meshes::grid(20, 20);
    EXPECT_EQ(minIndexCount(mesh, StripJoin::Restart, options), minIndexCount(mesh, StripJoin::Restart));
    EXPECT_GE(last, 0);
}

TEST(MinIndexCount, ProvesWhatIsDoneWhenStopped) {
    const Indices mesh = meshes::sphere(30, 20);
    const std::uint64_t stopped = minIndexCount(mesh, StripJoin::Restart, {16, [](double) { return false; }});
    EXPECT_EQ(stopped, minIndexCount(mesh, StripJoin::Restart, {0, {}}));
}

TEST(MinIndexCount, LetsExceptionsOfTheCallerThrough) {
    const BoundOptions options{16, [](double) -> bool { throw std::runtime_error("enough"); }};
    EXPECT_THROW(minIndexCount(meshes::grid(9, 9), StripJoin::Restart, options), std::runtime_error);
}

} // namespace
