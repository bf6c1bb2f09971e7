#include "ops/NormalAngles.h"

#include "io/AssetBuilder.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

namespace {

using testing::DoubleNear;
using testing::ElementsAre;
using vexa::tool::AccessorData;
using vexa::tool::AngleStats;
using vexa::tool::Bytes;
using vexa::tool::floatValues;
using vexa::tool::measurePackedNormals;

std::vector<double> anglesOf(const AccessorData& normals, const Bytes& bytes) {
    std::vector<double> angles;
    measurePackedNormals(normals, bytes.data(), [&](double angle) { angles.push_back(angle); });
    return angles;
}

TEST(PackNormals, WritesTwoBytesPerNormalInTheirOrder) {
    const Bytes up = vexa::tool::packNormals(floatValues("VEC3", {0, 0, 1}));
    const Bytes both = vexa::tool::packNormals(floatValues("VEC3", {1, 0, 0, 0, 0, 1}));
    EXPECT_EQ(both.size(), 4u);
    EXPECT_EQ(Bytes(both.begin() + 2, both.end()), up);
}

TEST(PackNormals, ScalesNormalizedIntegers) {
    AccessorData bytes;
    bytes.componentType = vexa::mesh::BYTE;
    bytes.type = "VEC3";
    bytes.normalized = true;
    bytes.components = 3;
    bytes.count = 1;
    bytes.bytes = {0, 127, 0};
    EXPECT_EQ(vexa::tool::packNormals(bytes), vexa::tool::packNormals(floatValues("VEC3", {0, 1, 0})));
}

TEST(MeasurePackedNormals, GivesTheAngleToTheDecodedNormal) {
    // The bytes of the normal (1, 0, 0), whatever the normals are.
    const Bytes bytes = vexa::tool::packNormals(floatValues("VEC3", {1, 0, 0, 1, 0, 0, 1, 0, 0}));
    const auto angles = anglesOf(floatValues("VEC3", {1, 0, 0, 0, 0, 5, -3, 0, 0}), bytes);
    EXPECT_THAT(angles, ElementsAre(DoubleNear(0, 0.6), DoubleNear(90, 0.6), DoubleNear(180, 0.6)));
}

TEST(MeasurePackedNormals, LeavesOutNormalsWithoutADirection) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const AccessorData normals = floatValues("VEC3", {0, 0, 0, nan, 0, 1, 0, 1, 0});
    const AngleStats stats = measurePackedNormals(normals, vexa::tool::packNormals(normals).data());
    EXPECT_EQ(stats.normals, 3u);
    EXPECT_EQ(stats.withoutDirection, 2u);
    EXPECT_EQ(stats.mean(), stats.max);
}

TEST(AngleStats, MeanIsZeroWithoutNormals) {
    EXPECT_EQ(AngleStats().mean(), 0);
}

TEST(AngleStats, AddUp) {
    AngleStats stats{"a", 3, 1, 4, 3};
    stats.add({"b", 2, 0, 8, 7});
    EXPECT_TRUE(stats.isSame({"whatever", 5, 1, 12, 7}));
    EXPECT_EQ(stats.mean(), 3);
    EXPECT_FALSE(stats.isSame({"a", 5, 1, 12, 6}));
}

} // namespace
