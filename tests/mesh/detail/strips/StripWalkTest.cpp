#include "support/Meshes.h"

#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/StripWalk.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;

class Sink {
public:
    void push(unsigned int index) { indices.push_back(index); }
    void swap(bool isSwap, unsigned int index, unsigned int newest) {
        if (isSwap) {
            indices.back() = index;
            indices.push_back(newest);
        }
    }
    Indices indices;
};

template <class Path>
std::uint32_t costOf(Path path) {
    StripCost cost;
    walkStrip(std::move(path), cost);
    return cost.total();
}

Indices linked(const Indices& mesh, std::span<const StripTriangle> strip, bool isReversed) {
    const CompactGraph graph = pairEdges(mesh);
    Sink sink;
    IndexEmitter emitter(ListCorners{mesh.data()}, sink);
    walkStrip(linkedPath(graph, strip, isReversed), emitter);
    EXPECT_EQ(costOf(linkedPath(graph, strip, isReversed)), sink.indices.size());
    return sink.indices;
}

Indices built(const Indices& mesh, const StripSet& strips) {
    Sink sink;
    IndexEmitter emitter(EdgeCorners{}, sink);
    walkStrip(BuiltPath(mesh.data(), strips[0].triangles), emitter);
    EXPECT_EQ(costOf(BuiltPath(mesh.data(), strips[0].triangles)), sink.indices.size());
    return sink.indices;
}

StripSet stripOf(const std::vector<StripTriangle>& triangles) {
    StripSetBuilder builder(triangles.size());
    for (const StripTriangle triangle : triangles) {
        builder.add(triangle);
    }
    builder.endStrip(false, false);
    return builder.finish();
}

// (0, 1, 2), then over (1, 2) to 3 and over (2, 3) to 4.
const Indices zigzag = {0, 1, 2, 2, 1, 3, 2, 3, 4};
// (0, 1, 2), then over (1, 2) to 3 and over (1, 3) to 4: a turn in the direction of the one before.
const Indices turning = {0, 1, 2, 2, 1, 3, 3, 1, 4};

TEST(WalkStrip, WritesOneIndexPerTriangleWhileTurnsAlternate) {
    const StripSet strip = stripOf({halfEdgeOf(0, 1), halfEdgeOf(1, leavesBefore), halfEdgeOf(2, 0)});
    EXPECT_EQ(built(zigzag, strip), (Indices{0, 1, 2, 3, 4}));
    EXPECT_EQ(linked(zigzag, strip[0].triangles, false), (Indices{0, 1, 2, 3, 4}));
}

TEST(WalkStrip, RepeatsAVertexToSwap) {
    const StripSet strip = stripOf({halfEdgeOf(0, 1), halfEdgeOf(1, leavesAfter), halfEdgeOf(2, 0)});
    EXPECT_EQ(built(turning, strip), (Indices{0, 1, 2, 1, 3, 4}));
    EXPECT_EQ(linked(turning, strip[0].triangles, false), (Indices{0, 1, 2, 1, 3, 4}));
}

TEST(WalkStrip, FollowsLinksBackwards) {
    const StripSet strip = stripOf({halfEdgeOf(0, 1), halfEdgeOf(1, 0), halfEdgeOf(2, 0)});
    EXPECT_EQ(linked(zigzag, strip[0].triangles, true), (Indices{4, 2, 3, 2, 1, 0}));
}

TEST(WalkStrip, CountsASwapWhereTrianglesShareNoEdge) {
    const Indices apart = meshes::scattered(3);
    const std::vector<StripTriangle> strip = {halfEdgeOf(0, 1), halfEdgeOf(1, 0), halfEdgeOf(2, 0)};
    EXPECT_EQ(costOf(linkedPath(pairEdges(apart), strip, false)), 6u);
}

} // namespace
