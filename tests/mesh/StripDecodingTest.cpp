#include "reference/ReferenceDecode.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <utility>

namespace {

using namespace vexa::mesh;
using meshes::Indices;
using meshes::run;

constexpr unsigned int restart = 4294967295U;

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

TEST(ToTriangles, GivesNothingForFewerThanThreeIndices) {
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

TEST(ToTriangles, StartsOverAfterARestartIndex) {
    EXPECT_EQ(toTriangles(TRIANGLE_STRIP, Indices{0, 1, 2, restart, 3, 4, 5, 6}), (Indices{0, 1, 2, 3, 4, 5, 4, 6, 5}));
    EXPECT_EQ(toTriangles(TRIANGLE_FAN, Indices{0, 1, 2, restart, 3, 4, 5, 6}), (Indices{0, 1, 2, 3, 4, 5, 3, 5, 6}));
    EXPECT_EQ(toTriangles(TRIANGLES, Indices{0, 1, 2, 8, restart, 3, 4, 5}), (Indices{0, 1, 2, 3, 4, 5}));
}

TEST(ToTriangles, AcceptsRestartIndicesAtTheEndsAndInARow) {
    EXPECT_EQ(toTriangles(TRIANGLE_STRIP, Indices{restart, 0, 1, 2, restart, restart, 8, 9, restart, 3, 4, 5, restart}),
              (Indices{0, 1, 2, 3, 4, 5}));
    EXPECT_TRUE(toTriangles(TRIANGLE_FAN, Indices{restart}).empty());
}

TEST(ToTriangles, MatchesThePlainReference) {
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
              "toTriangles: LINES does not contain triangles; use TRIANGLES, TRIANGLE_STRIP or TRIANGLE_FAN");
    for (const int type : {0, 1, 2, 3, 7, -1}) {
        EXPECT_THROW(toTriangles(static_cast<PrimitiveType>(type), Indices{0, 1, 2}), std::invalid_argument);
    }
}

TEST(SameTriangles, IgnoresTheOrderAndTheFirstCorner) {
    EXPECT_TRUE(sameTriangles(Indices{}, Indices{}));
    EXPECT_TRUE(sameTriangles(Indices{0, 1, 2, 3, 4, 5}, Indices{4, 5, 3, 2, 0, 1}));
    const Indices mesh = meshes::torus(9, 7);
    EXPECT_TRUE(sameTriangles(mesh, meshes::turned(meshes::shuffled(mesh, 1), 2)));
}

TEST(SameTriangles, ComparesTheWinding) {
    EXPECT_FALSE(sameTriangles(Indices{0, 1, 2}, Indices{0, 2, 1}));
    EXPECT_FALSE(sameTriangles(Indices{0, 1, 2, 0, 2, 1}, Indices{0, 1, 2, 0, 1, 2}));
}

TEST(SameTriangles, ComparesHowOftenEachOccurs) {
    EXPECT_FALSE(sameTriangles(Indices{0, 1, 2, 0, 1, 2}, Indices{0, 1, 2}));
    EXPECT_FALSE(sameTriangles(Indices{0, 1, 2, 0, 1, 2, 3, 4, 5}, Indices{0, 1, 2, 3, 4, 5, 3, 4, 5}));
    EXPECT_TRUE(sameTriangles(Indices{0, 1, 2, 1, 2, 0}, Indices{2, 0, 1, 0, 1, 2}));
}

TEST(SameTriangles, ComparesTrianglesWithEqualCornersToo) {
    EXPECT_TRUE(sameTriangles(Indices{3, 3, 5}, Indices{3, 5, 3}));
    EXPECT_TRUE(sameTriangles(Indices{3, 3, 5}, Indices{5, 3, 3}));
    EXPECT_FALSE(sameTriangles(Indices{3, 3, 5}, Indices{3, 5, 5}));
}

TEST(SameTriangles, NoticesEveryTriangleThatIsChangedLostDoubledOrFlipped) {
    const Indices mesh = meshes::torus(9, 7);
    for (std::size_t i = 0; i < mesh.size(); i += 3) {
        for (std::size_t corner = 0; corner < 3; ++corner) {
            Indices changed = mesh;
            changed[i + corner] ^= 1U << i % 32;
            EXPECT_FALSE(sameTriangles(mesh, changed)) << i + corner;
        }
        Indices flipped = mesh;
        std::swap(flipped[i], flipped[i + 1]);
        EXPECT_FALSE(sameTriangles(mesh, flipped)) << i;
        Indices lost = mesh;
        lost.erase(lost.begin() + static_cast<std::ptrdiff_t>(i), lost.begin() + static_cast<std::ptrdiff_t>(i + 3));
        EXPECT_FALSE(sameTriangles(mesh, lost)) << i;
        Indices doubled = mesh;
        const std::size_t next = (i + 3) % mesh.size();
        std::copy_n(mesh.begin() + static_cast<std::ptrdiff_t>(i), 3,
                    doubled.begin() + static_cast<std::ptrdiff_t>(next));
        EXPECT_FALSE(sameTriangles(mesh, doubled)) << i;
    }
}

TEST(SameTriangles, NoticesCornersThatTrianglesExchange) {
    // The corners, and the sums of corners, are the same on both sides.
    for (unsigned int i = 2; i < 200; ++i) {
        for (unsigned int j = i + 1; j < 200; ++j) {
            EXPECT_FALSE(sameTriangles(Indices{0, 1, i, 0, 2, j + 1}, Indices{0, 1, j + 1, 0, 2, i})) << i << ' ' << j;
            EXPECT_FALSE(sameTriangles(Indices{0, 1, i, 0, 1, j + 1}, Indices{0, 1, i + 1, 0, 1, j})) << i << ' ' << j;
        }
    }
}

TEST(SameTriangles, TellsAllTrianglesOfAFewVerticesApart) {
    std::set<std::uint64_t> hashes[2];
    std::size_t triangles = 0;
    for (unsigned int a = 0; a < 40; ++a) {
        for (unsigned int b = a; b < 40; ++b) {
            for (unsigned int c = a; c < 40; ++c) {
                if (a != b && b != c && c != a) {
                    const TriangleSum sum = sumTriangles(TRIANGLES, Indices{a, b, c});
                    hashes[0].insert(sum.hashes[0]);
                    hashes[1].insert(sum.hashes[1]);
                    ++triangles;
                }
            }
        }
    }
    EXPECT_EQ(triangles, 40U * 39 * 38 / 3);
    EXPECT_EQ(hashes[0].size(), triangles);
    EXPECT_EQ(hashes[1].size(), triangles);
}

TEST(SumTriangles, IsThatOfTheTrianglesOfStripsAndFans) {
    for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN}) {
        const Indices indices{0, 1, 2, 3, 3, 4, 5, restart, 7, 8, restart, 9, 10, 11, 12, 13, 14, 15};
        EXPECT_EQ(sumTriangles(type, indices), sumTriangles(TRIANGLES, toTriangles(type, indices)));
        EXPECT_EQ(sumTriangles(type, indices).count, toTriangles(type, indices).size() / 3);
    }
}

TEST(SumTriangles, AddsUpOverParts) {
    const Indices mesh = meshes::torus(5, 4);
    TriangleSum sum = sumTriangles(TRIANGLES, std::span(mesh).first(30));
    sum += sumTriangles(TRIANGLES, std::span(mesh).subspan(30));
    EXPECT_EQ(sum, sumTriangles(TRIANGLES, mesh));
}

TEST(SumTriangles, RefusesPrimitivesWithoutTriangles) {
    EXPECT_EQ(messageOf([] {
                  sumTriangles(LINES, Indices{0, 1});
              }),
              "sumTriangles: LINES does not contain triangles; use TRIANGLES, TRIANGLE_STRIP or TRIANGLE_FAN");
}

TEST(SameTriangles, IgnoresAnUnfinishedTriangle) {
    EXPECT_TRUE(sameTriangles(Indices{0, 1, 2, 7}, Indices{0, 1, 2, 8, 9}));
    EXPECT_TRUE(sameTriangles(Indices{7}, Indices{}));
}

} // namespace
