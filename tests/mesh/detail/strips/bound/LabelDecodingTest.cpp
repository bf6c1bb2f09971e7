#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/StripBound.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/bound/CostTable.h>
#include <vexa/mesh/detail/strips/bound/LabelDecoding.h>

#include <functional>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;
using vexa::mesh::StripProgress;

using Observer = std::function<bool(const StripProgress&)>;

constexpr std::int16_t end = 3 * costUnit / 2;

StripPartition partitionOf(const Indices& mesh) {
    return {pairEdges(mesh), mesh};
}

bool label(StripPartition& partition, const Observer& observer = {}) {
    StripMonitor monitor(observer);
    WorkTeam alone;
    return labelBySplittingCosts(partition, PatchGroups(partition, 4096, alone, {}), end, 16, alone, monitor);
}

/// Cost of the labels in half indices: 3 for an end, 2 for a swap.
std::uint64_t costOf(const StripPartition& partition) {
    std::uint64_t twice = 0;
    for (TriangleId id = 0; id < partition.count(); ++id) {
        for (std::uint32_t place = 0; place < 3 && !partition.isCollapsed(id); ++place) {
            const HalfEdgeId across = partition[id].twin[place];
            const std::uint32_t here = (partition[id].label + 3 - place) % 3;
            if (across == partition.border()) {
                twice += here == 0 ? 0 : 6;
                continue;
            }
            const std::uint32_t there = (partition[triangleOf(across)].label + 3 - placeOf(across)) % 3;
            twice += here == there ? 0 : here == 0 || there == 0 ? 3 : 2;
        }
    }
    return twice / 2;
}

TEST(LabelBySplittingCosts, FindsTheLabelsOfAStrip) {
    StripPartition partition = partitionOf(meshes::strip(30));
    EXPECT_TRUE(label(partition));
    EXPECT_EQ(costOf(partition), 2u * 3u);
}

TEST(LabelBySplittingCosts, CostsLittleMoreThanTheBound) {
    const Indices mesh = meshes::sphere(40, 30);
    StripPartition partition = partitionOf(mesh);
    EXPECT_TRUE(label(partition));
    const std::uint64_t bound = vexa::mesh::minIndexCount(mesh, vexa::mesh::StripJoin::Restart) + 1 - mesh.size() / 3;
    EXPECT_GE(costOf(partition), 2 * bound - 1);
    EXPECT_LE(costOf(partition), 3 * bound);
}

TEST(LabelBySplittingCosts, LabelsEveryTriangleOfAnyMesh) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        StripPartition partition = partitionOf(mesh.indices);
        EXPECT_TRUE(label(partition));
        for (TriangleId id = 0; id < partition.count(); ++id) {
            EXPECT_LT(partition[id].label, 3) << mesh.name;
        }
    }
}

TEST(LabelBySplittingCosts, LeavesTheLabelsWhenStopped) {
    StripPartition partition = partitionOf(meshes::grid(9, 9));
    partition[5].label = 2;
    EXPECT_FALSE(label(partition, [](const StripProgress&) { return false; }));
    EXPECT_EQ(partition[5].label, 2);
}

} // namespace
