#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/Random.h>
#include <vexa/mesh/detail/strips/StripSearch.h>

namespace {

using namespace vexa::mesh::detail;

TEST(SearchStrips, NeedsNobodyToObserveIt) {
    for (const std::uint32_t passes : {1U, 3U}) {
        CompactGraph graph = pairEdges(meshes::grid(6, 5));
        graph[7].state = stateReported;
        OwnRandom random;
        SearchObserver nobody;
        const SearchResult found = searchStrips(graph, {passes, true, graph.count(), 0}, random, nobody);
        EXPECT_EQ(found.strips.triangleCount() + found.leftOver.size(), 60U) << passes;
    }
}

} // namespace
