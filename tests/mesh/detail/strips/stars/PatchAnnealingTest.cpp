#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/flow/Labels.h>
#include <vexa/mesh/detail/strips/stars/PatchAnnealing.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <vector>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;

using Observer = std::function<bool(const vexa::mesh::StripProgress&)>;
const Observer unobserved;

StripPartition partitionOf(const Indices& mesh) {
    return {pairEdges(mesh), mesh};
}

std::vector<EdgeSet> linksOf(const StripPartition& partition) {
    std::vector<EdgeSet> links;
    for (TriangleId id = 0; id < partition.count(); ++id) {
        links.push_back(partition.links(id));
    }
    return links;
}

std::vector<EdgeSet> linksAfter(const Indices& mesh, std::uint32_t seed, unsigned threads, int rounds = 5) {
    StripPartition partition = partitionOf(mesh);
    WorkTeam team(threads);
    PatchAnnealing patches(1.5, seed, team);
    StripMonitor monitor(unobserved);
    for (int round = 0; round < rounds; ++round) {
        patches.run(partition, monitor, 64);
    }
    return linksOf(partition);
}

void expectLinked(const StripPartition& partition) {
    for (TriangleId id = 0; id < partition.count(); ++id) {
        if (partition.isCollapsed(id)) {
            continue;
        }
        ASSERT_LE(partition.linkCount(id), 2U) << partition.count();
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId side = halfEdgeOf(id, place);
            ASSERT_TRUE(!partition.isLinked(side) || partition.twin(side) != partition.border()) << partition.count();
            ASSERT_TRUE(!partition.isLinked(side) || partition.isLinked(partition.twin(side))) << partition.count();
        }
    }
}

TEST(PatchAnnealing, LinksTrianglesOverTwoEdgesAtMost) {
    for (const Indices& mesh : {meshes::damaged(meshes::sphere(40, 30), 5), meshes::pairs(20), meshes::closedFan(50)}) {
        StripPartition partition = partitionOf(mesh);
        WorkTeam alone;
        PatchAnnealing patches(1.5, 1, alone);
        StripMonitor monitor(unobserved);
        for (int round = 0; round < 9; ++round) {
            patches.run(partition, monitor, 16);
        }
        expectLinked(partition);
    }
}

TEST(PatchAnnealing, LeavesTrianglesBetweenPatchesAlone) {
    const std::vector<EdgeSet> links = linksAfter(meshes::sphere(60, 40), 1, 1, 1);
    const auto left = std::count(links.begin(), links.end(), 0);
    EXPECT_GT(left, 100);
    EXPECT_LT(left, std::ssize(links) / 2);
}

TEST(PatchAnnealing, LinksAMeshThatIsOnePatchInEveryRound) {
    const Indices mesh = meshes::sphere(6, 4);
    EXPECT_NE(linksAfter(mesh, 1, 1, 1), linksOf(partitionOf(mesh)));
    EXPECT_NE(linksAfter(mesh, 1, 1, 1), linksAfter(mesh, 1, 1, 2));
}

TEST(PatchAnnealing, ReachesAllOfTheMeshInTime) {
    std::size_t left = 0;
    for (const EdgeSet links : linksAfter(meshes::sphere(30, 20), 1, 1, 100)) {
        left += links == 0 ? 1 : 0;
    }
    EXPECT_LT(left, 20U);
}

TEST(PatchAnnealing, DependsOnTheSeedOnly) {
    const Indices mesh = meshes::damaged(meshes::sphere(40, 30), 5);
    EXPECT_EQ(linksAfter(mesh, 1, 1), linksAfter(mesh, 1, 2));
    EXPECT_NE(linksAfter(mesh, 1, 1), linksAfter(mesh, 2, 1));
}

TEST(PatchAnnealing, LinksWhatItHasDrawnWhenStoppedHalfWay) {
    StripPartition partition = partitionOf(meshes::sphere(60, 40));
    WorkTeam alone;
    PatchAnnealing patches(1.5, 1, alone);
    int polls = 0;
    const Observer goesOn = [&polls](const auto&) { return ++polls < 1000; };
    StripMonitor monitor(goesOn, nullptr, {});
    patches.run(partition, monitor, 64);
    EXPECT_EQ(polls, 1000);
    expectLinked(partition);
    EXPECT_NE(linksOf(partition), linksOf(partitionOf(meshes::sphere(60, 40))));
}

TEST(PatchAnnealing, ChangesNothingWhenStopped) {
    StripPartition partition = partitionOf(meshes::sphere(60, 40));
    WorkTeam alone;
    PatchAnnealing patches(1.5, 1, alone);
    const Observer stop = [](const auto&) { return false; };
    StripMonitor monitor(stop);
    patches.run(partition, monitor);
    EXPECT_TRUE(monitor.isStopped());
    EXPECT_EQ(linksOf(partition), linksOf(partitionOf(meshes::sphere(60, 40))));
}

} // namespace
