#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>

namespace {

using vexa::mesh::detail::CompactGraph;
using vexa::mesh::detail::pairEdges;
using vexa::mesh::detail::pairManifoldEdges;

/// Triangles with an edge from vertex 0 to each of the vertices 2 to 71, too many for a list that is searched entry by
/// entry, in front of them one with an edge from 1 to 71: the list of vertex 1, which follows that of vertex 0 in
/// memory, starts with the same vertex with which the list of vertex 0 ends.
meshes::Indices crowdedVertex() {
    meshes::Indices mesh = {1, 71, 200};
    for (unsigned int vertex = 2; vertex <= 71; ++vertex) {
        mesh.insert(mesh.end(), {0, vertex, 100 + vertex});
    }
    return mesh;
}

TEST(PairEdges, SearchesNoFurtherThanTheEndOfALongList) {
    const meshes::Indices mesh = meshes::joined(crowdedVertex(), {71, 0, 3, 71, 0, 4});
    const CompactGraph graph = pairEdges(mesh);
    ASSERT_EQ(graph.count(), 73u);
    EXPECT_EQ(graph[70].state, 1); // 0 71 171 and 71 0 3
    EXPECT_EQ(graph[71].state, 1);
    EXPECT_EQ(graph[72].state, 0);
    EXPECT_EQ(graph[0].state, 0);
}

TEST(PairManifoldEdges, AcceptsTwoHalfEdgesThatRunTheSameWayAtTheEndOfALongList) {
    const auto graph = pairManifoldEdges(meshes::joined(crowdedVertex(), {0, 71, 201}));
    ASSERT_TRUE(graph.has_value());
    EXPECT_EQ((*graph)[70].state, 0);
    EXPECT_EQ((*graph)[71].state, 0);
}

TEST(PairManifoldEdges, GivesNothingForThreeHalfEdgesThatRunTheSameWay) {
    EXPECT_FALSE(pairManifoldEdges(meshes::Indices{0, 1, 2, 0, 1, 3, 0, 1, 4}).has_value());
    EXPECT_FALSE(pairManifoldEdges(meshes::Indices{1, 0, 2, 1, 0, 3, 1, 0, 4}).has_value());
    EXPECT_FALSE(pairManifoldEdges(meshes::joined(crowdedVertex(), {0, 71, 201, 0, 71, 202})).has_value());
}

TEST(PairManifoldEdges, LinksAsManyTrianglesAsAllowed) {
    const meshes::Indices mesh = meshes::strip(4);
    const auto graph = pairManifoldEdges(mesh, 4);
    ASSERT_TRUE(graph.has_value());
    EXPECT_EQ(graph->count(), 4u);
    EXPECT_EQ((*graph)[0].state, 1);
    EXPECT_EQ((*graph)[1].state, 2);
}

TEST(PairManifoldEdges, GivesNothingForMoreTrianglesThanAllowed) {
    EXPECT_FALSE(pairManifoldEdges(meshes::strip(4), 3).has_value());
}

TEST(PairManifoldEdges, GivesNothingForMoreTrianglesThanIdsCanName) {
    // Addresses without memory: the count alone must decide.
    const std::size_t indexCount = 3 * (CompactGraph::maxCount + 1);
    const std::size_t bytes = indexCount * sizeof(unsigned int);
    void* const addresses = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(addresses, MAP_FAILED);
    EXPECT_FALSE(pairManifoldEdges({static_cast<const unsigned int*>(addresses), indexCount}).has_value());
    munmap(addresses, bytes);
}

} // namespace
