#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/stars/Stars.h>

#include <algorithm>
#include <cstddef>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;

StripPartition partitionOf(const Indices& mesh) {
    return {pairEdges(mesh), mesh};
}

std::size_t countStars(const Stars& stars, Star::Kind kind, std::size_t size) {
    return static_cast<std::size_t>(std::count_if(stars.all().begin(), stars.all().end(), [&](const Star& star) {
        return star.kind == kind && star.size == size;
    }));
}

TEST(Stars, AreRingsAroundInnerVertices) {
    const Stars stars(partitionOf(meshes::icosahedron()));
    EXPECT_EQ(stars.all().size(), 12U);
    EXPECT_EQ(countStars(stars, Star::Kind::Ring, 5), 12U);
}

TEST(Stars, AreOpenAtTheBorder) {
    const Stars stars(partitionOf(meshes::singleTriangle()));
    EXPECT_EQ(stars.all().size(), 3U);
    EXPECT_EQ(countStars(stars, Star::Kind::Open, 1), 3U);
}

TEST(Stars, OfManyTrianglesAreWindows) {
    const Stars stars(partitionOf(meshes::closedFan(20)));
    EXPECT_EQ(countStars(stars, Star::Kind::Ring, 20), 0U);
    EXPECT_EQ(countStars(stars, Star::Kind::Window, maxStarSize - 1), 5U);
}

TEST(Stars, ThatMeetThemselvesAreLeftOut) {
    // Both triangles face one another over all edges.
    EXPECT_TRUE(Stars(partitionOf(meshes::doubledOppositeWinding())).all().empty());
}

} // namespace
