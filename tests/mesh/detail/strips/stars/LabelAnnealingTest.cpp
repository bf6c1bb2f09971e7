#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/flow/Labels.h>
#include <vexa/mesh/detail/strips/stars/LabelAnnealing.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;

StripPartition partitionOf(const Indices& mesh) {
    return {pairEdges(mesh), mesh};
}

std::uint64_t anneal(StripPartition& partition, std::uint32_t seed, unsigned sweeps, unsigned threads = 1,
                     std::uint32_t patchSize = 4096, Heat heat = Heat::Usual, double passes = 40) {
    const std::function<bool(const vexa::mesh::StripProgress&)> nobody;
    StripMonitor monitor(nobody);
    labelByLinks(partition);
    WorkTeam team(threads);
    annealLabels(partition,
                 {1.5, seed, sweeps, heat, [passes](std::uint32_t pass) { return pass / passes; }, patchSize}, team,
                 monitor);
    cutLoops(partition);
    return countExtraIndices(partition);
}

TEST(AnnealLabels, FindsFewIndicesFromNoLinks) {
    const Indices mesh = meshes::shuffled(meshes::sphere(40, 30), 4);
    StripPartition given = partitionOf(mesh);
    StripPartition split = partitionOf(mesh);
    EXPECT_LT(4 * anneal(given, 1, 0), mesh.size() / 3);
    EXPECT_LT(4 * anneal(split, 1, 8), mesh.size() / 3);
}

TEST(AnnealLabels, UndoesLessOfGoodLabelsWhereItBeginsColder) {
    const Indices mesh = meshes::damaged(meshes::sphere(60, 40), 5);
    const auto costAfter = [&mesh](Heat heat) {
        StripPartition partition = partitionOf(mesh);
        anneal(partition, 1, 0);
        return anneal(partition, 2, 0, 1, 4096, heat, 4);
    };
    EXPECT_LT(costAfter(Heat::Low), costAfter(Heat::Usual));
    EXPECT_LT(costAfter(Heat::Usual), costAfter(Heat::High));
}

TEST(AnnealLabels, RelabelsStarsOfSeveralPatchesToo) {
    const Indices mesh = meshes::shuffled(meshes::sphere(40, 30), 4);
    // No star fits into patches of two triangles.
    StripPartition partition = partitionOf(mesh);
    EXPECT_LT(4 * anneal(partition, 1, 0, 1, 2), mesh.size() / 3);
}

TEST(AnnealLabels, LeavesTheLinksWhenStopped) {
    const std::function<bool(const vexa::mesh::StripProgress&)> stop = [](const auto&) { return false; };
    for (const std::uint32_t patchSize : {2U, 4096U}) {
        for (const unsigned sweeps : {0U, 8U}) {
            StripPartition partition = partitionOf(meshes::sphere(20, 12));
            labelByLinks(partition);
            StripMonitor monitor(stop);
            WorkTeam alone;
            EXPECT_FALSE(annealLabels(partition,
                                      {1.5, 1, sweeps, Heat::Usual, [](std::uint32_t) { return 0.0; }, patchSize},
                                      alone, monitor));
            EXPECT_EQ(countExtraIndices(partition), countExtraIndices(partitionOf(meshes::sphere(20, 12))));
        }
    }
}

TEST(AnnealLabels, LeavesTheLinksWhenStoppedWhileCostsAreSplit) {
    unsigned calls = 0;
    const std::function<bool(const vexa::mesh::StripProgress&)> goesOn = [&](const auto&) { return ++calls < 2; };
    StripPartition partition = partitionOf(meshes::sphere(20, 12));
    labelByLinks(partition);
    StripMonitor monitor(goesOn);
    WorkTeam alone;
    // So many sweeps take longer than the monitor waits between two calls.
    EXPECT_FALSE(
        annealLabels(partition, {1.5, 1, 1000000, Heat::Usual, [](std::uint32_t) { return 0.0; }}, alone, monitor));
    EXPECT_EQ(calls, 2U);
}

TEST(AnnealLabels, DependsOnTheSeedOnly) {
    const Indices mesh = meshes::damaged(meshes::sphere(40, 30), 5);
    const auto linksAfter = [&mesh](std::uint32_t seed) {
        StripPartition partition = partitionOf(mesh);
        anneal(partition, seed, 8);
        std::vector<EdgeSet> links;
        for (TriangleId id = 0; id < partition.count(); ++id) {
            links.push_back(partition.links(id));
        }
        return links;
    };
    EXPECT_EQ(linksAfter(1), linksAfter(1));
    EXPECT_NE(linksAfter(1), linksAfter(2));
}

TEST(AnnealLabels, DoesNotDependOnTheNumberOfThreads) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(90, 60), 5), 6);
    StripPartition alone = partitionOf(mesh);
    StripPartition together = partitionOf(mesh);
    anneal(alone, 1, 2, 1);
    anneal(together, 1, 2, 3);
    for (TriangleId id = 0; id < alone.count(); ++id) {
        ASSERT_EQ(alone.links(id), together.links(id)) << id;
    }
}

TEST(AnnealLabels, LinksAtMostTwoEdgesOfATriangle) {
    for (const auto& mesh : meshes::suite()) {
        StripPartition partition = partitionOf(mesh.indices);
        anneal(partition, 1, 2);
        for (TriangleId id = 0; id < partition.count(); ++id) {
            EXPECT_TRUE(partition.isCollapsed(id) == (partition.linkCount(id) == 3)) << mesh.name;
        }
    }
}

} // namespace
