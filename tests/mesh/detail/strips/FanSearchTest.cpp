#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

namespace {

using namespace graphs;

/// Cuts fans and leaves the rest to the batch.
std::uint32_t cutFans(HalfEdgeGraph& graph, std::uint32_t minFanTriangles) {
    return graph.calcOptPrim(0, false, true, minFanTriangles, false);
}

std::string fansOf(const HalfEdgeGraph& graph) {
    return numbers(graph, graph.fans);
}

TEST(FanSearch, TakesAClosedRingOfFreeTriangles) {
    FilledGraph graph(meshes::closedFan(6));
    EXPECT_EQ(cutFans(graph, 6), 8u);
    EXPECT_EQ(fansOf(graph), "(0: 0 1 2 3 4 5)");
    EXPECT_EQ(states(graph), std::vector<int>(6, Triangle::inFan));
    EXPECT_TRUE(graph.strips.empty() && graph.triangleLists.empty());
    EXPECT_EQ(graph.freeTriangles.first, nullptr);
    EXPECT_EQ(graph.freeTriangles.last, nullptr);
}

TEST(FanSearch, IsSkippedUnlessAskedFor) {
    FilledGraph graph(meshes::closedFan(6));
    graph.calcOptPrim(1, true, false, 6, false);
    EXPECT_TRUE(graph.fans.empty());
    EXPECT_EQ(graph.strips.size(), 1u);
}

TEST(FanSearch, StartsWithTheFirstHalfEdgeOfTheCentre) {
    FilledGraph graph({0, 3, 4, 0, 1, 2, 0, 4, 1, 0, 2, 3});
    EXPECT_EQ(cutFans(graph, 4), 6u);
    EXPECT_EQ(fansOf(graph), "(0: 0 2 1 3)");
    EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"6: 0 3 4 1 2 3"});
}

TEST(FanSearch, NeedsTheMinimumNumberOfHalfEdgesAtTheCentre) {
    FilledGraph graph(meshes::closedFan(6));
    EXPECT_EQ(cutFans(graph, 7), 18u);
    EXPECT_TRUE(graph.fans.empty());
}

TEST(FanSearch, CutsTheSameFansAroundVerticesWithGapsBetween) {
    meshes::Indices mesh = meshes::joined(meshes::grid(12, 12), meshes::shifted(meshes::closedFan(7), 200));
    const vexa::mesh::StripOptions options{.buildFans = true};
    const auto expected = vexa::mesh::buildPrimitives(mesh, options);
    for (const unsigned int gap : {97U, 5000U, 1U << 23}) {
        meshes::Indices apart = mesh;
        for (unsigned int& vertex : apart) {
            vertex *= gap;
        }
        auto primitives = vexa::mesh::buildPrimitives(apart, options);
        ASSERT_EQ(primitives.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            for (unsigned int& vertex : primitives[i].indices) {
                vertex /= gap;
            }
            EXPECT_EQ(primitives[i].type, expected[i].type);
            EXPECT_EQ(primitives[i].indices, expected[i].indices);
        }
    }
}

TEST(FanSearch, SkipsCentresOnABorder) {
    FilledGraph graph(meshes::openFan(6));
    EXPECT_EQ(cutFans(graph, 1), 18u);
    EXPECT_TRUE(graph.fans.empty());
    EXPECT_EQ(states(graph), (std::vector<int>{1, 2, 2, 2, 2, 1}));
}

TEST(FanSearch, SkipsARingThatIsOpenAtItsLastEdgeOnly) {
    FilledGraph graph(meshes::closedFan(5));
    for (const std::size_t open : {0U, 2U, 4U}) {
        HalfEdge& edge = triangles(graph)[open]->halfEdge[2];
        HalfEdge* const twin = edge.twin;
        edge.twin = nullptr;
        EXPECT_EQ(cutFans(graph, 5), 15u) << open;
        edge.twin = twin;
        std::swap(graph.freeTriangles, *graph.triangleLists.front().second);
        delete graph.triangleLists.front().second;
        graph.triangleLists.clear();
    }
    EXPECT_EQ(cutFans(graph, 5), 7u);
}

TEST(FanSearch, TakesCentresInOrderSkippingThoseWithTakenTriangles) {
    FilledGraph graph(meshes::octahedron());
    EXPECT_EQ(cutFans(graph, 4), 12u);
    EXPECT_EQ(fansOf(graph), "(0: 0 1 2 3) (5: 4 7 6 5)");
    EXPECT_EQ(takePrimitives(graph), (std::vector<std::string>{"6: 5 2 1 4 3 2", "6: 0 1 2 3 4 1"}));
}

TEST(FanSearch, LowersTheStateOfAdjacentTriangles) {
    // Two triangles outside the rim; the one at the rim loses its neighbour there.
    FilledGraph graph(meshes::joined(meshes::closedFan(6), {2, 1, 7, 7, 1, 8}));
    ASSERT_EQ(states(graph)[6], 2);
    EXPECT_EQ(cutFans(graph, 6), 8u + 6);
    EXPECT_EQ(states(graph), (std::vector<int>{-20, -20, -20, -20, -20, -20, 1, 1}));
}

TEST(FanSearch, LeavesTheStateOfAdjacentTrianglesThatAreNotFree) {
    for (const int state : {0, -1, -10}) {
        FilledGraph graph(meshes::joined(meshes::closedFan(6), {2, 1, 7}));
        triangles(graph)[6]->state = state;
        cutFans(graph, 6);
        EXPECT_EQ(states(graph)[6], state);
    }
}

TEST(FanSearch, SkipsACentreWithAClaimedTriangleAroundIt) {
    for (const std::size_t claimed : {0U, 3U, 5U}) {
        for (const int state : {-1, -10, -20}) {
            FilledGraph graph(meshes::closedFan(6));
            triangles(graph)[claimed]->state = state;
            EXPECT_EQ(cutFans(graph, 6), 18u) << claimed;
            EXPECT_TRUE(graph.fans.empty());
        }
    }
}

TEST(FanSearch, SkipsACentreWhoseFirstTriangleIsCollapsed) {
    FilledGraph graph(meshes::joined({0, 0, 9}, meshes::closedFan(6)));
    EXPECT_EQ(cutFans(graph, 3), 21u);
    EXPECT_TRUE(graph.fans.empty());
}

TEST(FanSearch, SkipsACentreWhoseFirstTriangleIsSplitOff) {
    // The third triangle on the edge 10-11 is the first one at vertex 0.
    const meshes::Indices full = {10, 11, 12, 11, 10, 13, 10, 11, 0};
    FilledGraph graph(meshes::joined(full, meshes::closedFan(6)));
    ASSERT_EQ(states(graph)[2], Triangle::splitOff);
    EXPECT_EQ(cutFans(graph, 3), 27u);
    EXPECT_TRUE(graph.fans.empty());
}

TEST(FanSearch, SkipsACentreWhoseFirstHalfEdgeIsNull) {
    FilledGraph graph(meshes::closedFan(6));
    HalfEdge* const stored = std::exchange(graph.vertexHalfEdges[0][0].second, nullptr);
    EXPECT_EQ(cutFans(graph, 6), 18u);
    EXPECT_TRUE(graph.fans.empty());
    graph.vertexHalfEdges[0][0].second = stored;
}

TEST(FanSearch, SkipsVerticesWithoutTrianglesWhateverTheLimit) {
    HalfEdgeGraph graph;
    graph.reserve(20, 2048, 0);
    const meshes::Indices mesh = meshes::shifted(meshes::closedFan(3), 5);
    graph.addTriangles(mesh.data(), mesh.size());
    EXPECT_EQ(cutFans(graph, 0), 5u);
    EXPECT_EQ(fansOf(graph), "(5: 0 1 2)");
}

TEST(FanSearch, CountsTheWholeListOfAPinchedCentreButTakesItsFirstRing) {
    FilledGraph graph(meshes::pinchedVertex(4, 3));
    EXPECT_EQ(cutFans(graph, 7), (7u + 2) + 9);
    EXPECT_EQ(fansOf(graph), "(0: 0 1 2 3)");
    EXPECT_EQ(takePrimitives(graph).front(), "6: 0 1 2 3 4 1");
}

TEST(FanSearch, TakesARingOfTwo) {
    FilledGraph graph(meshes::doubledOppositeWinding());
    EXPECT_EQ(cutFans(graph, 2), 4u);
    EXPECT_EQ(fansOf(graph), "(0: 0 1)");
    EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"6: 0 1 2 1"});
}

TEST(FanSearch, ComesBeforeTheStrips) {
    FilledGraph graph(meshes::joined(meshes::closedFan(6), {2, 1, 7, 7, 1, 8}));
    EXPECT_EQ(graph.calcOptPrim(1, true, true, 6, false), 8u + 4);
    EXPECT_EQ(fansOf(graph), "(0: 0 1 2 3 4 5)");
    EXPECT_EQ(numbers(graph, graph.strips), "(0: 6 7)");
}

TEST(FanSearch, TakesClaimedTrianglesWhenAllAreToBeCut) {
    FilledGraph graph(meshes::closedFan(6));
    cutFans(graph, 6);
    takePrimitives(graph);
    ASSERT_EQ(states(graph), std::vector<int>(6, Triangle::inFan));
    EXPECT_EQ(graph.calcOptPrim(1, true, true, 6, true), 8u);
    EXPECT_EQ(fansOf(graph), "(0: 0 1 2 3 4 5)");
    EXPECT_EQ(graph.claimedTriangles.first, nullptr);
}

TEST(FanSearch, CutsFansOnceForAllPasses) {
    const vexa::test::LogCapture capture;
    FilledGraph graph(meshes::joined(meshes::octahedron(), meshes::shifted(meshes::strip(4), 6)));
    EXPECT_EQ(graph.calcOptPrim(3, true, true, 4, false), 12u + 6);
    EXPECT_EQ(fansOf(graph), "(0: 0 1 2 3) (5: 4 7 6 5)");
    EXPECT_EQ(capture.messages(), (std::vector<std::string>{" cost/best/worst: 18/18/18", " cost/best/worst: 18/18/18",
                                                            " cost/best/worst: 18/18/18", "range: 18/18 0%"}));
}

} // namespace
