#include "support/Graphs.h"

#include <gtest/gtest.h>

namespace {

using namespace graphs;

/// The cost of the free triangles as one strip, forwards and reversed.
std::pair<unsigned int, unsigned int> costs(HalfEdgeGraph& graph) {
    return {graph.calcStripCost(graph.freeTriangles, false), graph.calcStripCost(graph.freeTriangles, true)};
}

std::pair<unsigned int, unsigned int> costs(const meshes::Indices& mesh) {
    FilledGraph graph(mesh);
    return costs(graph);
}

TEST(CalcStripCost, IsZeroForAnEmptyStrip) {
    EXPECT_EQ(costs(meshes::Indices{}), (std::pair{0U, 0U}));
}

TEST(CalcStripCost, IsTwoMoreThanTheTrianglesWithoutSwaps) {
    EXPECT_EQ(costs(meshes::strip(1)), (std::pair{3U, 3U}));
    EXPECT_EQ(costs(meshes::strip(2)), (std::pair{4U, 4U}));
    EXPECT_EQ(costs(meshes::strip(4)), (std::pair{6U, 6U}));
    EXPECT_EQ(costs(meshes::strip(10)), (std::pair{12U, 12U}));
}

TEST(CalcStripCost, IsOneMoreFromTheOtherEndOfAnOddStrip) {
    // The first turn is to the wrong side for the parity with which every strip starts.
    EXPECT_EQ(costs(meshes::strip(3)), (std::pair{5U, 6U}));
    EXPECT_EQ(costs(meshes::strip(5)), (std::pair{7U, 8U}));
    EXPECT_EQ(costs(meshes::strip(11)), (std::pair{13U, 14U}));
}

TEST(CalcStripCost, GrowsByOneForEachSwap) {
    // Around a centre every turn is to the same side: at best the first one goes without a swap.
    EXPECT_EQ(costs(meshes::openFan(3)), (std::pair{5U, 6U}));
    EXPECT_EQ(costs(meshes::openFan(4)), (std::pair{7U, 8U}));
    EXPECT_EQ(costs(meshes::openFan(5)), (std::pair{9U, 10U}));
    EXPECT_EQ(costs(meshes::openFan(6)), (std::pair{11U, 12U}));
}

TEST(CalcStripCost, CountsFromTheLastTriangleWhenReversed) {
    EXPECT_EQ(costs({0, 3, 4, 0, 2, 3, 0, 1, 2}), (std::pair{6U, 5U}));
}

TEST(CalcStripCost, LeavesTheStripUnchanged) {
    FilledGraph graph(meshes::openFan(5));
    const std::string before = describe(graph);
    costs(graph);
    EXPECT_EQ(describe(graph), before);
}

TEST(CalcStripCost, CountsTrianglesThatShareNoEdgeAsSwaps) {
    EXPECT_EQ(costs(meshes::scattered(2)), (std::pair{4U, 4U}));
    EXPECT_EQ(costs(meshes::scattered(4)), (std::pair{8U, 8U}));
}

TEST(CalcStripCost, ContinuesAfterTrianglesThatShareNoEdge) {
    // 0 and 1 share nothing; from 1 on they are a strip, with the parity of a start.
    FilledGraph graph(meshes::joined(meshes::singleTriangle(), meshes::shifted(meshes::strip(4), 3)));
    EXPECT_EQ(graph.calcStripCost(graph.freeTriangles, false), 8u);
}

TEST(CalcStripCost, TakesTheFirstOfSeveralSharedEdges) {
    FilledGraph graph(meshes::scattered(3));
    const std::vector<Triangle*> all = triangles(graph);
    link(all[0]->halfEdge[1], all[1]->halfEdge[0]);
    link(all[0]->halfEdge[2], all[1]->halfEdge[1]);
    link(all[1]->halfEdge[2], all[2]->halfEdge[0]);
    EXPECT_EQ(costs(graph), (std::pair{5U, 6U}));
}

} // namespace
