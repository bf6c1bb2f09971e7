#include "mesh/detail/strips/flow/Flow.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace {

using namespace vexa::mesh::detail;
using flow::Flow;
using meshes::Indices;

TEST(CancelCharges, LeavesNoChargeOnClosedSurfaces) {
    for (const Indices& mesh : {meshes::octahedron(), meshes::icosahedron(), meshes::sphere(7, 9), meshes::torus(5, 4),
                                meshes::shuffled(meshes::sphere(20, 12), 3)}) {
        Flow flow(mesh);
        flow.cancel();
        for (FanId fan = 0; fan < flow.fans.count(); ++fan) {
            EXPECT_EQ(flow.fans.charge(fan), 0U);
        }
    }
}

TEST(CancelCharges, TheFlowAccountsForEveryCharge) {
    for (const auto& mesh : meshes::suite()) {
        Flow flow(mesh.indices);
        std::vector<std::uint32_t> before;
        for (FanId fan = 0; fan < flow.fans.count(); ++fan) {
            before.push_back(flow.fans.charge(fan));
        }
        flow.cancel();
        for (FanId fan = 0; fan < flow.fans.count(); ++fan) {
            EXPECT_EQ((before[fan] + flow.inflow(fan)) % 3, flow.fans.charge(fan)) << mesh.name << ", fan " << fan;
        }
    }
}

TEST(CancelCharges, StoppedEarlyLeavesAValidFlow) {
    const std::function<bool(const vexa::mesh::StripProgress&)> stop = [](const vexa::mesh::StripProgress&) {
        return false;
    };
    Flow flow(meshes::sphere(20, 12));
    StripMonitor stopped(stop);
    cancelCharges(flow.partition, flow.fans, stopped);
    flow.link();
    for (TriangleId id = 0; id < flow.partition.count(); ++id) {
        EXPECT_LE(flow.partition.linkCount(id), 2U);
    }
}

} // namespace
