#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <vexa/mesh/detail/EdgePairing.h>

namespace {

using vexa::mesh::detail::CompactGraph;
using vexa::mesh::detail::pairManifoldEdges;

TEST(PairManifoldEdges, LinksAsManyTrianglesAsAllowed) {
    const meshes::Indices mesh = meshes::strip(4);
    const auto graph = pairManifoldEdges(mesh, 4);
    ASSERT_TRUE(graph.has_value());
    EXPECT_EQ(graph->count(), 4u);
    EXPECT_EQ((*graph)[0].state, 1);
    EXPECT_EQ((*graph)[1].state, 2);
}

TEST(PairManifoldEdges, GivesNothingForMore) {
    EXPECT_FALSE(pairManifoldEdges(meshes::strip(4), 3).has_value());
}

TEST(PairManifoldEdges, GivesNothingForMoreTrianglesThanIdsCanName) {
    // Addresses without memory: their number must be enough to tell.
    const std::size_t indexCount = 3 * (CompactGraph::maxCount + 1);
    const std::size_t bytes = indexCount * sizeof(unsigned int);
    void* const addresses = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(addresses, MAP_FAILED);
    EXPECT_FALSE(pairManifoldEdges({static_cast<const unsigned int*>(addresses), indexCount}).has_value());
    munmap(addresses, bytes);
}

} // namespace
