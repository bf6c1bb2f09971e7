#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/GreedyLinks.h>
#include <vexa/mesh/detail/strips/JoinOrder.h>
#include <vexa/mesh/detail/strips/StripChoice.h>
#include <vexa/mesh/detail/strips/stars/PatchAnnealing.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;
using vexa::mesh::StripJoin;

StripPartition greedyPartition(const Indices& mesh) {
    CompactGraph graph = pairEdges(mesh);
    const StripSet strips = searchGreedily(graph, mesh);
    StripPartition partition(graph, mesh);
    linkStrips(partition, strips);
    return partition;
}

std::vector<EdgeSet> linksOf(const StripPartition& partition) {
    std::vector<EdgeSet> links;
    for (TriangleId id = 0; id < partition.count(); ++id) {
        links.push_back(partition.links(id));
    }
    return links;
}

void cutBetween(StripPartition& partition, TriangleId begin, TriangleId end) {
    for (HalfEdgeId side = halfEdgeOf(begin, 0); side < halfEdgeOf(end, 0); ++side) {
        if (placeOf(side) < 3 && partition.isLinked(side)) {
            partition.cut(side);
        }
    }
}

TEST(StripChoice, KeepsTheBetterWayOfEachPart) {
    const Indices sphere = meshes::sphere(20, 15);
    const auto half = static_cast<TriangleId>(sphere.size() / 3);
    StripPartition partition = greedyPartition(meshes::joined(sphere, meshes::shifted(sphere, 1000)));
    const std::vector<EdgeSet> whole = linksOf(partition);
    const LinkSnapshot all(partition);
    cutBetween(partition, 0, half);
    const LinkSnapshot secondHalf(partition);
    all.restore(partition);
    cutBetween(partition, half, 2 * half);
    for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
        StripChoice(join).keepBetter(partition, secondHalf);
        EXPECT_EQ(linksOf(partition), whole);
    }
}

TEST(StripChoice, KeepsTheNewerWayIfBothNeedTheSame) {
    StripPartition partition({pairEdges(meshes::tetrahedron()), meshes::tetrahedron()});
    partition.link(halfEdgeOf(0, 0));
    const LinkSnapshot earlier(partition);
    partition.cut(halfEdgeOf(0, 0));
    partition.link(halfEdgeOf(0, 1));
    StripChoice(StripJoin::Restart).keepBetter(partition, earlier);
    EXPECT_TRUE(partition.isLinked(halfEdgeOf(0, 1)));
}

TEST(StripChoice, NeverNeedsMoreIndicesThanEitherWay) {
    const Indices sphere = meshes::sphere(40, 30);
    for (const Indices& mesh :
         {sphere, meshes::damaged(sphere, 5), meshes::shuffled(sphere, 2), meshes::closedFan(50)}) {
        StripPartition partition = greedyPartition(mesh);
        WorkTeam alone;
        PatchAnnealing patches(1.5, 1, alone);
        StripChoice choice(StripJoin::Restart);
        const std::function<bool(const vexa::mesh::StripProgress&)> unobserved;
        StripMonitor monitor(unobserved);
        for (int round = 0; round < 5; ++round) {
            const auto count = [&] { return countIndices(mesh, partition, StripJoin::Restart); };
            cutLoops(partition);
            const std::uint64_t before = count();
            const LinkSnapshot earlier(partition);
            patches.run(partition, monitor, 16);
            cutLoops(partition);
            const std::uint64_t annealed = count();
            choice.keepBetter(partition, earlier);
            EXPECT_LE(count(), std::min(before, annealed)) << mesh.size() << " indices, round " << round;
        }
    }
}

} // namespace
