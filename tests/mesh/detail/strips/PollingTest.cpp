#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/GreedyLinks.h>
#include <vexa/mesh/detail/strips/JoinOrder.h>
#include <vexa/mesh/detail/strips/LargeVector.h>
#include <vexa/mesh/detail/strips/PatchOrder.h>
#include <vexa/mesh/detail/strips/Polling.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/bound/CostSplit.h>
#include <vexa/mesh/detail/strips/stars/Stars.h>

#include <cstdint>
#include <vector>

namespace {

using namespace vexa::mesh::detail;

TEST(ForEachPolled, VisitsEveryNumberAndPollsEveryInterval) {
    std::uint32_t polls = 0;
    std::vector<std::uint32_t> visited;
    forEachPolled(
        2 * pollInterval + 1, [&] { ++polls; }, [&](std::uint32_t i) { visited.push_back(i); });
    EXPECT_EQ(polls, 3U);
    ASSERT_EQ(visited.size(), 2 * pollInterval + 1);
    EXPECT_EQ(visited.back(), 2 * pollInterval);
}

TEST(ForEachPolled, WorksWithoutAPoll) {
    std::uint32_t visited = 0;
    forEachPolled(7, {}, [&](std::uint32_t) { ++visited; });
    EXPECT_EQ(visited, 7U);
}

TEST(ForEachWhile, StopsOnRequest) {
    std::uint32_t asked = 0;
    std::uint32_t visited = 0;
    const auto visit = [&](std::uint32_t i) { EXPECT_EQ(i, visited++); };
    EXPECT_FALSE(forEachWhile(
        3 * pollInterval, [&] { return ++asked < 3; }, visit));
    EXPECT_EQ(visited, 2 * pollInterval);
}

TEST(ForEachWhile, ReportsThatAllWereVisited) {
    std::uint32_t visited = 0;
    const auto visit = [&](std::uint32_t) { ++visited; };
    EXPECT_TRUE(forEachWhile(
        pollInterval, [] { return true; }, visit));
    EXPECT_TRUE(forEachWhile(5, {}, visit));
    EXPECT_EQ(visited, pollInterval + 5);
}

TEST(WorkMeter, PollsWhenEnoughIsDone) {
    std::uint32_t polls = 0;
    const Poll poll = [&] { ++polls; };
    WorkMeter meter(poll);
    meter.add(pollInterval - 1);
    EXPECT_EQ(polls, 0U);
    meter.add(1);
    EXPECT_EQ(polls, 1U);
    meter.add(5 * pollInterval);
    EXPECT_EQ(polls, 2U);
}

/// Every step that visits all triangles polls at least once per interval.
TEST(Polling, HappensInEveryStepOfALargeMesh) {
    const meshes::Indices mesh = meshes::grid(200, 200);
    const auto triangles = static_cast<std::uint32_t>(mesh.size() / 3);
    std::uint32_t polls = 0;
    const Poll poll = [&] { ++polls; };
    const auto expectPolls = [&](const char* step) {
        EXPECT_GE(polls, triangles / pollInterval) << step;
        polls = 0;
    };
    CompactGraph graph = pairEdges(mesh, poll);
    expectPolls("pairing");
    patchOrder(graph, poll);
    expectPolls("renumbering");
    StripPartition partition(graph, mesh, {}, poll);
    expectPolls("partition");
    const StripSet strips = searchGreedily(graph, mesh, poll);
    expectPolls("greedy search");
    linkStrips(partition, strips, poll);
    expectPolls("linking");
    cutLoops(partition, poll);
    expectPolls("loops");
    countIndices(mesh, partition, vexa::mesh::StripJoin::Restart, poll);
    expectPolls("counting");
    WorkTeam alone;
    const PatchGroups groups(partition, 4096, alone, poll);
    expectPolls("patches");
    const Stars stars(partition, groups, poll);
    expectPolls("stars");
    LargeVector<HalfEdgeId> corners;
    const auto goesOn = [&polls] { return ++polls != 0; };
    const StarLayout layout = listStars(partition, groups, corners, goesOn);
    EXPECT_EQ(layout.starCount(), 201U * 201U);
    EXPECT_GE(polls, 3 * (triangles / pollInterval)) << "preparing, grouping and listing";
    polls = 0;
    const EdgeCosts costs(6);
    const CostSplit<MinPlusMatrix> split(layout, costs, alone, poll);
    EXPECT_GE(polls, 2 * (triangles / pollInterval)) << "first costs";
}

TEST(Polling, EndsTheListingOfStarsEarly) {
    const meshes::Indices mesh = meshes::grid(200, 200);
    const CompactGraph graph = pairEdges(mesh);
    const StripPartition partition(graph, mesh, {}, {});
    WorkTeam alone;
    const PatchGroups groups(partition, 4096, alone, {});
    LargeVector<HalfEdgeId> corners;
    const StarLayout layout = listStars(partition, groups, corners, [] { return false; });
    EXPECT_EQ(layout.starCount(), 0U);
}

} // namespace
