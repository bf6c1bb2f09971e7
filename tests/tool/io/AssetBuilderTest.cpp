#include "io/AssetBuilder.h"

#include <gtest/gtest.h>

namespace {

namespace mesh = vexa::mesh;

TEST(NarrowestIndexType, LeavesTheLargestValueOfEachTypeUnused) {
    using vexa::tool::narrowestIndexType;
    EXPECT_EQ(narrowestIndexType({0, 254}), mesh::UNSIGNED_BYTE);
    EXPECT_EQ(narrowestIndexType({255, 1}), mesh::UNSIGNED_SHORT);
    EXPECT_EQ(narrowestIndexType({65534}), mesh::UNSIGNED_SHORT);
    EXPECT_EQ(narrowestIndexType({65535}), mesh::UNSIGNED_INT);
    EXPECT_EQ(narrowestIndexType({4294967294U}), mesh::UNSIGNED_INT);
}

} // namespace
