#include "support/Buffers.h"
#include "support/Foreign.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Triangles.h>
#include <vexa/mesh/Views.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <vector>
#include <version>

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::test::foreignCopy;
using vexa::test::indexBuffer;
using vexa::test::zeros;
using Indices = std::vector<unsigned int>;
using Triangle = std::array<unsigned int, 3>;

static_assert(std::forward_iterator<TriangleRange::Iterator>);
static_assert(std::ranges::forward_range<TriangleRange> && std::ranges::borrowed_range<TriangleRange> &&
              std::ranges::view<TriangleRange>);

Indices walked(const TriangleRange& range) {
    Indices triangles;
    for (const auto [a, b, c] : range) {
        triangles.insert(triangles.end(), {a, b, c});
    }
    return triangles;
}

/// Random indices below a limit, among them restart indices and equal neighbours.
Indices randomIndices(std::uint32_t seed, unsigned int limit, unsigned int restartPercent) {
    meshes::Random random(seed);
    Indices indices(random.below(400));
    for (unsigned int& index : indices) {
        index = random.chance(restartPercent) ? restartIndex : random.below(limit);
    }
    return indices;
}

template <typename Index>
std::vector<Index> narrowed(const Indices& indices) {
    std::vector<Index> result;
    for (const unsigned int index : indices) {
        result.push_back(static_cast<Index>(index));
    }
    return result;
}

TEST(TrianglesOf, AreThoseOfToTrianglesForEveryTypeAndWidth) {
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        const Indices indices = randomIndices(seed, seed % 2 == 0 ? 5 : 127, seed % 40);
        for (const PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN}) {
            const Indices expected = toTriangles(type, indices);
            EXPECT_EQ(walked(trianglesOf(type, indices)), expected);
            EXPECT_EQ(walked(trianglesOf(type, narrowed<std::uint16_t>(indices))), expected);
            EXPECT_EQ(walked(trianglesOf(type, narrowed<std::uint8_t>(indices))), expected);
            for (const ComponentType width : {BYTE, SHORT, INT}) {
                const auto buffer = IndexBuffer::createDefault(width);
                assign(*buffer, indices);
                EXPECT_EQ(walked(trianglesOf(*makeMesh(type, buffer, {zeros("position", 127)}))), expected);
            }
        }
    }
}

TEST(TrianglesOf, AStripIsTheListThatItWasBuiltFrom) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const Indices strip = buildStripBuffer(mesh.indices, {.effort = 0});
        EXPECT_EQ(walked(trianglesOf(TRIANGLE_STRIP, strip)), toTriangles(TRIANGLE_STRIP, strip)) << mesh.name;
        EXPECT_TRUE(sameTriangles(walked(trianglesOf(TRIANGLE_STRIP, strip)), toTriangles(TRIANGLES, mesh.indices)))
            << mesh.name;
    }
}

TEST(TrianglesOf, TakeVerticesInOrderWithoutIndices) {
    const auto fan = makeMesh(TRIANGLE_FAN, nullptr, {zeros("position", 5)});
    EXPECT_THAT(walked(trianglesOf(*fan)), ElementsAre(0u, 1u, 2u, 0u, 2u, 3u, 0u, 3u, 4u));
    EXPECT_EQ(toTriangles(*fan), walked(trianglesOf(*fan)));
    const auto list = makeMesh(TRIANGLES, nullptr, {zeros("corner", 7)});
    EXPECT_EQ(walked(trianglesOf(*list)).size(), 6u);
    EXPECT_TRUE(trianglesOf(*makeMesh(TRIANGLES, nullptr, {})).empty());
}

TEST(TrianglesOf, IteratorsCanBeCopiedAndCompared) {
    const Indices strip = buildStripBuffer(meshes::grid(20, 20));
    const TriangleRange range = trianglesOf(TRIANGLE_STRIP, strip);
    auto slow = range.begin();
    for (auto fast = range.begin(); fast != range.end(); ++fast) {
        EXPECT_TRUE(slow == fast);
        const Triangle triangle = *fast;
        EXPECT_EQ(*slow++, triangle);
    }
    EXPECT_TRUE(slow == range.end());
}

#ifdef __cpp_lib_ranges // not in libc++ 14
TEST(TrianglesOf, WorkWithRangeAlgorithms) {
    const Indices strip = buildStripBuffer(meshes::grid(20, 20));
    const TriangleRange range = trianglesOf(TRIANGLE_STRIP, strip);
    EXPECT_EQ(std::ranges::distance(range), 800);
    const Triangle last{toTriangles(TRIANGLE_STRIP, strip)[2397], toTriangles(TRIANGLE_STRIP, strip)[2398],
                        toTriangles(TRIANGLE_STRIP, strip)[2399]};
    const auto found = std::ranges::find(range, last);
    EXPECT_EQ(*found, last);
    EXPECT_TRUE(std::ranges::next(found) == range.end());
}
#endif

TEST(TrianglesOf, RefuseWhatDoesNotContainTriangles) {
    EXPECT_THAT(messageOf([] { trianglesOf(LINES, Indices{}); }),
                HasSubstr("trianglesOf: LINES does not contain triangles"));
    EXPECT_THROW(trianglesOf(*makeMesh(POINTS, nullptr, {})), std::invalid_argument);
    EXPECT_THROW(toTriangles(*makeMesh(LINE_LOOP, Indices{}, {})), std::invalid_argument);
}

TEST(TrianglesOf, RefuseMoreVerticesThan32BitsTellApart) {
    if (sizeof(unsigned long) == 4) {
        GTEST_SKIP() << "no mesh has as many";
    }
    const auto mesh =
        makeMesh(TRIANGLES, nullptr, {std::make_shared<vexa::test::TooManyPositions>(restartIndex + 1UL)});
    EXPECT_EQ(messageOf<std::length_error>([&] { trianglesOf(*mesh); }),
              "trianglesOf: 4294967296 vertices without indices do not fit 32 bits");
}

TEST(ToTriangles, AcceptForeignBuffers) {
    const auto indices = foreignCopy(*indexBuffer(UNSIGNED_BYTE, {0, 1, 2, 255, 2, 1, 3}));
    const auto mesh = makeMesh(TRIANGLE_STRIP, indices, {zeros("position", 4)});
    EXPECT_THAT(messageOf([&] { trianglesOf(*mesh); }), HasSubstr("toTriangles"));
    EXPECT_THAT(toTriangles(*mesh), ElementsAre(0u, 1u, 2u, 2u, 1u, 3u));
}

} // namespace
