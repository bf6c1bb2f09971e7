#include "support/Meshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vexa/mesh/detail/graph/GraphNumbering.h>
#include <vexa/mesh/detail/graph/TriangleLists.h>

namespace {

using testing::ElementsAre;
using vexa::mesh::HalfEdgeGraph;
using vexa::mesh::detail::CompactGraph;
using vexa::mesh::detail::GraphNumbering;
using vexa::mesh::detail::halfEdgeOf;
using Triangle = HalfEdgeGraph::Triangle;

/// Two neighbours, then two triangles on the edge between them, which are split off.
void fill(HalfEdgeGraph& graph) {
    for (const unsigned int apex : {2U, 4U, 5U}) {
        graph.addTriangle(0, 1, apex);
        if (apex == 2) {
            graph.addTriangle(1, 0, 3);
        }
    }
}

std::vector<std::int32_t> statesOf(const HalfEdgeGraph::TriangleList& list) {
    std::vector<std::int32_t> states;
    for (const Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
        states.push_back(triangle->state);
    }
    return states;
}

TEST(GraphNumbering, NumbersTheListsInTheirOrder) {
    HalfEdgeGraph graph;
    fill(graph);
    const GraphNumbering numbering(graph, {true, false, false, 0});
    EXPECT_EQ(numbering.freeCount(), 4u);
    EXPECT_THAT(statesOf(graph.freeTriangles), ElementsAre(0, 1));
    EXPECT_THAT(statesOf(graph.claimedTriangles), ElementsAre(2, 3));
    EXPECT_EQ(&numbering.triangle(1), graph.freeTriangles.last);
    EXPECT_EQ(&numbering.triangle(3), graph.claimedTriangles.last);
}

TEST(GraphNumbering, LinksNeighboursAndStandsInForMissingOnes) {
    HalfEdgeGraph graph;
    fill(graph);
    GraphNumbering numbering(graph, {false, false, false, 0});
    const CompactGraph& compact = numbering.graph();
    EXPECT_THAT(compact[0].twin, ElementsAre(halfEdgeOf(1, 0), compact.border(), compact.border()));
    EXPECT_THAT(compact[1].twin, ElementsAre(halfEdgeOf(0, 0), compact.border(), compact.border()));
}

TEST(GraphNumbering, TakesANeighbourInAStripForClaimed) {
    HalfEdgeGraph graph;
    fill(graph);
    Triangle& second = *graph.freeTriangles.last;
    vexa::mesh::detail::unlink(graph.freeTriangles, second);
    second.state = Triangle::inStrip;
    {
        GraphNumbering numbering(graph, {false, false, false, 0});
        EXPECT_EQ(numbering.graph()[0].twin[0], numbering.graph().claimed());
    }
    second.state = Triangle::inFan;
    GraphNumbering numbering(graph, {false, false, false, 0});
    EXPECT_EQ(numbering.graph()[0].twin[0], numbering.graph().border());
}

TEST(GraphNumbering, RestoresStatesOfAnySize) {
    HalfEdgeGraph graph;
    fill(graph);
    graph.freeTriangles.first->state = 1'000'000;
    graph.freeTriangles.last->state = -1'000'000;
    graph.claimedTriangles.last->state = 127;
    {
        GraphNumbering numbering(graph, {true, false, false, 0});
        EXPECT_EQ(numbering.graph()[0].state, 3);
        EXPECT_EQ(numbering.graph()[1].state, vexa::mesh::detail::stateReported);
        EXPECT_EQ(numbering.currentState(1), -1'000'000);
    }
    EXPECT_THAT(statesOf(graph.freeTriangles), ElementsAre(1'000'000, -1'000'000));
    EXPECT_THAT(statesOf(graph.claimedTriangles), ElementsAre(Triangle::splitOff, 127));
}

TEST(GraphNumbering, LeavesStatesThatWereHandedOver) {
    HalfEdgeGraph graph;
    fill(graph);
    {
        GraphNumbering numbering(graph, {false, false, false, 0});
        numbering.handOverStates();
        numbering.triangle(0).state = 7;
    }
    EXPECT_THAT(statesOf(graph.freeTriangles), ElementsAre(7, 1));
}

TEST(GraphNumbering, FindsCentresWithEnoughTriangles) {
    HalfEdgeGraph graph;
    for (const unsigned int spoke : {1U, 2U, 3U}) {
        graph.addTriangle(0, spoke, spoke + 1);
    }
    const GraphNumbering numbering(graph, {false, false, true, 3});
    ASSERT_EQ(numbering.fanCandidates().size(), 1u);
    EXPECT_EQ(numbering.fanCandidates()[0].centre, 0u);
    EXPECT_EQ(numbering.fanCandidates()[0].size, 3u);
    EXPECT_EQ(numbering.fanCandidates()[0].start, halfEdgeOf(0, 0));
}

} // namespace
