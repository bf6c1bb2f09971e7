#include "ops/Edges.h"

#include <gtest/gtest.h>

namespace {

using vexa::tool::countEdges;
using vexa::tool::EdgeCounts;

TEST(CountEdges, GivesNothingForNoTriangles) {
    const EdgeCounts counts = countEdges({});
    EXPECT_EQ(counts.edges, 0u);
    EXPECT_FALSE(counts.isClosed());
}

TEST(CountEdges, CountsEdgesOfOneTriangleAsBorder) {
    const EdgeCounts counts = countEdges({0, 1, 2, 2, 1, 3});
    EXPECT_EQ(counts.edges, 5u);
    EXPECT_EQ(counts.border, 4u);
    EXPECT_EQ(counts.nonManifold, 0u);
    EXPECT_FALSE(counts.isClosed());
}

TEST(CountEdges, IgnoresTheDirectionOfEdges) {
    const EdgeCounts counts = countEdges({0, 1, 2, 1, 2, 3});
    EXPECT_EQ(counts.edges, 5u);
    EXPECT_EQ(counts.border, 4u);
}

TEST(CountEdges, CountsEdgesOfMoreThanTwoTriangles) {
    const EdgeCounts counts = countEdges({0, 1, 2, 1, 0, 3, 0, 1, 4, 1, 0, 5});
    EXPECT_EQ(counts.nonManifold, 1u);
    EXPECT_EQ(counts.border, 8u);
}

TEST(CountEdges, RecognisesAClosedMesh) {
    const EdgeCounts counts = countEdges({0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3});
    EXPECT_EQ(counts.edges, 6u);
    EXPECT_TRUE(counts.isClosed());
}

TEST(CountEdges, DistinguishesLargeVertexIndices) {
    const EdgeCounts counts = countEdges({0, 4294967294U, 1, 0, 4294967293U, 1});
    EXPECT_EQ(counts.edges, 5u);
    EXPECT_EQ(counts.border, 4u);
}

TEST(ForEachEdge, GivesEachEdgeOnceWithItsTriangles) {
    std::vector<std::array<std::uint32_t, 2>> shared;
    vexa::tool::forEachEdge(vexa::tool::sortedEdges({4, 5, 6, 6, 5, 7}), [&](const auto* first, const auto* last) {
        if (last - first == 2) {
            EXPECT_EQ(first[0].triangle, 0u);
            EXPECT_EQ(first[1].triangle, 1u);
            shared.push_back(first->ends());
        }
    });
    EXPECT_EQ(shared, (std::vector<std::array<std::uint32_t, 2>>{{5, 6}}));
}

} // namespace
