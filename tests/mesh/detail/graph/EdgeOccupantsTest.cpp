#include "support/Graphs.h"

#include <gtest/gtest.h>

// Two vertices with so many triangles that their lists are not read for every edge.

namespace {

using namespace graphs;

/// 0 and 1 with 100 triangles each that share nothing else, in front of a mesh.
meshes::Indices betweenCrowds(const meshes::Indices& mesh) {
    meshes::Indices all;
    for (unsigned int i = 0; i < 100; ++i) {
        all.insert(all.end(), {0, 100 + 2 * i, 101 + 2 * i, 300 + 2 * i, 1, 301 + 2 * i});
    }
    return meshes::joined(all, mesh);
}

/// Adds triangles one by one; their states.
std::vector<int> statesOfAdded(HalfEdgeGraph& graph, const meshes::Indices& mesh) {
    std::vector<Triangle*> added;
    for (std::size_t i = 0; i < mesh.size(); i += 3) {
        added.push_back(graph.addTriangle(mesh[i], mesh[i + 1], mesh[i + 2]));
    }
    std::vector<int> found;
    for (const Triangle* triangle : added) {
        found.push_back(triangle->state);
    }
    return found;
}

TEST(CrowdedEdge, TakesTwoTrianglesAndSplitsOffOthers) {
    FilledGraph graph(betweenCrowds({}));
    EXPECT_EQ(statesOfAdded(graph, {0, 1, 2, 0, 1, 1, 1, 0, 3, 0, 1, 4, 1, 0, 5}), (std::vector<int>{1, 0, 1, -1, -1}));
}

TEST(CrowdedEdge, TakesTrianglesOfBatchesAndOfSingleCalls) {
    FilledGraph graph(betweenCrowds({0, 0, 1, 0, 1, 2}));
    const meshes::Indices batch = {1, 0, 3};
    graph.addTriangles(batch.data(), batch.size());
    EXPECT_EQ(states(graph).back(), 1);
    EXPECT_EQ(statesOfAdded(graph, {1, 0, 4}), (std::vector<int>{-1}));
}

TEST(CrowdedEdge, IsFullWithTrianglesThatWereSplitOffAndThenPutIntoStrips) {
    // The third triangle does not occupy 1-4 and 4-0 until it is in a strip.
    FilledGraph graph(betweenCrowds({}));
    statesOfAdded(graph, {0, 1, 2, 1, 0, 3, 0, 1, 4, 4, 1, 5});
    graph.calcOptPrim(1, true, false, 6, true);
    EXPECT_EQ(statesOfAdded(graph, {1, 4, 6}), (std::vector<int>{-1}));
}

TEST(CrowdedEdge, IsEmptyAfterClear) {
    FilledGraph graph(betweenCrowds({}));
    statesOfAdded(graph, {0, 1, 2, 1, 0, 3, 0, 1, 4});
    graph.clear();
    const meshes::Indices crowds = betweenCrowds({});
    graph.addTriangles(crowds.data(), crowds.size());
    EXPECT_EQ(statesOfAdded(graph, {0, 1, 2, 1, 0, 3}), (std::vector<int>{1, 1}));
}

TEST(CrowdedEdge, IsSearchedAgainWhenTheCallerHasShortenedAList) {
    FilledGraph graph(betweenCrowds({}));
    statesOfAdded(graph, {0, 1, 2, 1, 0, 3, 0, 1, 4});
    for (const std::size_t vertex : {std::size_t{0}, std::size_t{1}}) {
        graph.vertexHalfEdges[vertex].resize(100); // the crowds only
    }
    EXPECT_EQ(statesOfAdded(graph, {0, 1, 2, 1, 0, 3}), (std::vector<int>{1, 1}));
}

} // namespace
