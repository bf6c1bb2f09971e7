#include "mesh/detail/strips/flow/Flow.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace {

using namespace vexa::mesh::detail;
using flow::Flow;
using meshes::Indices;

std::vector<std::uint32_t> chargesOf(const FanGraph& fans) {
    std::vector<std::uint32_t> charges;
    for (FanId fan = 0; fan < fans.count(); ++fan) {
        charges.push_back(fans.charge(fan));
    }
    return charges;
}

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
        const std::vector<std::uint32_t> before = chargesOf(flow.fans);
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

TEST(CancelCharges, StoppedOnTheWayBetweenDistantChargesLeavesAValidFlow) {
    // Only the corners are charged.
    const Indices mesh = meshes::grid(300, 300);
    unsigned calls = 0;
    unsigned maxCalls = ~0U;
    const std::function<bool(const vexa::mesh::StripProgress&)> goesOn = [&](const vexa::mesh::StripProgress&) {
        return ++calls < maxCalls;
    };
    Flow whole(mesh);
    const std::vector<std::uint32_t> before = chargesOf(whole.fans);
    StripMonitor watched(goesOn, nullptr, {});
    cancelCharges(whole.partition, whole.fans, watched);
    ASSERT_EQ(chargesOf(whole.fans), std::vector<std::uint32_t>(before.size()));
    maxCalls = std::exchange(calls, 0);
    Flow flow(mesh);
    StripMonitor stopped(goesOn, nullptr, {});
    cancelCharges(flow.partition, flow.fans, stopped);
    EXPECT_TRUE(stopped.isStopped());
    EXPECT_NE(chargesOf(flow.fans), chargesOf(whole.fans));
    for (FanId fan = 0; fan < flow.fans.count(); ++fan) {
        ASSERT_EQ((before[fan] + flow.inflow(fan)) % 3, flow.fans.charge(fan)) << fan;
    }
}

} // namespace
