#include "io/AssetBuilder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

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

TEST(FloatValues, HoldTheBytesOfTheirNumbers) {
    const vexa::tool::AccessorData two = vexa::tool::floatValues("VEC2", {1, 2, 3, 4});
    EXPECT_EQ(two.count, 2);
    EXPECT_EQ(two.components, 2);
    ASSERT_EQ(two.bytes.size(), 16U);
    std::vector<float> numbers(4);
    std::memcpy(numbers.data(), two.bytes.data(), two.bytes.size());
    EXPECT_EQ(numbers, (std::vector<float>{1, 2, 3, 4}));

    const vexa::tool::AccessorData none = vexa::tool::floatValues("VEC3", {});
    EXPECT_EQ(none.count, 0);
    EXPECT_TRUE(none.bytes.empty());
}

} // namespace
