#include "alloc/FailingNew.h"
#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <vexa/mesh/StripBound.h>
#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

#include <functional>
#include <new>

// Each allocation of an operation fails in turn, alone or with all later ones: the graph stays unchanged, the
// operation succeeds when called again, and nothing leaks.

namespace {

using namespace graphs;
using meshes::Indices;
using vexa::test::FailingNew;
using vexa::test::liveAllocations;
using vexa::test::LogCapture;
using vexa::test::Severity;

using GraphFunction = std::function<void(HalfEdgeGraph&)>;

/// Calls an operation with the n-th allocation failing; true when that made it throw.
template <class Operation>
bool throwsAt(std::size_t n, FailingNew::Mode mode, const Operation& operation, bool& hasFailed) {
    const FailingNew failing(n, mode);
    bool hasThrown = false;
    try {
        operation();
    } catch (const std::bad_alloc&) {
        hasThrown = true;
    }
    hasFailed = failing.hasFailed();
    return hasThrown;
}

/// Lets each allocation of an operation fail in turn; returns their number.
std::size_t expectStrongGuarantee(const GraphFunction& fill, const GraphFunction& operation) {
    HalfEdgeGraph untroubled;
    fill(untroubled);
    operation(untroubled);
    const std::string after = describe(untroubled);
    std::size_t count = 0;
    for (const FailingNew::Mode mode : {FailingNew::Mode::Once, FailingNew::Mode::FromThenOn}) {
        bool hasFailed = true;
        for (count = 0; hasFailed; ++count) {
            const std::size_t live = liveAllocations();
            {
                HalfEdgeGraph graph;
                fill(graph);
                const std::string before = describe(graph);
                if (throwsAt(
                        count, mode, [&] { operation(graph); }, hasFailed)) {
                    EXPECT_EQ(describe(graph), before) << "allocation " << count;
                    operation(graph);
                }
                EXPECT_EQ(describe(graph), after) << "allocation " << count;
            }
            EXPECT_EQ(liveAllocations(), live) << "allocation " << count;
        }
    }
    return count - 1;
}

GraphFunction filledWith(const Indices& mesh) {
    return [mesh](HalfEdgeGraph& graph) { graph.addTriangles(mesh.data(), mesh.size()); };
}

GraphFunction adding(const Indices& mesh) {
    return filledWith(mesh);
}

/// One mesh with everything in it: a fan, strips, isolated, split-off and collapsed triangles.
Indices mixedMesh() {
    Indices mesh = meshes::joined(meshes::closedFan(5), meshes::shifted(meshes::grid(4, 3), 6));
    mesh = meshes::joined(mesh, meshes::shifted(meshes::book(4), 26));
    return meshes::joined(mesh, {40, 41, 42, 43, 43, 44});
}

TEST(AddTriangleWithoutMemory, LeavesTheGraphUnchanged) {
    const auto fill = [](HalfEdgeGraph& graph) {
        graph.pool.chunkSize = 2;
        filledWith(meshes::strip(2))(graph);
    };
    // New vertices, lists that must grow, a new chunk.
    EXPECT_GE(expectStrongGuarantee(fill, [](HalfEdgeGraph& graph) { graph.addTriangle(2, 1, 9); }), 4u);
    EXPECT_GE(expectStrongGuarantee(fill, [](HalfEdgeGraph& graph) { graph.addTriangle(7, 7, 9); }), 4u);
    EXPECT_GE(expectStrongGuarantee({[](HalfEdgeGraph&) {}}, [](HalfEdgeGraph& graph) { graph.addTriangle(0, 1, 2); }),
              5u);
}

TEST(AddTriangleWithoutMemory, ReadsTheListsOfCrowdedVerticesInstead) {
    // 0 and 201 have so many triangles that the edges there would be remembered.
    HalfEdgeGraph graph;
    filledWith(meshes::joined(meshes::hub(100), meshes::shifted(meshes::hub(100), 201)))(graph);
    graph.addTriangle(0, 201, 402);
    std::vector<std::int32_t> states;
    states.reserve(2);
    for (const std::size_t vertex : {std::size_t{0}, std::size_t{201}, std::size_t{1}, std::size_t{2}}) {
        graph.vertexHalfEdges[vertex].reserve(200);
    }
    bool hasFailed = false;
    {
        const FailingNew failing(0, FailingNew::Mode::FromThenOn);
        states.push_back(graph.addTriangle(201, 0, 1)->state);
        states.push_back(graph.addTriangle(201, 0, 2)->state);
        hasFailed = failing.hasFailed();
    }
    EXPECT_EQ(states, (std::vector<std::int32_t>{1, Triangle::splitOff}));
    EXPECT_TRUE(hasFailed);
}

TEST(AddTriangleWithoutMemory, LeavesTheStaleEndsAfterClear) {
    const auto fill = [](HalfEdgeGraph& graph) {
        filledWith(meshes::book(3))(graph);
        graph.clear();
        graph.freeTriangles = graph.claimedTriangles = {};
        graph.claimedTriangles.first = reinterpret_cast<Triangle*>(&graph);
    };
    EXPECT_GE(expectStrongGuarantee(fill, [](HalfEdgeGraph& graph) { graph.addTriangle(0, 1, 2); }), 4u);
}

TEST(AddTrianglesWithoutMemory, LeavesTheGraphUnchanged) {
    const auto fill = [](HalfEdgeGraph& graph) {
        graph.pool.chunkSize = 3;
        filledWith(meshes::grid(2, 2))(graph);
    };
    EXPECT_GE(expectStrongGuarantee(fill, adding(mixedMesh())), 30u);
    EXPECT_GE(expectStrongGuarantee(fill, adding({0, 4, 2})), 2u);
}

TEST(AddTrianglesWithoutMemory, LeavesALargeGraphUnchangedWhenLittleIsAdded) {
    const auto fill = [](HalfEdgeGraph& graph) {
        filledWith(meshes::grid(9, 9))(graph);
        graph.pool.chunkSize = 1;
    };
    EXPECT_GE(expectStrongGuarantee(fill, adding({0, 5, 90, 3, 4, 100})), 4u);
}

TEST(AddTrianglesWithoutMemory, LeavesTheGraphUnchangedForTheLargestVertexIndex) {
    if (sizeof(void*) == 4) {
        GTEST_SKIP() << "so many vertices are more than a vector can hold, whatever the memory";
    }
    FilledGraph graph(meshes::strip(3));
    const std::string before = describe(graph);
    const Indices mesh = {0, 1, 4294967294U};
    bool hasThrown[2] = {};
    {
        const FailingNew failing(std::size_t{1} << 30);
        try {
            graph.addTriangle(mesh[0], mesh[1], mesh[2]);
        } catch (const std::bad_alloc&) {
            hasThrown[0] = true;
        }
        try {
            graph.addTriangles(mesh.data(), mesh.size());
        } catch (const std::bad_alloc&) {
            hasThrown[1] = true;
        }
    }
    EXPECT_TRUE(hasThrown[0]);
    EXPECT_TRUE(hasThrown[1]);
    EXPECT_EQ(describe(graph), before);
}

TEST(CalcOptPrimWithoutMemory, LeavesTheGraphUnchanged) {
    const LogCapture capture(Severity::Fatal);
    for (const std::uint32_t iterations : {0U, 1U, 3U}) {
        for (const bool allStrips : {false, true}) {
            const auto cut = [&](HalfEdgeGraph& graph) { graph.calcOptPrim(iterations, true, true, 5, allStrips); };
            EXPECT_GE(expectStrongGuarantee(filledWith(mixedMesh()), cut), 5u);
        }
    }
}

TEST(CalcOptPrimWithoutMemory, LeavesTheGraphUnchangedWhenRecordsAreWritten) {
    const LogCapture capture;
    const auto fill = [](HalfEdgeGraph& graph) {
        filledWith(mixedMesh())(graph);
        triangles(graph)[7]->state = -300;
    };
    const auto cut = [](HalfEdgeGraph& graph) { graph.calcOptPrim(2, true, true, 5, false); };
    cut(*std::make_unique<FilledGraph>(mixedMesh())); // the logging core's one-time setup
    HalfEdgeGraph untroubled;
    fill(untroubled);
    cut(untroubled);
    const std::string after = describe(untroubled);
    bool hasFailed = true;
    for (std::size_t n = 0; hasFailed; ++n) {
        HalfEdgeGraph graph;
        fill(graph);
        const std::string before = describe(graph);
        const bool hasThrown = throwsAt(
            n, FailingNew::Mode::Once, [&] { cut(graph); }, hasFailed);
        ASSERT_EQ(describe(graph), hasThrown ? before : after) << "allocation " << n;
    }
}

TEST(CalcOptPrimWithoutMemory, KeepsStoredPrimitives) {
    const LogCapture capture(Severity::Fatal);
    const auto fill = [](HalfEdgeGraph& graph) {
        filledWith(mixedMesh())(graph);
        graph.calcOptPrim(1, true, true, 5, false);
        filledWith(meshes::shifted(mixedMesh(), 50))(graph);
    };
    for (const std::uint32_t iterations : {1U, 2U}) {
        const auto cut = [&](HalfEdgeGraph& graph) { graph.calcOptPrim(iterations, true, true, 5, false); };
        EXPECT_GE(expectStrongGuarantee(fill, cut), 5u);
    }
}

TEST(GetPrimitiveWithoutMemory, KeepsThePrimitive) {
    const Indices mesh = meshes::joined(meshes::closedFan(40), meshes::shifted(meshes::strip(70), 41));
    const auto cut = [&](HalfEdgeGraph& graph) {
        filledWith(meshes::joined(mesh, {200, 201, 202}))(graph);
        graph.calcOptPrim(1, true, true, 40, false);
    };
    for (const int type : {6, 5, 4}) {
        const auto take = [type](HalfEdgeGraph& graph) {
            Indices indices;
            graph.getPrimitive(indices, type);
        };
        EXPECT_GE(expectStrongGuarantee(cut, take), 1u);
    }
}

TEST(ReserveWithoutMemory, StoresTheChunkSizeBeforeAnythingElse) {
    for (const std::size_t n : {0U, 1U, 2U}) {
        FilledGraph graph(meshes::strip(4));
        bool hasFailed = false;
        EXPECT_TRUE(throwsAt(
            n, FailingNew::Mode::Once, [&] { graph.reserve(20, 33, 9); }, hasFailed));
        EXPECT_EQ(graph.pool.chunkSize, 33u);
        EXPECT_EQ(states(graph), (std::vector<int>{1, 2, 2, 1}));
        EXPECT_EQ(graph.vertexHalfEdges[0].size(), 1u);
    }
}

TEST(VerifyWithoutMemory, PropagatesTheError) {
    const FilledGraph graph(meshes::strip(4));
    const std::string before = describe(graph);
    bool hasFailed = false;
    EXPECT_TRUE(throwsAt(
        0, FailingNew::Mode::FromThenOn, [&] { graph.verify(true); }, hasFailed));
    EXPECT_EQ(describe(graph), before);
}

TEST(StripsWithoutMemory, LeakNothing) {
    const Indices mesh = mixedMesh();
    const std::vector<vexa::mesh::IndexedPrimitive> strips = vexa::mesh::buildPrimitives(mesh, {.allStrips = true});
    const std::function<void()> operations[] = {
        [&] { vexa::mesh::buildPrimitives(mesh, {.iterations = 3, .buildFans = true}); },
        [&] { vexa::mesh::buildPrimitives(mesh, {.iterations = 0, .buildFans = true}); },
        [&] {
            vexa::mesh::buildPrimitives(Indices{5, 4000000000U, 7}, {.iterations = 1});
        },
        [&] { vexa::mesh::joinStrips(strips, vexa::mesh::StripJoin::Degenerate); },
        [&] { vexa::mesh::toTriangles(vexa::mesh::TRIANGLES, mesh); },
        [&] { static_cast<void>(vexa::mesh::sameTriangles(mesh, mesh)); },
        [&] { vexa::mesh::minIndexCount(mesh, vexa::mesh::StripJoin::Restart); },
        [&] { vexa::mesh::minIndexCount(meshes::fourOnAnEdge(), vexa::mesh::StripJoin::Degenerate); },
    };
    for (const auto& operation : operations) {
        bool hasFailed = true;
        const std::size_t live = liveAllocations();
        for (std::size_t n = 0; hasFailed; ++n) {
            EXPECT_EQ(throwsAt(n, FailingNew::Mode::Once, operation, hasFailed), hasFailed) << "allocation " << n;
            EXPECT_EQ(liveAllocations(), live) << "allocation " << n;
        }
    }
}

TEST(GraphMemory, IsFreedByClear) {
    const std::size_t outside = liveAllocations();
    {
        HalfEdgeGraph graph;
        graph.pool.chunkSize = 7;
        filledWith(mixedMesh())(graph);
        graph.calcOptPrim(1, true, true, 5, false);
        ASSERT_TRUE(!graph.strips.empty() && !graph.fans.empty() && !graph.triangleLists.empty());
        graph.clear();
        EXPECT_EQ(liveAllocations(), outside + 4); // the outer buffers
    }
    EXPECT_EQ(liveAllocations(), outside);
}

TEST(GraphMemory, IsFreedByTheDestructor) {
    const std::size_t outside = liveAllocations();
    for (const bool isCut : {false, true}) {
        {
            HalfEdgeGraph graph;
            graph.pool.chunkSize = 7;
            filledWith(mixedMesh())(graph);
            if (isCut) {
                graph.calcOptPrim(1, true, true, 5, false);
                graph.addTriangle(90, 91, 92);
                graph.calcOptPrim(1, true, true, 5, false); // a second batch
            }
        }
        EXPECT_EQ(liveAllocations(), outside);
    }
}

TEST(GraphMemory, OfFurtherBatchesIsFreedWithTheFirst) {
    const std::size_t outside = liveAllocations();
    {
        FilledGraph graph(meshes::scattered(2));
        graph.calcOptPrim(1, true, false, 6, false);
        graph.addTriangle(10, 11, 12);
        graph.calcOptPrim(1, true, false, 6, false);
        ASSERT_EQ(graph.triangleLists.size(), 2u);
        takePrimitives(graph);
    }
    EXPECT_EQ(liveAllocations(), outside);
}

TEST(GraphMemory, OfListsCutOffByReserveIsFreed) {
    HalfEdgeGraph graph;
    graph.reserve(10, 2048, 6);
    const std::size_t live = liveAllocations();
    graph.reserve(4, 2048, 6);
    EXPECT_EQ(liveAllocations(), live - 6);
}

TEST(GraphMemory, OfReservedListsIsOneBufferEach) {
    HalfEdgeGraph graph;
    const std::size_t live = liveAllocations();
    graph.reserve(10, 2048, 6);
    EXPECT_EQ(liveAllocations(), live + 1 + 10);
}

TEST(GraphMemory, OfALargeMeshIsOneArrayAndOneRecordPerChunk) {
    HalfEdgeGraph graph;
    graph.reserve(300, 50, 1);
    const std::size_t live = liveAllocations();
    filledWith(meshes::scattered(100))(graph);
    EXPECT_EQ(liveAllocations(), live + 4);
}

} // namespace
