#include "mesh/detail/strips/flow/Flow.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

namespace {

using namespace vexa::mesh::detail;
using flow::Flow;

TEST(FanGraph, HasAFanForEveryVertexOfASurface) {
    EXPECT_EQ(Flow(meshes::octahedron()).fans.count(), 6U);
    EXPECT_EQ(Flow(meshes::grid(3, 2)).fans.count(), 12U);
}

TEST(FanGraph, HasAFanForEachSurfaceThatTouchesInAVertex) {
    // The centre, twice, and the rims.
    EXPECT_EQ(Flow(meshes::pinchedVertex(4, 5)).fans.count(), 2U + 4 + 5);
}

TEST(FanGraph, ChargesAreWhatIsMissingToAMultipleOfThree) {
    const Flow octahedron(meshes::octahedron());
    const Flow icosahedron(meshes::icosahedron());
    const Flow tetrahedron(meshes::tetrahedron());
    EXPECT_EQ(octahedron.fans.charge(0), 2U);
    EXPECT_EQ(icosahedron.fans.charge(0), 1U);
    EXPECT_EQ(tetrahedron.fans.charge(0), 0U);
    EXPECT_EQ(icosahedron.fans.chargedCount(), 12U);
    EXPECT_EQ(tetrahedron.fans.chargedCount(), 0U);
}

TEST(FanGraph, AnOpenFanHasOneEdgeMoreThanTriangles) {
    const Flow single(meshes::singleTriangle());
    ASSERT_EQ(single.fans.count(), 3U);
    EXPECT_EQ(single.fans.neighbours(0).size(), 2U);
}

} // namespace
