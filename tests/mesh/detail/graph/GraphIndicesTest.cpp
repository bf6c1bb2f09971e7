#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace graphs;
using meshes::Indices;
using vexa::test::LogCapture;
using vexa::test::LogRecord;
using vexa::test::Severity;

constexpr const char* fanFunction = "int32_t vexa::mesh::HalfEdgeGraph::fillIndexFromFan(std::vector<unsigned int>&, "
                                    "vexa::mesh::HalfEdgeGraph::HalfEdge&)";

/// The free triangles as one strip.
Indices stripOf(HalfEdgeGraph& graph, bool reversed = false) {
    Indices indices;
    const std::uint32_t count = graph.fillIndexFromStrip(indices, graph.freeTriangles, reversed);
    EXPECT_EQ(count, indices.size());
    return indices;
}

Indices stripOf(const Indices& mesh, bool reversed = false) {
    FilledGraph graph(mesh);
    return stripOf(graph, reversed);
}

/// A graph with two fans, two strips and a batch of two triangles stored.
class StoredGraph : public FilledGraph {
public:
    StoredGraph() : FilledGraph(mesh()) { calcOptPrim(1, true, true, 3, false); }

    static Indices mesh() {
        Indices mesh = meshes::joined(meshes::closedFan(3), meshes::shifted(meshes::closedFan(4), 4));
        mesh = meshes::joined(mesh, meshes::shifted(meshes::strip(2), 9));
        mesh = meshes::joined(mesh, meshes::shifted(meshes::strip(3), 13));
        return meshes::joined(mesh, meshes::shifted(meshes::scattered(2), 18));
    }
};

TEST(FillIndexFromFan, GoesAroundTheCentreAndClosesTheFan) {
    FilledGraph graph(meshes::closedFan(6));
    Indices indices;
    EXPECT_EQ(graph.fillIndexFromFan(indices, graph.vertexHalfEdges[0][0].second), 8);
    EXPECT_EQ(indices, (Indices{0, 1, 2, 3, 4, 5, 6, 1}));
}

TEST(FillIndexFromFan, StartsAtTheGivenHalfEdge) {
    FilledGraph graph(meshes::closedFan(4));
    Indices indices;
    EXPECT_EQ(graph.fillIndexFromFan(indices, &triangles(graph)[2]->halfEdge[0]), 6);
    EXPECT_EQ(indices, (Indices{0, 3, 4, 1, 2, 3}));
}

TEST(FillIndexFromFan, ReplacesTheContentsOfTheList) {
    FilledGraph graph(meshes::closedFan(3));
    for (const std::size_t size : {1U, 2U, 50U}) {
        Indices indices(size, 77);
        EXPECT_EQ(graph.fillIndexFromFan(indices, graph.vertexHalfEdges[0][0].second), 5);
        EXPECT_EQ(indices, (Indices{0, 1, 2, 3, 1}));
    }
}

TEST(FillIndexFromFan, TakesOnlyTheRingOfAPinchedCentre) {
    FilledGraph graph(meshes::pinchedVertex(3, 4));
    Indices indices;
    EXPECT_EQ(graph.fillIndexFromFan(indices, graph.vertexHalfEdges[0][0].second), 5);
    EXPECT_EQ(graph.fillIndexFromFan(indices, graph.vertexHalfEdges[0].back().second), 6);
    EXPECT_EQ(indices, (Indices{0, 7, 4, 5, 6, 7}));
}

TEST(FillIndexFromFan, ReportsANullStartAndLeavesTheListUnchanged) {
    const LogCapture capture;
    const HalfEdgeGraph graph;
    Indices indices = {7, 8, 9};
    EXPECT_EQ(graph.fillIndexFromFan(indices, nullptr), 0);
    EXPECT_EQ(indices, (Indices{7, 8, 9}));
    const std::vector<LogRecord> records = capture.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_GT(records[0].line, 0);
    EXPECT_EQ(records[0], (LogRecord{Severity::Warning, "Invalid fac in fillIndexFromFan()", records[0].line,
                                     fanFunction, "vexa/mesh/HalfEdgeGraph"}));
}

TEST(FillIndexFromFan, LogsNothingForAValidStart) {
    const LogCapture capture;
    FilledGraph graph(meshes::closedFan(3));
    Indices indices;
    graph.fillIndexFromFan(indices, graph.vertexHalfEdges[0][0].second);
    EXPECT_TRUE(capture.records().empty());
}

TEST(FillIndexFromStrip, LeavesTheListUnchangedForAnEmptyStrip) {
    const HalfEdgeGraph graph;
    TriangleList empty;
    for (const bool reversed : {false, true}) {
        Indices indices = {7, 8, 9, 10};
        EXPECT_EQ(graph.fillIndexFromStrip(indices, empty, reversed), 0u);
        EXPECT_EQ(indices, (Indices{7, 8, 9, 10}));
    }
}

TEST(FillIndexFromStrip, WritesASingleTriangleFromItsFirstCorner) {
    EXPECT_EQ(stripOf({5, 3, 4}), (Indices{5, 3, 4}));
    EXPECT_EQ(stripOf({5, 3, 4}, true), (Indices{5, 3, 4}));
}

TEST(FillIndexFromStrip, ReadsASingleTriangleAlongItsLinks) {
    FilledGraph graph(meshes::singleTriangle());
    Triangle& triangle = *triangles(graph)[0];
    triangle.halfEdge[0].next = &triangle.halfEdge[2];
    triangle.halfEdge[2].next = &triangle.halfEdge[1];
    EXPECT_EQ(stripOf(graph), (Indices{0, 2, 1}));
}

TEST(FillIndexFromStrip, StartsWithTheCornerOppositeTheSharedEdge) {
    EXPECT_EQ(stripOf({0, 1, 2, 2, 1, 3}), (Indices{0, 1, 2, 3}));
    EXPECT_EQ(stripOf({1, 2, 0, 3, 2, 1}), (Indices{0, 1, 2, 3}));
    EXPECT_EQ(stripOf({2, 0, 1, 1, 3, 2}), (Indices{0, 1, 2, 3}));
    EXPECT_EQ(stripOf({0, 1, 2, 2, 1, 3}, true), (Indices{3, 2, 1, 0}));
}

TEST(FillIndexFromStrip, NeedsNoSwapWhenTheTurnsAlternate) {
    EXPECT_EQ(stripOf(meshes::strip(7)), (Indices{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(stripOf(meshes::strip(6), true), (Indices{7, 6, 5, 4, 3, 2, 1, 0}));
}

TEST(FillIndexFromStrip, RepeatsAVertexForATurnToTheOtherSideAtOddParity) {
    // 0 1 2, 2 1 3, then over the edge 1-3.
    EXPECT_EQ(stripOf({0, 1, 2, 2, 1, 3, 3, 1, 4}), (Indices{0, 1, 2, 1, 3, 4}));
}

TEST(FillIndexFromStrip, RepeatsAVertexForATurnToTheOtherSideAtEvenParity) {
    // 0 1 2, 2 1 3, 2 3 4, then over the edge 4-2.
    EXPECT_EQ(stripOf({0, 1, 2, 2, 1, 3, 2, 3, 4, 2, 4, 5}), (Indices{0, 1, 2, 3, 2, 4, 5}));
}

TEST(FillIndexFromStrip, KeepsItsParityAfterASwap) {
    EXPECT_EQ(stripOf(meshes::openFan(5), true), (Indices{6, 0, 5, 0, 4, 0, 3, 0, 2, 1}));
    EXPECT_EQ(stripOf(meshes::openFan(5)), (Indices{1, 2, 0, 3, 0, 4, 0, 5, 6}));
}

TEST(FillIndexFromStrip, WritesAsManyIndicesAsTheStripCosts) {
    for (const Indices& mesh : {meshes::strip(9), meshes::openFan(9), meshes::shuffled(meshes::twoTriangles(), 1)}) {
        FilledGraph graph(mesh);
        for (const bool reversed : {false, true}) {
            EXPECT_EQ(stripOf(graph, reversed).size(), graph.calcStripCost(graph.freeTriangles, reversed));
        }
    }
}

TEST(FillIndexFromStrip, TakesTheFirstOfSeveralSharedEdges) {
    FilledGraph graph(meshes::doubledOppositeWinding()); // 0 1 2 and 0 2 1
    EXPECT_EQ(stripOf(graph), (Indices{2, 0, 1, 2}));
    EXPECT_EQ(stripOf(graph, true), (Indices{1, 0, 2, 1}));
}

TEST(FillIndexFromStrip, LeavesByTheTwinOfTheTwin) {
    // Linked in one direction only: from triangle 0 over 0.0 to 1.0, but back from there to 0.1.
    FilledGraph graph(meshes::scattered(2));
    const std::vector<Triangle*> all = triangles(graph);
    all[0]->halfEdge[0].twin = &all[1]->halfEdge[0];
    all[1]->halfEdge[0].twin = &all[0]->halfEdge[1];
    all[0]->halfEdge[1].twin = &all[1]->halfEdge[1];
    EXPECT_EQ(stripOf(graph), (Indices{0, 1, 2, 3})); // over 0.1, whose twin is 1.1, opposite to which is 3
}

TEST(FillIndexFromStrip, ReservesRoomFor32Indices) {
    for (const Indices& mesh : {meshes::singleTriangle(), meshes::strip(30)}) {
        EXPECT_EQ(stripOf(mesh).capacity(), 32u);
    }
    FilledGraph graph(meshes::strip(2));
    Indices indices(31, 77);
    graph.fillIndexFromStrip(indices, graph.freeTriangles, false);
    EXPECT_EQ(indices, (Indices{0, 1, 2, 3}));
    EXPECT_EQ(indices.capacity(), 32u);
}

TEST(FillIndexFromStrip, KeepsALargerCapacity) {
    FilledGraph graph(meshes::strip(2));
    Indices indices(40, 77);
    const unsigned int* const buffer = indices.data();
    EXPECT_EQ(graph.fillIndexFromStrip(indices, graph.freeTriangles, false), 4u);
    EXPECT_EQ(indices, (Indices{0, 1, 2, 3}));
    EXPECT_EQ(indices.data(), buffer);
}

TEST(FillIndex, LeavesTheGraphUnchanged) {
    FilledGraph graph(meshes::closedFan(5));
    const std::string before = describe(graph);
    Indices indices;
    graph.fillIndexFromFan(indices, graph.vertexHalfEdges[0][0].second);
    graph.fillIndexFromStrip(indices, graph.freeTriangles, true);
    graph.calcEgdeLines(indices, true);
    EXPECT_EQ(describe(graph), before);
}

TEST(GetPrimitive, ClearsTheListForAnEmptyGraph) {
    HalfEdgeGraph graph;
    for (const int type : {0, 4, 5, 6}) {
        Indices indices = {7, 8, 9};
        EXPECT_EQ(graph.getPrimitive(indices, type), 0);
        EXPECT_TRUE(indices.empty());
    }
}

TEST(GetPrimitive, HandsOutFansThenStripsNewestFirstThenTheBatch) {
    StoredGraph graph;
    EXPECT_EQ(takePrimitives(graph), (std::vector<std::string>{"6: 4 5 6 7 8 5", "6: 0 1 2 3 1", "5: 13 14 15 16 17",
                                                               "5: 9 10 11 12", "4: 18 19 20 21 22 23"}));
    EXPECT_TRUE(graph.fans.empty() && graph.strips.empty() && graph.triangleLists.empty());
}

TEST(GetPrimitive, AppendsTheTrianglesToTheClaimedOnes) {
    StoredGraph graph;
    Indices indices;
    const std::vector<std::string> claimed = {"3 4 5 6", "3 4 5 6 0 1 2", "3 4 5 6 0 1 2 9 10 11",
                                              "3 4 5 6 0 1 2 9 10 11 7 8", "3 4 5 6 0 1 2 9 10 11 7 8 12 13"};
    const std::vector<int> before = states(graph);
    for (const std::string& expected : claimed) {
        graph.getPrimitive(indices, 0);
        EXPECT_EQ(numbers(graph, graph.claimedTriangles), expected);
    }
    EXPECT_EQ(states(graph), before);
    EXPECT_EQ(before, (std::vector<int>{-20, -20, -20, -20, -20, -20, -20, -10, -10, -10, -10, -10, 0, 0}));
}

TEST(GetPrimitive, LeavesPrimitivesOfOtherTypes) {
    StoredGraph graph;
    Indices indices;
    EXPECT_EQ(graph.getPrimitive(indices, 5), 5);
    EXPECT_EQ(indices, (Indices{13, 14, 15, 16, 17}));
    EXPECT_EQ(graph.getPrimitive(indices, 5), 5);
    EXPECT_EQ(indices, (Indices{9, 10, 11, 12}));
    EXPECT_EQ(graph.getPrimitive(indices, 5), 0);
    EXPECT_TRUE(indices.empty());
    EXPECT_EQ(numbers(graph, graph.fans), "(0: 0 1 2) (4: 3 4 5 6)");
    EXPECT_EQ(numbers(graph, graph.triangleLists), "(0: 12 13)");
    EXPECT_EQ(graph.getPrimitive(indices, 4), 4);
    EXPECT_EQ(indices, (Indices{18, 19, 20, 21, 22, 23}));
    EXPECT_EQ(graph.getPrimitive(indices, 4), 0);
    EXPECT_EQ(graph.getPrimitive(indices, 6), 6);
    EXPECT_EQ(graph.getPrimitive(indices, 6), 6);
    EXPECT_EQ(graph.getPrimitive(indices, 6), 0);
}

TEST(GetPrimitive, ConsumesNothingOfAnAbsentType) {
    StoredGraph graph;
    const std::string before = describe(graph);
    for (const int type : {1, 2, 3, 7, -1}) {
        Indices indices = {7, 8, 9};
        EXPECT_EQ(graph.getPrimitive(indices, type), 0);
        EXPECT_TRUE(indices.empty());
    }
    EXPECT_EQ(describe(graph), before);
}

TEST(GetPrimitive, ReadsAReversedStripFromItsEnd) {
    for (const unsigned int reversed : {1U, 4294967295U}) {
        FilledGraph graph(meshes::strip(4));
        graph.calcOptPrim(1, true, false, 6, false);
        graph.strips.front().first = reversed;
        EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"5: 5 4 3 2 1 0"});
        EXPECT_EQ(numbers(graph, graph.claimedTriangles), "0 1 2 3");
    }
}

TEST(GetPrimitive, ReadsAFanFromTheLinksAndNotFromItsList) {
    FilledGraph graph(meshes::closedFan(4));
    graph.calcOptPrim(1, true, true, 4, false);
    TriangleList& list = *graph.fans.front().second;
    TriangleList rest;
    move(*list.first, list, rest);
    Indices indices;
    EXPECT_EQ(graph.getPrimitive(indices, 0), 6);
    EXPECT_EQ(indices, (Indices{0, 1, 2, 3, 4, 1}));
    EXPECT_EQ(numbers(graph, graph.claimedTriangles), "1 2 3");
}

TEST(GetPrimitive, ConsumesAFanWhoseFirstHalfEdgeIsNull) {
    FilledGraph graph(meshes::closedFan(4));
    graph.calcOptPrim(1, true, true, 4, false);
    graph.vertexHalfEdges[0][0].second = nullptr;
    const LogCapture capture;
    Indices indices = {7, 8};
    EXPECT_EQ(graph.getPrimitive(indices, 0), 6);
    EXPECT_TRUE(indices.empty());
    EXPECT_TRUE(graph.fans.empty());
    EXPECT_EQ(numbers(graph, graph.claimedTriangles), "0 1 2 3");
    ASSERT_EQ(capture.records().size(), 1u);
    EXPECT_EQ(capture.records()[0].function, fanFunction);
    EXPECT_EQ(capture.records()[0].severity, Severity::Warning);
}

TEST(GetPrimitive, KeepsTheFanWhenTheSinkThrows) {
    FilledGraph graph(meshes::closedFan(4));
    graph.calcOptPrim(1, true, true, 4, false);
    graph.vertexHalfEdges[0][0].second = nullptr;
    const std::string before = describe(graph);
    const LogCapture capture(Severity::Trace, 0);
    Indices indices;
    EXPECT_THROW(graph.getPrimitive(indices, 0), std::runtime_error);
    EXPECT_EQ(describe(graph), before);
}

TEST(GetPrimitive, ReturnsTheTypeOfAnEmptyBatch) {
    HalfEdgeGraph graph;
    graph.triangleLists.emplace_back(0, new TriangleList);
    Indices indices = {7, 8};
    EXPECT_EQ(graph.getPrimitive(indices, 4), 4);
    EXPECT_TRUE(indices.empty());
    EXPECT_TRUE(graph.triangleLists.empty());
    EXPECT_EQ(graph.claimedTriangles.first, nullptr);
}

TEST(GetPrimitive, LeavesTheClaimedTrianglesUnchangedForAnEmptyBatch) {
    FilledGraph graph(meshes::book(3));
    graph.triangleLists.emplace_back(0, new TriangleList);
    Indices indices;
    EXPECT_EQ(graph.getPrimitive(indices, 0), 4);
    EXPECT_EQ(numbers(graph, graph.claimedTriangles), "2");
}

TEST(GetPrimitive, WritesTheCornersOfABatchInTheOrderOfTheHalfEdges) {
    FilledGraph graph({5, 3, 4, 2, 0, 1});
    graph.calcOptPrim(0, false, false, 6, false);
    Triangle& triangle = *triangles(graph)[0];
    triangle.halfEdge[0].next = &triangle.halfEdge[2]; // the order does not follow `next`
    Indices indices;
    EXPECT_EQ(graph.getPrimitive(indices, 0), 4);
    EXPECT_EQ(indices, (Indices{5, 3, 4, 2, 0, 1}));
}

TEST(GetPrimitive, DropsFurtherBatches) {
    FilledGraph graph(meshes::scattered(2));
    graph.calcOptPrim(1, true, false, 6, false);
    graph.addTriangle(10, 11, 12);
    graph.calcOptPrim(1, true, false, 6, false);
    ASSERT_EQ(numbers(graph, graph.triangleLists), "(0: 0 1) (0: 2)");
    EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"4: 0 1 2 3 4 5"});
    EXPECT_EQ(numbers(graph, graph.claimedTriangles), "0 1");
}

TEST(CalcEgdeLines, WritesNothingForAnEmptyGraph) {
    const HalfEdgeGraph graph;
    Indices lines = {7, 8};
    EXPECT_EQ(graph.calcEgdeLines(lines, true), 0u);
    EXPECT_TRUE(lines.empty());
}

TEST(CalcEgdeLines, WritesBorderEdgesInTheirOwnDirection) {
    const FilledGraph graph({2, 0, 1});
    Indices lines = {7};
    EXPECT_EQ(graph.calcEgdeLines(lines, false), 3u);
    EXPECT_EQ(lines, (Indices{0, 1, 1, 2, 2, 0}));
    EXPECT_EQ(graph.calcEgdeLines(lines, true), 3u);
    EXPECT_EQ(lines, (Indices{0, 1, 0, 1, 2, 0, 2, 0, 0}));
}

TEST(CalcEgdeLines, WritesASharedEdgeOnceFromItsLowerVertex) {
    const FilledGraph graph({0, 1, 2, 2, 1, 3});
    Indices lines;
    EXPECT_EQ(graph.calcEgdeLines(lines, false), 5u);
    EXPECT_EQ(lines, (Indices{0, 1, 1, 2, 1, 3, 2, 0, 3, 2}));
    EXPECT_EQ(graph.calcEgdeLines(lines, true), 5u);
    EXPECT_EQ(lines, (Indices{0, 1, 0, 1, 2, 1, 1, 3, 0, 2, 0, 0, 3, 2, 0}));
}

TEST(CalcEgdeLines, FollowsTheOrderOfEachVertexList) {
    FilledGraph graph({0, 3, 4, 0, 1, 2});
    Indices lines;
    graph.calcEgdeLines(lines, false);
    EXPECT_EQ(lines, (Indices{0, 3, 0, 1, 1, 2, 2, 0, 3, 4, 4, 0}));
    std::swap(graph.vertexHalfEdges[0][0], graph.vertexHalfEdges[0][1]);
    graph.vertexHalfEdges[0][0].first = 99; // the vertex number is not looked at
    graph.calcEgdeLines(lines, false);
    EXPECT_EQ(lines, (Indices{0, 1, 0, 3, 1, 2, 2, 0, 3, 4, 4, 0}));
}

TEST(CalcEgdeLines, ComparesVerticesAsUnsigned) {
    FilledGraph graph({0, 1, 2, 2, 1, 3});
    for (Triangle* const triangle : triangles(graph)) {
        for (HalfEdge& halfEdge : triangle->halfEdge) {
            halfEdge.vertex = halfEdge.vertex == 2 ? 0x90000000U : halfEdge.vertex;
        }
    }
    Indices lines;
    EXPECT_EQ(graph.calcEgdeLines(lines, false), 5u);
    EXPECT_EQ(lines, (Indices{0, 1, 1, 0x90000000U, 1, 3, 0x90000000U, 0, 3, 0x90000000U}));
}

TEST(CalcEgdeLines, SkipsASharedEdgeFromAVertexToItself) {
    FilledGraph graph({4, 4, 9, 4, 4, 8});
    link(triangles(graph)[0]->halfEdge[0], triangles(graph)[1]->halfEdge[0]);
    Indices lines;
    EXPECT_EQ(graph.calcEgdeLines(lines, true), 4u);
    EXPECT_EQ(lines, (Indices{4, 9, 0, 4, 8, 0, 8, 4, 0, 9, 4, 0}));
}

TEST(CalcEgdeLines, WritesABorderEdgeFromAVertexToItself) {
    const FilledGraph graph({4, 4, 9});
    Indices lines;
    EXPECT_EQ(graph.calcEgdeLines(lines, false), 3u);
    EXPECT_EQ(lines, (Indices{4, 4, 4, 9, 9, 4}));
}

TEST(CalcEgdeLines, WritesTheEdgesOfSplitOffTrianglesAsBorders) {
    const FilledGraph graph(meshes::book(3));
    Indices lines;
    EXPECT_EQ(graph.calcEgdeLines(lines, true), 8u); // 5 of the pair, 3 of the third
}

TEST(CalcEgdeLines, WritesTheSameAfterThePrimitivesAreTaken) {
    FilledGraph graph(meshes::grid(3, 3));
    Indices before;
    Indices after;
    EXPECT_EQ(graph.calcEgdeLines(before, true), 33u);
    graph.calcOptPrim(1, true, true, 6, false);
    takePrimitives(graph);
    EXPECT_EQ(graph.calcEgdeLines(after, true), 33u);
    EXPECT_EQ(after, before);
}

} // namespace
