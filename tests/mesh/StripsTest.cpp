#include "reference/ReferenceDecode.h"
#include "support/Graphs.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

namespace {

using namespace vexa::mesh;
using meshes::Indices;
using vexa::test::LogCapture;

constexpr unsigned int restart = 4294967295U;

/// Primitives as text, for example "5: 0 1 2 3".
std::vector<std::string> texts(const std::vector<IndexedPrimitive>& primitives) {
    std::vector<std::string> found;
    for (const IndexedPrimitive& primitive : primitives) {
        found.push_back(std::to_string(primitive.type) + ": " + graphs::text(primitive.indices));
    }
    return found;
}

std::vector<std::string> built(const Indices& mesh, const StripOptions& options = {}) {
    return texts(buildPrimitives(mesh, options));
}

/// All triangles of primitives in canonical form: equal lists hold the same oriented triangles.
Indices trianglesOf(const std::vector<IndexedPrimitive>& primitives) {
    Indices all;
    for (const IndexedPrimitive& primitive : primitives) {
        const Indices triangles = reference::decode(primitive.type, primitive.indices);
        all.insert(all.end(), triangles.begin(), triangles.end());
    }
    return reference::canonical(all);
}

bool isManifold(const Indices& mesh) {
    graphs::FilledGraph graph(mesh);
    return graph.claimedTriangles.first == nullptr;
}

std::vector<StripOptions> manyOptions() {
    std::vector<StripOptions> options;
    for (const std::uint32_t iterations : {0U, 1U, 2U, 5U}) {
        for (unsigned int bits = 0; bits < 8; ++bits) {
            options.push_back({iterations, (bits & 1) != 0, (bits & 2) != 0, iterations + 3, (bits & 4) != 0});
        }
    }
    return options;
}

TEST(BuildPrimitives, HasTheDescribedDefaults) {
    const StripOptions options;
    EXPECT_EQ(options.iterations, 1u);
    EXPECT_TRUE(options.buildStrips);
    EXPECT_FALSE(options.buildFans);
    EXPECT_EQ(options.minFanTriangles, 6u);
    EXPECT_FALSE(options.allStrips);
}

TEST(BuildPrimitives, GivesNothingForNoTriangles) {
    for (const StripOptions& options : manyOptions()) {
        EXPECT_TRUE(buildPrimitives({}, options).empty());
    }
}

TEST(BuildPrimitives, GivesFansThenStripsNewestFirstThenTheBatch) {
    Indices mesh = meshes::joined(meshes::closedFan(3), meshes::shifted(meshes::closedFan(4), 4));
    mesh = meshes::joined(mesh, meshes::shifted(meshes::strip(2), 9));
    mesh = meshes::joined(mesh, meshes::shifted(meshes::strip(3), 13));
    mesh = meshes::joined(mesh, meshes::shifted(meshes::scattered(2), 18));
    EXPECT_EQ(built(mesh, {.buildFans = true, .minFanTriangles = 3}),
              (std::vector<std::string>{"6: 4 5 6 7 8 5", "6: 0 1 2 3 1", "5: 13 14 15 16 17", "5: 9 10 11 12",
                                        "4: 18 19 20 21 22 23"}));
}

TEST(BuildPrimitives, MakesStripsOfSingleTrianglesWhenAllAreToBeStrips) {
    EXPECT_EQ(built(meshes::scattered(2), {.allStrips = true}), (std::vector<std::string>{"5: 3 4 5", "5: 0 1 2"}));
}

TEST(BuildPrimitives, PutsEverythingIntoTheBatchWithoutStrips) {
    EXPECT_EQ(built(meshes::strip(2), {.iterations = 0}), std::vector<std::string>{"4: 0 1 2 2 1 3"});
    EXPECT_EQ(built(meshes::strip(2), {.buildStrips = false}), std::vector<std::string>{"4: 0 1 2 2 1 3"});
}

TEST(BuildPrimitives, GivesOnlyFansWithoutStripsWhenAllAreToBeStrips) {
    const Indices mesh = meshes::joined(meshes::closedFan(3), meshes::shifted(meshes::strip(2), 4));
    const StripOptions options{.buildStrips = false, .buildFans = true, .minFanTriangles = 3, .allStrips = true};
    EXPECT_EQ(built(mesh, options), std::vector<std::string>{"6: 0 1 2 3 1"});
}

TEST(BuildPrimitives, WritesAReversedStripFromItsEnd) {
    EXPECT_EQ(built({0, 3, 4, 0, 2, 3, 0, 1, 2}, {.iterations = 2}), std::vector<std::string>{"5: 1 2 0 3 4"});
    EXPECT_EQ(built({0, 3, 4, 0, 2, 3, 0, 1, 2}), std::vector<std::string>{"5: 4 0 3 0 2 1"});
}

TEST(BuildPrimitives, CountsCollapsedTrianglesAtAFansCentre) {
    const Indices mesh = meshes::joined(meshes::closedFan(5), {0, 6, 6});
    EXPECT_EQ(built(mesh, {.buildFans = true, .minFanTriangles = 6}),
              (std::vector<std::string>{"6: 0 1 2 3 4 5 1", "4: 0 6 6"}));
    EXPECT_EQ(built(mesh, {.buildFans = true, .minFanTriangles = 7}).front().substr(0, 2), "5:");
}

TEST(BuildPrimitives, SkipsACentreWhoseFirstTriangleIsCollapsed) {
    const Indices mesh = meshes::joined({0, 6, 6}, meshes::closedFan(5));
    EXPECT_EQ(built(mesh, {.buildFans = true, .minFanTriangles = 3}).front().substr(0, 2), "5:");
}

class BuildPrimitivesOnMeshes : public testing::TestWithParam<std::string> {};

TEST_P(BuildPrimitivesOnMeshes, MatchesTheGraphOnManifoldEdges) {
    const LogCapture capture(vexa::test::Severity::Fatal);
    const std::vector<StripOptions> options = manyOptions();
    for (const meshes::NamedMesh& mesh : meshes::family(GetParam())) {
        if (!isManifold(mesh.indices)) {
            continue;
        }
        for (const StripOptions& o : options) {
            graphs::FilledGraph graph(mesh.indices);
            graph.calcOptPrim(o.iterations, o.buildStrips, o.buildFans, o.minFanTriangles, o.allStrips);
            ASSERT_EQ(built(mesh.indices, o), takePrimitives(graph)) << mesh.name << ", " << o.iterations;
        }
    }
}

TEST_P(BuildPrimitivesOnMeshes, KeepsEveryTriangleOnce) {
    for (const meshes::NamedMesh& mesh : meshes::family(GetParam())) {
        const Indices expected = reference::canonical(reference::withoutCollapsed(mesh.indices));
        for (const StripOptions& options : manyOptions()) {
            if (!options.allStrips || (options.buildStrips && options.iterations != 0)) {
                ASSERT_EQ(trianglesOf(buildPrimitives(mesh.indices, options)), expected) << mesh.name;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Meshes, BuildPrimitivesOnMeshes, testing::Values("Plain", "Knotted", "Variants"),
                         [](const auto& family) { return family.param; });

TEST(BuildPrimitivesNonManifold, MakesTwoPairsOfFourTrianglesOnAnEdge) {
    EXPECT_EQ(built(meshes::fourOnAnEdge()), (std::vector<std::string>{"5: 4 0 1 5", "5: 2 0 1 3"}));
}

TEST(BuildPrimitivesNonManifold, PairsWithTheEarliestThatHasNoPartner) {
    // Three run one way and then two the other: the third of the first three stays alone.
    const Indices mesh = {0, 1, 2, 0, 1, 3, 0, 1, 4, 1, 0, 5, 1, 0, 6};
    EXPECT_EQ(built(mesh), (std::vector<std::string>{"5: 3 0 1 6", "5: 2 0 1 5", "4: 0 1 4"}));
}

TEST(BuildPrimitivesNonManifold, PairsCopiesOfATriangleWithItsReverse) {
    EXPECT_EQ(built({0, 1, 2, 0, 1, 2, 0, 2, 1, 0, 2, 1}).size(), 2u);
}

TEST(BuildPrimitivesNonManifold, PairsEdgesAtACrowdedVertexAsElsewhere) {
    // The same edges, once alone and once at a vertex with a thousand others.
    const Indices edge = {0, 1, 2, 0, 1, 3, 0, 1, 4, 1, 0, 5, 1, 0, 6};
    const Indices hub = meshes::hub(1000); // around vertex 0
    Indices moved;
    for (const unsigned int vertex : hub) {
        moved.push_back(vertex == 0 ? 0 : vertex + 7);
    }
    const std::vector<std::string> alone = built(edge);
    const std::vector<std::string> atHub = built(meshes::joined(edge, moved));
    ASSERT_EQ(atHub.size(), 3u);
    EXPECT_EQ(atHub[0], alone[0]);
    EXPECT_EQ(atHub[1], alone[1]);
    EXPECT_EQ(atHub[2].substr(0, 8), "4: 0 1 4");
}

TEST(BuildPrimitives, NeitherReadsNorChangesTheStateOfRand) {
    const Indices mesh = meshes::torus(8, 6);
    std::srand(5);
    const int first = std::rand();
    const int second = std::rand();
    std::srand(5);
    const std::vector<std::string> primitives = built(mesh, {.iterations = 4});
    EXPECT_EQ(std::rand(), first);
    EXPECT_EQ(built(mesh, {.iterations = 4}), primitives);
    EXPECT_EQ(std::rand(), second);
}

TEST(BuildPrimitives, LogsNothing) {
    const LogCapture capture;
    for (const StripOptions& options : manyOptions()) {
        buildPrimitives(meshes::torus(5, 4), options);
        buildPrimitives({}, options);
    }
    EXPECT_TRUE(capture.records().empty());
}

TEST(BuildPrimitives, RunsInSeveralThreadsAtOnce) {
    const Indices mesh = meshes::damaged(meshes::torus(20, 16), 9);
    const StripOptions options{.iterations = 5, .buildFans = true, .minFanTriangles = 5};
    const std::vector<std::string> expected = built(mesh, options);
    std::vector<std::vector<std::string>> results(4);
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (std::vector<std::string>& result : results) {
        threads.emplace_back([&] {
            for (int round = 0; round < 5; ++round) {
                result = built(mesh, options);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::vector<std::string>& result : results) {
        EXPECT_EQ(result, expected);
    }
}

TEST(BuildPrimitives, AcceptsTheLargestVertexIndexAndHugeGaps) {
    EXPECT_EQ(built({0, 1, 4294967294U, 4294967294U, 1, 2147483648U}),
              std::vector<std::string>{"5: 0 1 4294967294 2147483648"});
    EXPECT_EQ(built({4294967294U, 4294967293U, 4294967292U}),
              std::vector<std::string>{"4: 4294967294 4294967293 4294967292"});
}

TEST(BuildPrimitives, DoesNotDependOnGapsInTheVertexIndices) {
    constexpr unsigned int gap = 100000000;
    const Indices mesh = meshes::torus(7, 5);
    Indices sparse;
    for (const unsigned int vertex : mesh) {
        sparse.push_back(vertex * gap);
    }
    const StripOptions options{.iterations = 3, .buildFans = true};
    std::vector<IndexedPrimitive> expected = buildPrimitives(mesh, options);
    for (IndexedPrimitive& primitive : expected) {
        for (unsigned int& vertex : primitive.indices) {
            vertex *= gap;
        }
    }
    EXPECT_EQ(built(sparse, options), texts(expected));
}

TEST(BuildPrimitives, RefusesACountThatIsNotAMultipleOfThree) {
    for (const std::size_t count : {1U, 2U, 4U, 5U}) {
        EXPECT_EQ(messageOf([&] { buildPrimitives(Indices(count)); }),
                  "buildPrimitives: " + std::to_string(count) + " indices are not a whole number of triangles");
    }
}

TEST(BuildPrimitives, RefusesTheRestartIndexAnywhere) {
    for (std::size_t place = 0; place < 6; ++place) {
        Indices mesh = meshes::twoTriangles();
        mesh[place] = restart;
        EXPECT_EQ(messageOf([&] { buildPrimitives(mesh); }),
                  "buildPrimitives: index " + std::to_string(place) +
                      " is 4294967295, which is reserved for primitive restart");
    }
}

} // namespace
