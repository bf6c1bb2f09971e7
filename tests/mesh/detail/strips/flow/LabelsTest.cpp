#include "mesh/detail/strips/flow/Flow.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using namespace vexa::mesh::detail;
using flow::Flow;

TEST(LinkByLabels, LinksNeighboursOfWhichNeitherLeavesTheirEdge) {
    for (const auto& named : meshes::suite()) {
        Flow mesh(named.indices);
        mesh.cancel();
        mesh.link();
        const StripPartition& partition = mesh.partition;
        for (TriangleId id = 0; id < partition.count(); ++id) {
            for (std::uint32_t place = 0; place < 3 && !partition.isCollapsed(id); ++place) {
                const HalfEdgeId across = partition[id].twin[place];
                const bool wanted = across != partition.border() && partition[id].label != place &&
                                    partition[triangleOf(across)].label != placeOf(across);
                EXPECT_EQ(partition.isLinked(halfEdgeOf(id, place)), wanted) << named.name << ", triangle " << id;
            }
        }
    }
}

TEST(LinkByLabels, FindsTheStripOfAStrip) {
    Flow mesh(meshes::strip(30));
    mesh.cancel();
    mesh.link();
    EXPECT_EQ(countExtraIndices(mesh.partition), 3U);
}

TEST(LabelByLinks, LabelsAnEdgeThatIsNotLinked) {
    Flow mesh(meshes::sphere(8, 6));
    mesh.cancel();
    mesh.link();
    labelByLinks(mesh.partition);
    for (TriangleId id = 0; id < mesh.partition.count(); ++id) {
        EXPECT_FALSE(mesh.partition.isLinked(halfEdgeOf(id, mesh.partition[id].label)));
    }
}

} // namespace
