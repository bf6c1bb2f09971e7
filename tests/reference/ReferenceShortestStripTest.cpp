#include "reference/ReferenceShortestStrip.h"

#include "reference/ReferenceDecode.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace {

using namespace reference;

/// Index counts for restart, degenerate and any joins.
std::vector<std::uint64_t> countsOf(const Indices& triangles) {
    return {minIndexCount(triangles, Joins::Restart), minIndexCount(triangles, Joins::Degenerate),
            minIndexCount(triangles, Joins::Any)};
}

using Counts = std::vector<std::uint64_t>;

TEST(ReferenceShortestStrip, NeedsNoIndicesForNothing) {
    EXPECT_EQ(countsOf({}), (Counts{0, 0, 0}));
    EXPECT_EQ(countsOf({3, 3, 4}), (Counts{0, 0, 0}));
}

TEST(ReferenceShortestStrip, AddsOneIndexATriangleAlongAStrip) {
    EXPECT_EQ(countsOf(meshes::strip(1)), (Counts{3, 3, 3}));
    EXPECT_EQ(countsOf(meshes::strip(7)), (Counts{9, 9, 9}));
    EXPECT_EQ(countsOf(meshes::tetrahedron()), (Counts{6, 6, 6}));
}

TEST(ReferenceShortestStrip, PaysASwapForEveryTurnAroundTheSameVertex) {
    // 1 2 0 3 4 goes on around vertex 0 by repeating it: 1 2 0 3 0 4 0 5.
    EXPECT_EQ(countsOf(meshes::openFan(3)), (Counts{5, 5, 5}));
    EXPECT_EQ(countsOf(meshes::openFan(5)), (Counts{9, 9, 9}));
}

TEST(ReferenceShortestStrip, PaysARestartOrTwoRepeatedVerticesBetweenStripsApart) {
    EXPECT_EQ(countsOf(meshes::scattered(2)), (Counts{7, 8, 7}));
    EXPECT_EQ(countsOf(meshes::scattered(4)), (Counts{15, 18, 15}));
}

TEST(ReferenceShortestStrip, PaysNothingBetweenStripsWhereOneBeginsAtTheLastVertexOfTheOther) {
    EXPECT_EQ(countsOf(meshes::chain(3)), (Counts{11, 9, 9}));
}

TEST(ReferenceShortestStrip, KeepsTheWinding) {
    // The edge from 1 to 2 is the same way round in both.
    EXPECT_EQ(countsOf({0, 1, 2, 1, 2, 3}), (Counts{7, 6, 6}));
    EXPECT_EQ(countsOf(meshes::doubledSameWinding()), (Counts{7, 6, 6}));
    EXPECT_EQ(countsOf(meshes::doubledOppositeWinding()), (Counts{4, 4, 4}));
}

TEST(ReferenceShortestStrip, DrawsTheTrianglesThatItWasGiven) {
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        const Indices triangles = meshes::soup(4 + seed % 4, 6, seed);
        for (const Joins joins : {Joins::Restart, Joins::Degenerate, Joins::Any}) {
            const Indices strip = findShortestStrip(triangles, joins);
            EXPECT_EQ(canonical(decode(stripCode, strip)), canonical(withoutCollapsed(triangles))) << "seed " << seed;
            EXPECT_TRUE(joins != Joins::Degenerate || !std::count(strip.begin(), strip.end(), restartIndex));
        }
    }
}

TEST(ReferenceShortestStrip, NeverNeedsMoreWithMoreJoinsToChooseFrom) {
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        const Counts counts = countsOf(meshes::soup(7, 6, seed));
        EXPECT_LE(counts[2], std::min(counts[0], counts[1])) << "seed " << seed;
    }
}

TEST(ReferenceShortestStrip, RefusesMoreTrianglesThanItCanTry) {
    EXPECT_THROW(minIndexCount(meshes::strip(17), Joins::Restart), std::invalid_argument);
}

} // namespace
