#include "reference/ReferenceGraph.h"

#include "support/Meshes.h"

#include <gtest/gtest.h>

namespace {

using namespace reference;

using List = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

Graph filled(const Indices& mesh, EdgeRule rule = EdgeRule::SplitOff) {
    Graph graph(rule);
    graph.addTriangles(mesh);
    return graph;
}

TEST(ReferenceFilling, ListsHalfEdgesAtTheirStartWithTheirOtherEnd) {
    const Graph graph = filled({2, 0, 1});
    ASSERT_EQ(graph.vertexHalfEdges.size(), 3u);
    EXPECT_EQ(graph.vertexHalfEdges[0], (List{{1, 1}}));
    EXPECT_EQ(graph.vertexHalfEdges[1], (List{{2, 2}}));
    EXPECT_EQ(graph.vertexHalfEdges[2], (List{{0, 0}}));
    EXPECT_EQ(graph.state, std::vector<int>{0});
    EXPECT_EQ(graph.freeTriangles, Indices{0});
}

TEST(ReferenceFilling, LinksOppositeHalfEdgesAndCountsNeighbours) {
    const Graph graph = filled(meshes::strip(4)); // 0 1 2, 2 1 3, 2 3 4, 4 3 5
    EXPECT_EQ(graph.twin, (Indices{none, 3, none, 1, none, 6, 5, 9, none, 7, none, none}));
    EXPECT_EQ(graph.state, (std::vector<int>{1, 2, 2, 1}));
}

TEST(ReferenceFilling, SplitsOffTheThirdTriangleOnAnEdge) {
    const Graph graph = filled(meshes::book(3));
    EXPECT_EQ(graph.state, (std::vector<int>{1, 1, -1}));
    EXPECT_EQ(graph.freeTriangles, (Indices{0, 1}));
    EXPECT_EQ(graph.claimedTriangles, Indices{2});
    EXPECT_EQ(graph.vertexHalfEdges[0], (List{{1, 0}, {3, 4}, {1, 6}}));
}

TEST(ReferenceFilling, LinksNothingToSplitOffTriangles) {
    Graph graph = filled(meshes::book(3));
    graph.addTriangle(4, 1, 6); // shares the edge 1-4 with the split off triangle only
    EXPECT_EQ(graph.state[3], 0);
    EXPECT_EQ(graph.twin[9], none);
    EXPECT_EQ(graph.freeTriangles, (Indices{0, 1, 3}));
}

TEST(ReferenceFilling, LinksNothingToCollapsedTriangles) {
    const Graph graph = filled({4, 4, 9, 9, 4, 5});
    EXPECT_EQ(graph.twin, Indices(6, none));
    EXPECT_EQ(graph.state, (std::vector<int>{0, 0}));
    EXPECT_EQ(graph.freeTriangles, (Indices{0, 1}));
    EXPECT_EQ(graph.vertexHalfEdges[4], (List{{4, 0}, {9, 1}, {5, 4}}));
}

TEST(ReferenceFilling, CollapsedTrianglesDoNotFillAnEdge) {
    const Graph graph = filled({0, 0, 1, 1, 0, 1, 0, 1, 2, 1, 0, 3});
    EXPECT_EQ(graph.state, (std::vector<int>{0, 0, 1, 1}));
    EXPECT_TRUE(graph.claimedTriangles.empty());
}

TEST(ReferenceFilling, EqualWindingStaysUnlinkedButFillsTheEdge) {
    Graph graph = filled(meshes::doubledSameWinding());
    EXPECT_EQ(graph.twin, Indices(6, none));
    EXPECT_EQ(graph.state, (std::vector<int>{0, 0}));
    graph.addTriangle(1, 0, 7);
    EXPECT_EQ(graph.state[2], splitOffState);
}

TEST(ReferenceFilling, OppositeTrianglesAreNeighboursAcrossAllEdges) {
    const Graph graph = filled(meshes::doubledOppositeWinding());
    EXPECT_EQ(graph.twin, (Indices{5, 4, 3, 2, 1, 0}));
    EXPECT_EQ(graph.state, (std::vector<int>{3, 3}));
}

TEST(ReferenceFilling, PairingMakesTwoPairsOfFourTriangles) {
    const Graph graph = filled(meshes::fourOnAnEdge(), EdgeRule::Pair);
    EXPECT_EQ(graph.twin[0], 3u);
    EXPECT_EQ(graph.twin[6], 9u);
    EXPECT_EQ(graph.state, (std::vector<int>{1, 1, 1, 1}));
    EXPECT_TRUE(graph.claimedTriangles.empty());
}

TEST(ReferenceFilling, PairingTakesTheEarliestOppositeHalfEdge) {
    const Graph graph = filled({0, 1, 2, 0, 1, 3, 1, 0, 4, 1, 0, 5, 0, 1, 6}, EdgeRule::Pair);
    EXPECT_EQ(graph.twin[0], 6u);
    EXPECT_EQ(graph.twin[3], 9u);
    EXPECT_EQ(graph.twin[12], none);
}

TEST(ReferenceFans, StartAtTheFirstHalfEdgeAndCloseWithTheSecondVertex) {
    EXPECT_EQ(filled(meshes::closedFan(6)).indicesOfFan(0).indices, (Indices{0, 1, 2, 3, 4, 5, 6, 1}));
    EXPECT_EQ(filled(meshes::tetrahedron()).indicesOfFan(0).indices, (Indices{0, 1, 2, 3, 1}));
}

TEST(ReferenceStrips, OfOneAndTwoTriangles) {
    const Graph graph = filled({7, 8, 9, 9, 8, 5});
    EXPECT_EQ(graph.indicesOfStrip({}, false).indices, Indices{});
    EXPECT_EQ(graph.indicesOfStrip({1}, false).indices, (Indices{9, 8, 5}));
    EXPECT_EQ(graph.indicesOfStrip({0, 1}, false).indices, (Indices{7, 8, 9, 5}));
    EXPECT_EQ(graph.indicesOfStrip({0, 1}, true).indices, (Indices{5, 9, 8, 7}));
    EXPECT_EQ(graph.calcStripCost({}, true), 0u);
    EXPECT_EQ(graph.calcStripCost({1}, false), 3u);
    EXPECT_EQ(graph.calcStripCost({0, 1}, true), 4u);
}

TEST(ReferenceStrips, AlternateWithoutSwaps) {
    const Graph graph = filled(meshes::strip(4));
    EXPECT_EQ(graph.indicesOfStrip({0, 1, 2, 3}, false).indices, (Indices{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(graph.calcStripCost({0, 1, 2, 3}, false), 6u);
}

TEST(ReferenceStrips, RepeatOneVertexForATurnTheOtherWay) {
    const Graph graph = filled({0, 1, 2, 2, 1, 3, 3, 1, 4});
    const Primitive strip = graph.indicesOfStrip({0, 1, 2}, false);
    EXPECT_EQ(strip.indices, (Indices{0, 1, 2, 1, 3, 4}));
    EXPECT_EQ(strip.swaps, 1u);
    EXPECT_EQ(graph.calcStripCost({0, 1, 2}, false), 6u);
    EXPECT_EQ(graph.indicesOfStrip({0, 1, 2}, true).indices, (Indices{4, 3, 1, 2, 0}));
    EXPECT_EQ(graph.calcStripCost({0, 1, 2}, true), 5u);
}

TEST(ReferenceStrips, OfTrianglesThatShareSeveralEdgesCrossTheFirst) {
    const Graph graph = filled(meshes::doubledOppositeWinding());
    EXPECT_EQ(graph.indicesOfStrip({0, 1}, false).indices, (Indices{2, 0, 1, 2}));
    EXPECT_EQ(graph.indicesOfStrip({0, 1}, true).indices, (Indices{1, 0, 2, 1}));
}

TEST(ReferenceStrips, SwapInEvenParityToo) {
    const Graph graph = filled(meshes::openFan(4));
    const Primitive strip = graph.indicesOfStrip({0, 1, 2, 3}, false);
    EXPECT_EQ(strip.indices, (Indices{1, 2, 0, 3, 0, 4, 5}));
    EXPECT_EQ(strip.swaps, 1u);
    EXPECT_EQ(graph.calcStripCost({0, 1, 2, 3}, false), 7u);
}

TEST(ReferenceStrips, TurningAroundOneVertexSwapsAtEverySecondTriangle) {
    const Graph graph = filled(meshes::openFan(9));
    EXPECT_EQ(graph.calcStripCost({0, 1, 2, 3, 4, 5, 6, 7, 8}, false), 4u + 1 + 6 * 2);
}

TEST(ReferenceStrips, OfUnconnectedTrianglesCostTwoForEachStep) {
    const Graph graph = filled(meshes::scattered(4));
    EXPECT_EQ(graph.calcStripCost({0, 1, 2, 3}, false), 4u + 2 + 2);
}

TEST(ReferenceEdgeLines, OfOneTriangleAreItsThreeBorders) {
    Indices lines{99};
    EXPECT_EQ(filled({0, 1, 2}).calcEgdeLines(lines, true), 3u);
    EXPECT_EQ(lines, (Indices{0, 1, 0, 1, 2, 0, 2, 0, 0}));
    EXPECT_EQ(filled({}).calcEgdeLines(lines, true), 0u);
    EXPECT_EQ(lines, Indices{});
}

TEST(ReferenceEdgeLines, HoldASharedEdgeOnceFromItsLowerEnd) {
    Indices lines;
    EXPECT_EQ(filled(meshes::twoTriangles()).calcEgdeLines(lines, true), 5u);
    EXPECT_EQ(lines, (Indices{0, 1, 0, 1, 2, 1, 1, 3, 0, 2, 0, 0, 3, 2, 0}));
    EXPECT_EQ(filled(meshes::twoTriangles()).calcEgdeLines(lines, false), 5u);
    EXPECT_EQ(lines, (Indices{0, 1, 1, 2, 1, 3, 2, 0, 3, 2}));
}

TEST(ReferenceEdgeLines, SkipASharedEdgeOfOneVertexOnBothSides) {
    Graph graph = filled({4, 4, 9, 4, 4, 8});
    graph.twin[0] = 3;
    graph.twin[3] = 0;
    Indices lines;
    EXPECT_EQ(graph.calcEgdeLines(lines, false), 4u);
    EXPECT_EQ(lines, (Indices{4, 9, 4, 8, 8, 4, 9, 4}));
}

class ReferencePrimitives : public ::testing::Test {
protected:
    ReferencePrimitives() : graph_(filled(meshes::joined(meshes::pairs(2), meshes::shifted(meshes::scattered(1), 8)))) {
        graph_.addTriangles(meshes::shifted(meshes::closedFan(3), 20));
        graph_.calcOptPrim({.iterations = 1, .buildStrips = true, .buildFans = true, .minFanTriangles = 3});
    }

    Graph graph_;
    Indices indices_{1, 2, 3};
};

TEST_F(ReferencePrimitives, AreFansThenStripsNewestFirstThenTheBatch) {
    const std::vector<Primitive> all = graph_.takePrimitives();
    ASSERT_EQ(all.size(), 4u);
    EXPECT_EQ(all[0].type, fanCode);
    EXPECT_EQ(all[0].indices, (Indices{20, 21, 22, 23, 21}));
    EXPECT_EQ(all[1].type, stripCode);
    EXPECT_EQ(all[1].indices, (Indices{4, 5, 6, 7}));
    EXPECT_EQ(all[2].indices, (Indices{0, 1, 2, 3}));
    EXPECT_EQ(all[3].type, trianglesCode);
    EXPECT_EQ(all[3].indices, (Indices{8, 9, 10}));
    EXPECT_EQ(graph_.claimedTriangles, (Indices{5, 6, 7, 2, 3, 0, 1, 4}));
}

TEST_F(ReferencePrimitives, OfOneTypeLeaveTheOthers) {
    EXPECT_EQ(graph_.getPrimitive(indices_, stripCode), stripCode);
    EXPECT_EQ(indices_, (Indices{4, 5, 6, 7}));
    EXPECT_EQ(graph_.getPrimitive(indices_, trianglesCode), trianglesCode);
    EXPECT_EQ(graph_.getPrimitive(indices_, trianglesCode), 0);
    EXPECT_EQ(indices_, Indices{});
    EXPECT_EQ(graph_.fans.size(), 1u);
    EXPECT_EQ(graph_.strips.size(), 1u);
}

TEST_F(ReferencePrimitives, OfAnUnknownTypeDoNotExist) {
    EXPECT_EQ(graph_.getPrimitive(indices_, 1), 0);
    EXPECT_EQ(indices_, Indices{});
    EXPECT_EQ(graph_.takePrimitives().size(), 4u);
}

TEST_F(ReferencePrimitives, OfFurtherBatchesAreDropped) {
    graph_.triangleLists.push_back({0, {0}});
    EXPECT_EQ(graph_.getPrimitive(indices_, trianglesCode), trianglesCode);
    EXPECT_EQ(indices_, (Indices{8, 9, 10}));
    EXPECT_TRUE(graph_.triangleLists.empty());
    EXPECT_EQ(graph_.claimedTriangles, Indices{4});
}

TEST_F(ReferencePrimitives, OfAnEmptyBatchAreAnEmptyList) {
    graph_.triangleLists = {{0, {}}};
    EXPECT_EQ(graph_.getPrimitive(indices_, trianglesCode), trianglesCode);
    EXPECT_EQ(indices_, Indices{});
}

} // namespace
