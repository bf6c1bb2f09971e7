#include <vexa/mesh/NormalQuantization.h>

#include <vexa/mesh/AttributeTransformation.h>

#include "reference/ReferenceOperations.h"
#include "support/Buffers.h"
#include "support/Floats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cstring>
#include <limits>

namespace {

using namespace vexa::mesh;
using reference::PackedNormal;
using vexa::test::attribute;
using vexa::test::Exactly;
using vexa::test::exactly;
using vexa::test::Vec3;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

PackedNormal quantized(const Vec3& normal) {
    glm::vec3 vector(normal[0], normal[1], normal[2]);
    PackedNormal packed{};
    quantizeNormal(&vector, packed.data());
    return packed;
}

Vec3 dequantized(PackedNormal packed) {
    glm::vec3 normal;
    dequantizeNormal(packed.data(), &normal);
    return {normal.x, normal.y, normal.z};
}

std::array<float, 2> encoded(const Vec3& normal) {
    std::array<float, 2> uv{};
    encodeOctahedronNormal(normal[0], normal[1], normal[2], uv[0], uv[1]);
    return uv;
}

TEST(WrapOctahedronNormalValue, FoldsByTheSignOfTheFirst) {
    EXPECT_EQ(wrapOctahedronNormalValue(0.5F, 0.25F), 0.75F);
    EXPECT_EQ(wrapOctahedronNormalValue(-0.5F, 0.25F), -0.75F);
    EXPECT_EQ(wrapOctahedronNormalValue(0.0F, -0.25F), 0.75F);
    EXPECT_EQ(wrapOctahedronNormalValue(-0.0F, 0.25F), 0.75F);
    EXPECT_EQ(wrapOctahedronNormalValue(nan, 0.25F), -0.75F);
    EXPECT_EQ(wrapOctahedronNormalValue(1.0F, infinity), -infinity);
    EXPECT_EQ(Exactly{wrapOctahedronNormalValue(-1.0F, 1.0F)}, Exactly{-0.0F});
    EXPECT_EQ(Exactly{wrapOctahedronNormalValue(1.0F, -1.0F)}, Exactly{0.0F});
}

// The sanitized builds walk a part of all floats, which an odd step spreads over all exponents.
#ifdef NDEBUG
constexpr std::uint64_t step = 1;
#else
constexpr std::uint64_t step = 257;
#endif

// All floats, a quarter of them in each test.
class EveryFloat : public testing::TestWithParam<std::uint64_t> {};
INSTANTIATE_TEST_SUITE_P(InQuarters, EveryFloat, testing::Range<std::uint64_t>(0, 4));

TEST_P(EveryFloat, PassesOnlyItsSignToTheWrappedValue) {
    const float positive = reference::wrap(1.0F, 0.3F);
    std::uint64_t wrong = 0;
    for (std::uint64_t bits = GetParam() << 30; bits < (GetParam() + 1) << 30; bits += step) {
        const auto a = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        wrong += wrapOctahedronNormalValue(a, 0.3F) != (a >= 0 ? positive : -positive);
    }
    EXPECT_EQ(wrong, 0u);
}

TEST(WrapOctahedronNormalValue, MirrorsEverySecondFloat) {
    std::uint64_t wrong = 0;
    for (std::uint64_t bits = 0; bits < std::uint64_t{1} << 32; bits += 16 * step + 1) {
        const auto b = std::bit_cast<float>(static_cast<std::uint32_t>(bits));
        wrong += Exactly{wrapOctahedronNormalValue(-1.0F, b)} != Exactly{reference::wrap(-1.0F, b)};
    }
    EXPECT_EQ(wrong, 0u);
}

TEST(WrapOctahedronNormalValue, MatchesTheReferenceOnEveryPairOfSpecialFloats) {
    std::vector<float> floats = vexa::test::specialFloats();
    for (const Vec3& v : vexa::test::mixedVectors(700, 3)) {
        floats.insert(floats.end(), v.begin(), v.end());
    }
    for (const float a : floats) {
        for (const float b : floats) {
            ASSERT_EQ(Exactly{wrapOctahedronNormalValue(a, b)}, Exactly{reference::wrap(a, b)}) << a << " " << b;
        }
    }
}

TEST(EncodeOctahedronNormal, MapsTheAxes) {
    EXPECT_EQ(encoded({0, 0, 1}), (std::array<float, 2>{0.5F, 0.5F}));
    EXPECT_EQ(encoded({0, 0, -1}), (std::array<float, 2>{1, 1}));
    EXPECT_EQ(encoded({1, 0, 0}), (std::array<float, 2>{1, 0.5F}));
    EXPECT_EQ(encoded({-1, 0, 0}), (std::array<float, 2>{0, 0.5F}));
    EXPECT_EQ(encoded({0, 7, 0}), (std::array<float, 2>{0.5F, 1}));
}

TEST(EncodeOctahedronNormal, KeepsMinusZeroInTheUpperHalf) {
    EXPECT_EQ(encoded({0.5F, 0.25F, -0.0F}), encoded({0.5F, 0.25F, 0.0F}));
}

TEST(EncodeOctahedronNormal, GivesNanForAZeroNormal) {
    EXPECT_TRUE(std::isnan(encoded({0, 0, 0})[0]));
    EXPECT_TRUE(std::isnan(encoded({0, 0, 0})[1]));
}

TEST(EncodeOctahedronNormal, MayOverwriteItsArguments) {
    float x = 1.0F;
    float y = 1.0F;
    encodeOctahedronNormal(x, y, 2.0F, x, y);
    EXPECT_EQ(x, 0.625F);
    EXPECT_EQ(y, 0.625F);
}

// 1 + 2^-24 + 2^-24 rounds to 1 + 2^-23 in double and then float, and to 1 step by step in float.
TEST(EncodeOctahedronNormal, SumsTheNormInDouble) {
    const float tiny = 0x1p-24F;
    EXPECT_EQ(encoded({1.0F, tiny, tiny})[0], (1.0F / (1.0F + 0x1p-23F)) * 0.5F + 0.5F);
}

TEST(EncodeOctahedronNormal, MatchesTheReferenceToTheBit) {
    std::vector<Vec3> normals = vexa::test::mixedVectors(200000, 11);
    const std::vector<Vec3> ordinary = vexa::test::ordinaryVectors(200000, 12);
    normals.insert(normals.end(), ordinary.begin(), ordinary.end());
    for (const Vec3& normal : normals) {
        const std::array<float, 2> own = encoded(normal);
        const std::array<float, 2> expected = reference::encode(normal);
        ASSERT_EQ(Exactly{own[0]}, Exactly{expected[0]}) << normal[0] << " " << normal[1] << " " << normal[2];
        ASSERT_EQ(Exactly{own[1]}, Exactly{expected[1]}) << normal[0] << " " << normal[1] << " " << normal[2];
    }
}

TEST(QuantizeNormal, TruncatesToTwoBytes) {
    EXPECT_EQ(quantized({0, 0, 1}), (PackedNormal{127, 127}));
    EXPECT_EQ(quantized({0, 0, -1}), (PackedNormal{255, 255}));
    EXPECT_EQ(quantized({1, 0, 0}), (PackedNormal{255, 127}));
    EXPECT_EQ(quantized({-1, 0, 0}), (PackedNormal{0, 127}));
}

TEST(QuantizeNormal, MapsNanTo255) {
    EXPECT_EQ(quantized({0, 0, 0}), (PackedNormal{255, 255}));
    EXPECT_EQ(quantized({nan, 0, 1}), (PackedNormal{255, 255}));
    EXPECT_EQ(quantized({infinity, 1, 1}), (PackedNormal{255, 127}));
}

TEST(QuantizeNormal, WritesTwoBytesAndReadsOneVector) {
    glm::vec3 normal(0.0F, 0.0F, 1.0F);
    unsigned char bytes[4] = {1, 2, 3, 4};
    quantizeNormal(&normal, bytes + 1);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[1], 127);
    EXPECT_EQ(bytes[2], 127);
    EXPECT_EQ(bytes[3], 4);
    EXPECT_EQ(normal, glm::vec3(0.0F, 0.0F, 1.0F));
}

TEST(DequantizeNormal, GivesAPointOfTheOctahedron) {
    EXPECT_EQ(dequantized({255, 255}), (Vec3{0, 0, -1}));
    EXPECT_EQ(exactly(dequantized({0, 0})), exactly({-0.0F, -0.0F, -1.0F}));
    const Vec3 middle = dequantized({127, 127});
    EXPECT_FLOAT_EQ(middle[0], -0.00392157F);
    EXPECT_EQ(middle[0], middle[1]);
    EXPECT_FLOAT_EQ(middle[2], 0.99215686F);
}

TEST(DequantizeNormal, MatchesTheReferenceForAllBytes) {
    for (unsigned int i = 0; i < 65536; ++i) {
        const PackedNormal packed{static_cast<unsigned char>(i & 255), static_cast<unsigned char>(i >> 8)};
        ASSERT_EQ(exactly(dequantized(packed)), exactly(reference::dequantize(packed))) << i;
    }
}

// Truncation in a round trip, for every pair of bytes.
TEST(QuantizeNormal, MatchesTheReferenceForAllUnpackedBytes) {
    for (unsigned int i = 0; i < 65536; ++i) {
        const PackedNormal packed{static_cast<unsigned char>(i & 255), static_cast<unsigned char>(i >> 8)};
        const Vec3 normal = dequantized(packed);
        const PackedNormal again = quantized(normal);
        ASSERT_EQ(again, reference::quantize(normal)) << i;
        if (normal[2] > 0.01F) {
            EXPECT_LE(std::abs(again[0] - packed[0]), 1) << i;
            EXPECT_LE(std::abs(again[1] - packed[1]), 1) << i;
        }
    }
}

TEST(NormalFunctions, PackAndUnpackWholeBuffers) {
    const auto normals = vexa::test::vec3f("normal", {{0, 0, 1}, {0, 0, -1}, {1, 0, 0}, {-1, 0, 0}, {0, 0, 0}});
    const auto packed = AttributeBuffer::createDefault(UNSIGNED_BYTE, 2, "normal");
    packed->resize(5);
    transformAttributes(normals, packed, quantizeNormals());
    EXPECT_EQ(vexa::test::elementsOf<PackedNormal>(*packed),
              (std::vector<PackedNormal>{{127, 127}, {255, 255}, {255, 127}, {0, 127}, {255, 255}}));

    const auto unpacked = vexa::test::zeros("normal", 5);
    transformAttributes(packed, unpacked, dequantizeNormals());
    const std::vector<Vec3> elements = vexa::test::elementsOf<Vec3>(*unpacked);
    EXPECT_EQ(elements[1], (Vec3{0, 0, -1}));
    EXPECT_EQ(elements[0], dequantized({127, 127}));
}

/// Normals with a coordinate on either side of every byte's edge, in the finest steps that a coordinate from 1/2 on can
/// take.
std::vector<Vec3> normalsAtTheEdgesOfBytes() {
    constexpr int norm = 1 << 24;
    std::vector<Vec3> normals;
    for (int byte = 0; byte <= 255; ++byte) {
        const auto edge = static_cast<int>(norm * (2.0 * byte / 255.0 - 1.0));
        for (int distance = -40; distance <= 40; ++distance) {
            const int x = std::min(std::max(edge + distance, -norm), norm);
            const int y = norm - std::abs(x);
            normals.push_back({static_cast<float>(x), static_cast<float>(y), 0.0F});
            normals.push_back({static_cast<float>(-y), static_cast<float>(x), -0.0F});
            normals.push_back({static_cast<float>(x), static_cast<float>(std::max(y - 1, 0)), -1.0F});
        }
    }
    return normals;
}

std::vector<PackedNormal> packedInBulk(const std::vector<Vec3>& normals) {
    const auto packed = AttributeBuffer::createDefault(UNSIGNED_BYTE, 2, "normal");
    packed->resize(normals.size());
    transformAttributes(vexa::test::vec3f("normal", normals), packed, quantizeNormals());
    return vexa::test::elementsOf<PackedNormal>(*packed);
}

std::vector<Vec3> unpackedInBulk(const std::vector<PackedNormal>& bytes) {
    const auto normals = vexa::test::zeros("normal", bytes.size());
    transformAttributes(attribute(UNSIGNED_BYTE, 2, "normal", bytes), normals, dequantizeNormals());
    return vexa::test::elementsOf<Vec3>(*normals);
}

TEST(NormalFunctions, TruncateExactlyAtTheEdgeOfEveryByte) {
    const std::vector<Vec3> normals = normalsAtTheEdgesOfBytes();
    const std::vector<PackedNormal> bytes = packedInBulk(normals);
    for (std::size_t i = 0; i < normals.size(); ++i) {
        ASSERT_EQ(bytes[i], reference::quantize(normals[i])) << normals[i][0] << " " << normals[i][1];
        ASSERT_EQ(bytes[i], quantized(normals[i]));
    }
}

TEST(NormalFunctions, RoundAWholeBufferAsEachOfItsElements) {
    const std::vector<Vec3> normals = normalsAtTheEdgesOfBytes();
    for (const int roundingMode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(roundingMode);
        const std::vector<PackedNormal> bytes = packedInBulk(normals);
        const std::vector<Vec3> unpacked = unpackedInBulk(bytes);
        std::vector<PackedNormal> expectedBytes(normals.size());
        std::vector<Vec3> expectedNormals(normals.size());
        std::transform(normals.begin(), normals.end(), expectedBytes.begin(), quantized);
        std::transform(bytes.begin(), bytes.end(), expectedNormals.begin(), dequantized);
        std::fesetround(FE_TONEAREST);
        EXPECT_TRUE(bytes == expectedBytes) << roundingMode;
        EXPECT_TRUE(unpacked == expectedNormals) << roundingMode;
    }
}

TEST(NormalFunctions, WorkOnElementsAtAnyAddress) {
    const Vec3 normal{1, 0, 0};
    unsigned char room[16];
    std::memcpy(room + 1, normal.data(), 12);
    unsigned char packed[2];
    quantizeNormals()(room + 1, packed);
    EXPECT_EQ(packed[0], 255);
    dequantizeNormals()(packed, room + 3);
    Vec3 unpacked;
    std::memcpy(unpacked.data(), room + 3, 12);
    EXPECT_EQ(unpacked, dequantized({255, 127}));
}

} // namespace
