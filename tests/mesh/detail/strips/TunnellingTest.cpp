#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/GreedyLinks.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/Tunnelling.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;
using vexa::mesh::StripProgress;

constexpr std::uint64_t noLimit = std::numeric_limits<std::uint64_t>::max();
constexpr int restartCost = 3;

StripPartition cutGreedily(const Indices& mesh) {
    CompactGraph graph = pairEdges(mesh);
    const StripSet strips = searchGreedily(graph, mesh);
    StripPartition partition(graph, mesh);
    linkStrips(partition, strips);
    return partition;
}

std::uint64_t tunnel(StripPartition& partition, TunnelLimits limits) {
    const std::function<bool(const StripProgress&)> nobody;
    StripMonitor monitor(nobody);
    return vexa::mesh::detail::tunnel(partition, limits, restartCost, monitor);
}

bool hasNeighbourTwice(const StripPartition& partition) {
    for (TriangleId id = 0; id < partition.count(); ++id) {
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId across = partition[id].twin[place];
            if (across != partition.border() && triangleOf(across) == triangleOf(partition[id].twin[(place + 1) % 3])) {
                return true;
            }
        }
    }
    return false;
}

TEST(Tunnel, ReturnsHowManyIndicesItSaved) {
    for (const auto& mesh : meshes::suite()) {
        StripPartition partition = cutGreedily(mesh.indices);
        if (hasNeighbourTwice(partition)) {
            continue;
        }
        for (const int depth : {1, 2}) {
            const std::uint64_t before = countExtraIndices(partition);
            const std::uint64_t saved = tunnel(partition, {depth, 200, noLimit});
            EXPECT_EQ(countExtraIndices(partition), before - saved) << mesh.name << ", depth " << depth;
        }
    }
}

TEST(Tunnel, EndsAfterFewStepsWithWhatItHasSaved) {
    const Indices mesh = meshes::shuffled(meshes::sphere(40, 30), 1);
    for (const int steps : {1, 2, 3, 5, 8}) {
        StripPartition partition = cutGreedily(mesh);
        const std::uint64_t before = countExtraIndices(partition);
        const std::uint64_t saved = tunnel(partition, {2, steps, noLimit});
        EXPECT_EQ(countExtraIndices(partition), before - saved) << steps;
    }
}

TEST(Tunnel, ClosesNoLoops) {
    for (const auto& mesh : meshes::suite()) {
        StripPartition partition = cutGreedily(mesh.indices);
        tunnel(partition, {2, 200, noLimit});
        const std::uint64_t open = countExtraIndices(partition);
        cutLoops(partition);
        EXPECT_EQ(countExtraIndices(partition), open) << mesh.name;
    }
}

TEST(Tunnel, EndsWhenItHasSavedEnough) {
    const Indices mesh = meshes::shuffled(meshes::sphere(80, 60), 1);
    StripPartition whole = cutGreedily(mesh);
    StripPartition part = cutGreedily(mesh);
    const std::uint64_t most = tunnel(whole, {1, 100, noLimit});
    const std::uint64_t enough = most / 2;
    const std::uint64_t saved = tunnel(part, {1, 100, enough});
    EXPECT_GE(saved, enough);
    EXPECT_LE(saved, enough + maxSavingPerTriangle);
}

} // namespace
