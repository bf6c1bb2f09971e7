#include "ops/Triangles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using vexa::tool::graphTriangles;
using vexa::tool::hasTriangles;
using vexa::tool::Primitive;
namespace mesh = vexa::mesh;

Primitive primitiveOf(mesh::PrimitiveType type, std::vector<unsigned int> indices) {
    Primitive primitive;
    primitive.type = type;
    primitive.indices = std::move(indices);
    return primitive;
}

TEST(HasTriangles, IsTrueForListsStripsAndFans) {
    for (const auto type : {mesh::TRIANGLES, mesh::TRIANGLE_STRIP, mesh::TRIANGLE_FAN}) {
        EXPECT_TRUE(hasTriangles(primitiveOf(type, {})));
    }
    for (const auto type : {mesh::POINTS, mesh::LINES, mesh::LINE_LOOP, mesh::LINE_STRIP}) {
        EXPECT_FALSE(hasTriangles(primitiveOf(type, {0, 1, 2})));
    }
}

TEST(GraphTriangles, KeepDegenerateTrianglesOfLists) {
    EXPECT_THAT(graphTriangles(primitiveOf(mesh::TRIANGLES, {0, 1, 1, 0, 1, 2})), ElementsAre(0, 1, 1, 0, 1, 2));
}

TEST(GraphTriangles, DropDegenerateTrianglesOfStripsAndFans) {
    EXPECT_THAT(graphTriangles(primitiveOf(mesh::TRIANGLE_STRIP, {0, 1, 2, 2, 3, 4})), ElementsAre(0, 1, 2, 2, 4, 3));
    EXPECT_THAT(graphTriangles(primitiveOf(mesh::TRIANGLE_FAN, {0, 1, 1, 2})), ElementsAre(0, 1, 2));
}

} // namespace
