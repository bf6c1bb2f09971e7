#include "reference/ReferenceDecode.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

namespace {

using namespace vexa::mesh;
using meshes::Indices;
using meshes::run;

constexpr unsigned int restart = 4294967295U;

Indices joinedBy(StripJoin join, const std::vector<Indices>& strips) {
    std::vector<IndexedPrimitive> primitives;
    for (const Indices& strip : strips) {
        primitives.push_back({TRIANGLE_STRIP, strip});
    }
    return joinStrips(primitives, join);
}

Indices degenerate(const std::vector<Indices>& strips) {
    return joinedBy(StripJoin::Degenerate, strips);
}

Indices restarted(const std::vector<Indices>& strips) {
    return joinedBy(StripJoin::Restart, strips);
}

TEST(JoinStrips, GivesNothingForNoStrips) {
    EXPECT_TRUE(degenerate({}).empty());
    EXPECT_TRUE(restarted({}).empty());
}

TEST(JoinStrips, LeavesASingleStripUnchanged) {
    EXPECT_EQ(degenerate({run(5, 4)}), run(5, 4));
    EXPECT_EQ(restarted({run(5, 4)}), run(5, 4));
}

TEST(JoinStrips, RepeatsBothEndsAfterAnEvenStrip) {
    EXPECT_EQ(degenerate({{0, 1, 2, 3}, {10, 11, 12}}), (Indices{0, 1, 2, 3, 3, 10, 10, 11, 12}));
}

TEST(JoinStrips, RepeatsTheNextVertexOnceMoreAfterAnOddStrip) {
    EXPECT_EQ(degenerate({{0, 1, 2}, {10, 11, 12}}), (Indices{0, 1, 2, 2, 10, 10, 10, 11, 12}));
}

TEST(JoinStrips, SavesTheRepetitionOfACommonVertex) {
    EXPECT_EQ(degenerate({{0, 1, 2, 3}, {3, 11, 12}}), (Indices{0, 1, 2, 3, 3, 11, 12}));
    EXPECT_EQ(degenerate({{0, 1, 2}, {2, 11, 12}}), (Indices{0, 1, 2, 2, 2, 11, 12}));
}

TEST(JoinStrips, PutsRestartIndicesBetweenStrips) {
    EXPECT_EQ(restarted({{0, 1, 2}, {3, 4, 5, 6}, {7, 8, 9}}),
              (Indices{0, 1, 2, restart, 3, 4, 5, 6, restart, 7, 8, 9}));
}

TEST(JoinStrips, SkipsStripsOfFewerThanThreeIndices) {
    const std::vector<Indices> strips = {{}, {7}, {0, 1, 2, 3}, {8, 9}, {10, 11, 12}, {7, 7}};
    EXPECT_EQ(degenerate(strips), (Indices{0, 1, 2, 3, 3, 10, 10, 11, 12}));
    EXPECT_EQ(restarted(strips), (Indices{0, 1, 2, 3, restart, 10, 11, 12}));
}

TEST(JoinStrips, KeepsEveryWindingWhateverTheLengths) {
    for (std::size_t a = 3; a < 7; ++a) {
        for (std::size_t b = 3; b < 7; ++b) {
            for (const unsigned int gap : {0U, 1U}) { // whether the strips follow one another in one vertex
                const std::vector<Indices> strips = {run(0, a), run(static_cast<unsigned int>(a) - 1 + gap, b),
                                                     run(50, 5)};
                Indices expected;
                for (const Indices& strip : strips) {
                    const Indices triangles = reference::decode(TRIANGLE_STRIP, strip);
                    expected.insert(expected.end(), triangles.begin(), triangles.end());
                }
                EXPECT_EQ(reference::decode(TRIANGLE_STRIP, degenerate(strips)), expected);
                EXPECT_EQ(reference::decode(TRIANGLE_STRIP, restarted(strips)), expected);
            }
        }
    }
}

TEST(JoinStrips, KeepsTheTrianglesOfAMesh) {
    const Indices mesh = meshes::torus(9, 7);
    const std::vector<IndexedPrimitive> strips = buildPrimitives(mesh, {.iterations = 3, .allStrips = true});
    EXPECT_TRUE(sameTriangles(toTriangles(TRIANGLE_STRIP, joinStrips(strips, StripJoin::Degenerate)), mesh));
    EXPECT_TRUE(sameTriangles(toTriangles(TRIANGLE_STRIP, joinStrips(strips, StripJoin::Restart)), mesh));
}

TEST(JoinStrips, RefusesOtherPrimitiveTypes) {
    const std::vector<IndexedPrimitive> primitives = {{TRIANGLE_STRIP, {0, 1, 2}}, {TRIANGLES, {0, 1, 2}}};
    for (const StripJoin join : {StripJoin::Degenerate, StripJoin::Restart}) {
        EXPECT_EQ(messageOf([&] { joinStrips(primitives, join); }),
                  "joinStrips: primitive 1 is of type TRIANGLES, not TRIANGLE_STRIP");
        EXPECT_EQ(messageOf([&] {
                      joinStrips(std::vector<IndexedPrimitive>{{TRIANGLE_FAN, {}}}, join);
                  }),
                  "joinStrips: primitive 0 is of type TRIANGLE_FAN, not TRIANGLE_STRIP");
    }
}

} // namespace
