#include "reference/ReferenceDecode.h"
#include "support/Meshes.h"

#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using meshes::Indices;

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

/// A strip of consecutive vertices.
Indices run(unsigned int first, std::size_t count) {
    Indices strip(count);
    for (unsigned int& vertex : strip) {
        vertex = first++;
    }
    return strip;
}

template <class Call>
std::string messageOf(Call call) {
    try {
        call();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "nothing thrown";
}

TEST(JoinStrips, OfNothingIsNothing) {
    EXPECT_TRUE(degenerate({}).empty());
    EXPECT_TRUE(restarted({}).empty());
}

TEST(JoinStrips, LeavesAloneWhatIsAlone) {
    EXPECT_EQ(degenerate({run(5, 4)}), run(5, 4));
    EXPECT_EQ(restarted({run(5, 4)}), run(5, 4));
}

TEST(JoinStrips, RepeatsBothEndsBehindAnEvenStrip) {
    EXPECT_EQ(degenerate({{0, 1, 2, 3}, {10, 11, 12}}), (Indices{0, 1, 2, 3, 3, 10, 10, 11, 12}));
}

TEST(JoinStrips, RepeatsTheNextOnceMoreBehindAnOddStrip) {
    EXPECT_EQ(degenerate({{0, 1, 2}, {10, 11, 12}}), (Indices{0, 1, 2, 2, 10, 10, 10, 11, 12}));
}

TEST(JoinStrips, RepeatsNothingThatIsThereAlready) {
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

TEST(JoinStrips, RefusesWhatIsNoStrip) {
    const std::vector<IndexedPrimitive> primitives = {{TRIANGLE_STRIP, {0, 1, 2}}, {TRIANGLES, {0, 1, 2}}};
    for (const StripJoin join : {StripJoin::Degenerate, StripJoin::Restart}) {
        EXPECT_EQ(messageOf([&] { joinStrips(primitives, join); }),
                  "joinStrips: primitive 1 is of type TRIANGLES, no TRIANGLE_STRIP");
        EXPECT_EQ(messageOf([&] {
                      joinStrips(std::vector<IndexedPrimitive>{{TRIANGLE_FAN, {}}}, join);
                  }),
                  "joinStrips: primitive 0 is of type TRIANGLE_FAN, no TRIANGLE_STRIP");
    }
}

TEST(ToTriangles, ReadsTriangleLists) {
    EXPECT_EQ(toTriangles(TRIANGLES, Indices{5, 3, 4, 0, 1, 2}), (Indices{5, 3, 4, 0, 1, 2}));
}

TEST(ToTriangles, ReadsOddTrianglesOfAStripReversed) {
    EXPECT_EQ(toTriangles(TRIANGLE_STRIP, run(0, 6)), (Indices{0, 1, 2, 1, 3, 2, 2, 3, 4, 3, 5, 4}));
}

TEST(ToTriangles, ReadsFansFromTheirFirstVertex) {
    EXPECT_EQ(toTriangles(TRIANGLE_FAN, Indices{9, 1, 2, 3, 1}), (Indices{9, 1, 2, 9, 2, 3, 9, 3, 1}));
}

TEST(ToTriangles, DropsTrianglesWithEqualCorners) {
    EXPECT_EQ(toTriangles(TRIANGLES, Indices{1, 1, 2, 2, 1, 1, 1, 2, 1, 7, 7, 7, 0, 1, 2}), (Indices{0, 1, 2}));
    EXPECT_EQ(toTriangles(TRIANGLE_STRIP, Indices{0, 1, 2, 1, 3, 4}), (Indices{0, 1, 2, 2, 1, 3, 1, 4, 3}));
    EXPECT_EQ(toTriangles(TRIANGLE_FAN, Indices{0, 1, 1, 2, 0, 3, 4}), (Indices{0, 1, 2, 0, 3, 4}));
}

TEST(ToTriangles, FewerThanThreeIndicesAreNoTriangle) {
    for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN}) {
        for (std::size_t count = 0; count < 3; ++count) {
            EXPECT_TRUE(toTriangles(type, run(0, count)).empty());
        }
    }
}

TEST(ToTriangles, DropsAnUnfinishedTriangle) {
    EXPECT_EQ(toTriangles(TRIANGLES, run(0, 4)), run(0, 3));
    EXPECT_EQ(toTriangles(TRIANGLES, run(0, 5)), run(0, 3));
}

TEST(ToTriangles, BeginsAnewBehindARestartIndex) {
    EXPECT_EQ(toTriangles(TRIANGLE_STRIP, Indices{0, 1, 2, restart, 3, 4, 5, 6}), (Indices{0, 1, 2, 3, 4, 5, 4, 6, 5}));
    EXPECT_EQ(toTriangles(TRIANGLE_FAN, Indices{0, 1, 2, restart, 3, 4, 5, 6}), (Indices{0, 1, 2, 3, 4, 5, 3, 5, 6}));
    EXPECT_EQ(toTriangles(TRIANGLES, Indices{0, 1, 2, 8, restart, 3, 4, 5}), (Indices{0, 1, 2, 3, 4, 5}));
}

TEST(ToTriangles, TakesRestartIndicesAtTheEndsAndInARow) {
    EXPECT_EQ(toTriangles(TRIANGLE_STRIP, Indices{restart, 0, 1, 2, restart, restart, 8, 9, restart, 3, 4, 5, restart}),
              (Indices{0, 1, 2, 3, 4, 5}));
    EXPECT_TRUE(toTriangles(TRIANGLE_FAN, Indices{restart}).empty());
}

TEST(ToTriangles, ReadsWhatThePlainReferenceReads) {
    meshes::Random random(3);
    for (int round = 0; round < 300; ++round) {
        Indices indices(random.below(30));
        for (unsigned int& index : indices) {
            index = random.chance(10) ? restart : random.below(6);
        }
        for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN}) {
            EXPECT_EQ(reference::canonical(toTriangles(type, indices)),
                      reference::canonical(reference::decode(type, indices)));
        }
    }
}

TEST(ToTriangles, RefusesOtherTypes) {
    EXPECT_EQ(messageOf([] { toTriangles(LINES, {}); }),
              "toTriangles: LINES holds no triangles (TRIANGLES, TRIANGLE_STRIP and TRIANGLE_FAN do)");
    for (const int type : {0, 1, 2, 3, 7, -1}) {
        EXPECT_THROW(toTriangles(static_cast<PrimitiveType>(type), Indices{0, 1, 2}), std::invalid_argument);
    }
}

TEST(SameTriangles, LooksNeitherAtTheOrderNorAtTheFirstCorner) {
    EXPECT_TRUE(sameTriangles(Indices{}, Indices{}));
    EXPECT_TRUE(sameTriangles(Indices{0, 1, 2, 3, 4, 5}, Indices{4, 5, 3, 2, 0, 1}));
    const Indices mesh = meshes::torus(9, 7);
    EXPECT_TRUE(sameTriangles(mesh, meshes::turned(meshes::shuffled(mesh, 1), 2)));
}

TEST(SameTriangles, LooksAtTheWinding) {
    EXPECT_FALSE(sameTriangles(Indices{0, 1, 2}, Indices{0, 2, 1}));
    EXPECT_FALSE(sameTriangles(Indices{0, 1, 2, 0, 2, 1}, Indices{0, 1, 2, 0, 1, 2}));
}

TEST(SameTriangles, LooksAtHowOftenEachStands) {
    EXPECT_FALSE(sameTriangles(Indices{0, 1, 2, 0, 1, 2}, Indices{0, 1, 2}));
    EXPECT_FALSE(sameTriangles(Indices{0, 1, 2, 0, 1, 2, 3, 4, 5}, Indices{0, 1, 2, 3, 4, 5, 3, 4, 5}));
    EXPECT_TRUE(sameTriangles(Indices{0, 1, 2, 1, 2, 0}, Indices{2, 0, 1, 0, 1, 2}));
}

TEST(SameTriangles, ComparesTrianglesWithEqualCornersToo) {
    EXPECT_TRUE(sameTriangles(Indices{3, 3, 5}, Indices{3, 5, 3}));
    EXPECT_TRUE(sameTriangles(Indices{3, 3, 5}, Indices{5, 3, 3}));
    EXPECT_FALSE(sameTriangles(Indices{3, 3, 5}, Indices{3, 5, 5}));
}

TEST(SameTriangles, IgnoresAnUnfinishedTriangle) {
    EXPECT_TRUE(sameTriangles(Indices{0, 1, 2, 7}, Indices{0, 1, 2, 8, 9}));
    EXPECT_TRUE(sameTriangles(Indices{7}, Indices{}));
}

} // namespace
