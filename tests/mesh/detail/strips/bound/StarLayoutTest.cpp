#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/PatchGroups.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/bound/StarLayout.h>

#include <algorithm>
#include <span>
#include <vector>

namespace {

using vexa::mesh::detail::StarEntry;
using vexa::mesh::detail::StarLayout;
using Share = StarEntry::Share;

StarLayout starsOf(std::span<const unsigned int> triangles) {
    vexa::mesh::detail::WorkTeam alone;
    return listStars(triangles, alone);
}

/// Sizes of all stars, the open ones negative, in ascending order.
std::vector<int> sizesOf(const StarLayout& layout) {
    std::vector<int> sizes;
    for (std::uint32_t i = 0; i < layout.starCount(); ++i) {
        const int size = static_cast<int>(layout.star(i).size());
        sizes.push_back(layout.isOpen(i) ? -size : size);
    }
    std::sort(sizes.begin(), sizes.end());
    return sizes;
}

/// For each table, how many stars keep it and how many have the rest.
std::vector<std::pair<int, int>> usesOf(const StarLayout& layout) {
    std::vector<std::pair<int, int>> uses(layout.tableCount());
    for (std::uint32_t i = 0; i < layout.starCount(); ++i) {
        for (const StarEntry& entry : layout.star(i)) {
            auto& use = uses.at(entry.table());
            EXPECT_TRUE(entry.isKept() || use.first == 1) << "the first star of an edge keeps its table";
            ++(entry.isKept() ? use.first : use.second);
        }
    }
    return uses;
}

std::ptrdiff_t countShares(const StarLayout& layout, Share share) {
    std::ptrdiff_t count = 0;
    for (std::uint32_t i = 0; i < layout.starCount(); ++i) {
        const auto star = layout.star(i);
        count +=
            std::count_if(star.begin(), star.end(), [&](const StarEntry& entry) { return entry.share() == share; });
    }
    return count;
}

TEST(ListStars, ListsTheEdgesAroundEveryVertex) {
    EXPECT_EQ(sizesOf(starsOf(meshes::octahedron())), (std::vector{4, 4, 4, 4, 4, 4}));
    EXPECT_EQ(sizesOf(starsOf(meshes::closedFan(5))), (std::vector{-3, -3, -3, -3, -3, 5}));
    EXPECT_EQ(sizesOf(starsOf(meshes::singleTriangle())), (std::vector{-2, -2, -2}));
}

TEST(ListStars, GivesSeparateGroupsAtAVertexStarsOfTheirOwn) {
    const StarLayout layout = starsOf(meshes::pinchedVertex(4, 5));
    EXPECT_EQ(layout.starCount(), 2u + 4u + 5u);
    EXPECT_EQ(layout.maxStarSize(), 5u);
}

TEST(ListStars, SharesEveryEdgeBetweenTwoStars) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const meshes::Indices triangles = mesh.indices;
        const StarLayout layout = starsOf(triangles);
        for (const auto& use : usesOf(layout)) {
            EXPECT_EQ(use, (std::pair{1, 1})) << mesh.name;
        }
    }
}

TEST(ListStars, BeginsClosedStarsWithKeptTables) {
    const StarLayout layout = starsOf(meshes::icosahedron());
    for (std::uint32_t i = 0; i < layout.starCount(); ++i) {
        const auto star = layout.star(i);
        const bool hasKept =
            std::any_of(star.begin(), star.end(), [](const StarEntry& entry) { return entry.isKept(); });
        EXPECT_EQ(star.front().isKept(), hasKept);
    }
}

TEST(ListStars, KnowsBordersAndFreeSides) {
    const StarLayout single = starsOf(meshes::singleTriangle());
    EXPECT_EQ(countShares(single, Share::BorderRest), 3);
    // Two triangles each way on one edge: any may be linked with any of the other way.
    const StarLayout four = starsOf(meshes::fourOnAnEdge());
    EXPECT_EQ(countShares(four, Share::FreeRest), 4);
    EXPECT_EQ(countShares(four, Share::BorderRest), 8);
    // All the same way: none can be linked.
    const StarLayout sameWay = starsOf(std::vector<unsigned int>{0, 1, 2, 0, 1, 3, 0, 1, 4});
    EXPECT_EQ(countShares(sameWay, Share::BorderRest), 9);
}

TEST(ListStars, NumbersTheConnectedParts) {
    EXPECT_EQ(starsOf(meshes::scattered(3)).partCount(), 3u);
    EXPECT_EQ(starsOf(meshes::hub(3)).partCount(), 3u);
    EXPECT_EQ(starsOf(meshes::icosahedron()).partCount(), 1u);
    EXPECT_EQ(starsOf(meshes::fourOnAnEdge()).partCount(), 1u);
    const StarLayout shuffled = starsOf(meshes::shuffled(meshes::pairs(5), 1));
    EXPECT_EQ(shuffled.partCount(), 5u);
}

TEST(ListStars, CountsGroupsOfPartsThatShareVertices) {
    EXPECT_EQ(starsOf(meshes::icosahedron()).groupCount(), 1u);
    EXPECT_EQ(starsOf(meshes::hub(3)).groupCount(), 1u);
    EXPECT_EQ(starsOf(meshes::scattered(3)).groupCount(), 3u);
    EXPECT_EQ(starsOf(meshes::joined(meshes::chain(4), meshes::shifted(meshes::hub(2), 50))).groupCount(), 2u);
}

TEST(StarLayout, RunsEndWhenStopped) {
    using namespace vexa::mesh::detail;
    const meshes::Indices mesh = meshes::sphere(20, 12);
    const StripPartition partition(pairEdges(mesh), mesh);
    WorkTeam alone;
    for (const std::uint32_t patchSize : {2U, 40U, 4096U}) {
        const PatchGroups groups(partition, patchSize, alone, {});
        LargeVector<HalfEdgeId> corners;
        const StarLayout layout = listStars(partition, groups, corners, [] { return true; });
        for (const bool isForth : {true, false}) {
            std::uint32_t visited = 0;
            const auto visit = [&](StarRun run, unsigned) { visited += run.end - run.begin; };
            std::uint32_t asked = 0;
            ASSERT_TRUE(layout.forEachRun(alone, isForth, visit, [&] { return ++asked != 0; }));
            EXPECT_EQ(visited, layout.starCount());
            for (std::uint32_t last = asked; last > 0; --last) {
                asked = 0;
                EXPECT_FALSE(layout.forEachRun(alone, isForth, visit, [&] { return ++asked < last; }));
                EXPECT_EQ(asked, last);
            }
        }
    }
}

} // namespace
