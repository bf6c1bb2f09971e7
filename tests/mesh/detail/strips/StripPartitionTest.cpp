#include "support/Meshes.h"

#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/LargeVector.h>
#include <vexa/mesh/detail/strips/StripPartition.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <string>

namespace {

using namespace vexa::mesh::detail;

void expectGraphOf(const StripPartition& partition, const CompactGraph& graph, const std::string& name) {
    const CompactGraph made = graphOf(partition);
    ASSERT_EQ(made.count(), graph.count()) << name;
    for (TriangleId triangle = 0; triangle < graph.count(); ++triangle) {
        for (std::uint32_t place = 0; place < 3; ++place) {
            ASSERT_EQ(made[triangle].twin[place], graph[triangle].twin[place]) << name << ", triangle " << triangle;
        }
        ASSERT_EQ(made[triangle].state, graph[triangle].state) << name << ", triangle " << triangle;
        ASSERT_EQ(made[triangle].isIrregular, graph[triangle].isIrregular) << name << ", triangle " << triangle;
    }
}

TEST(StripPartition, LeadsBackToItsGraph) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const CompactGraph graph = pairEdges(mesh.indices);
        expectGraphOf(StripPartition(graph, mesh.indices), graph, mesh.name);
        LargeVector<TriangleId> reversed(graph.count());
        std::iota(reversed.rbegin(), reversed.rend(), TriangleId{0});
        expectGraphOf(StripPartition(graph, mesh.indices, reversed), graph, mesh.name + ", renumbered");
    }
}

} // namespace
