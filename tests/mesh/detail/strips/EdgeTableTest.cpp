#include "support/Meshes.h"

#include <vexa/mesh/detail/strips/EdgeTable.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace {

constexpr int none = -1;
using Table = vexa::mesh::detail::EdgeTable<int, none>;

TEST(EdgeTable, FindsNothingOnAnUnknownEdge) {
    const Table table;
    EXPECT_EQ(table.find(0, 1).count, 0);
    EXPECT_EQ(table.find(0, 1).opposite, none);
}

TEST(EdgeTable, GivesTheOppositeHalfEdgeOnly) {
    Table table;
    table.add(3, 5, 7);
    EXPECT_EQ(table.find(5, 3).count, 1);
    EXPECT_EQ(table.find(5, 3).opposite, 7);
    EXPECT_EQ(table.find(3, 5).count, 1);
    EXPECT_EQ(table.find(3, 5).opposite, none);
}

TEST(EdgeTable, CountsTheSameHalfEdgeOnce) {
    Table table;
    table.add(3, 5, 7);
    table.add(3, 5, 7);
    EXPECT_EQ(table.find(5, 3).count, 1);
    table.add(5, 3, 8);
    table.add(3, 5, 7);
    EXPECT_EQ(table.find(5, 3).count, 2);
    EXPECT_EQ(table.find(5, 3).opposite, none);
}

TEST(EdgeTable, KeepsEverythingWhileItGrows) {
    Table table;
    std::map<std::pair<unsigned int, unsigned int>, std::vector<int>> expected;
    meshes::Random random(3);
    for (int halfEdge = 0; halfEdge < 3000; ++halfEdge) {
        const unsigned int from = random.below(60);
        const unsigned int to = (from + 1 + random.below(59)) % 60;
        table.add(from, to, halfEdge);
        expected[{std::min(from, to), std::max(from, to)}].push_back(halfEdge);
    }
    for (unsigned int low = 0; low < 60; ++low) {
        for (unsigned int high = low + 1; high < 60; ++high) {
            const auto& halfEdges = expected[{low, high}];
            EXPECT_EQ(table.find(high, low).count, std::min<int>(static_cast<int>(halfEdges.size()), 2));
            if (halfEdges.size() == 1) {
                EXPECT_EQ(std::max(table.find(low, high).opposite, table.find(high, low).opposite), halfEdges.front());
            }
        }
    }
}

} // namespace
