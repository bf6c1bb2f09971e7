#include "support/Floats.h"
#include "support/Messages.h"

#include <vexa/mesh/OctahedralCodec.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using namespace vexa::mesh;
using testing::HasSubstr;

static_assert(sizeof(OctahedralCodec<8>::Code) == 2 && sizeof(OctahedralCodec<12>::Code) == 3 &&
              sizeof(OctahedralCodec<16>::Code) == 4);

template <typename Width>
class OctahedralCodecOf : public testing::Test {
protected:
    static constexpr int bits = Width::value;
    static constexpr int radius = (1 << (bits - 1)) - 1;
    using Codec = OctahedralCodec<bits>;
    using Code = typename Codec::Code;

    static Code codeOf(int u, int v) {
        if constexpr (bits == 12) {
            const auto both = static_cast<unsigned int>((u & 0xfff) | (v & 0xfff) << 12);
            return {static_cast<std::uint8_t>(both), static_cast<std::uint8_t>(both >> 8),
                    static_cast<std::uint8_t>(both >> 16)};
        } else {
            using Coordinate = typename Code::value_type;
            return {static_cast<Coordinate>(u), static_cast<Coordinate>(v)};
        }
    }
    static std::array<int, 2> coordinatesOf(const Code& code) {
        if constexpr (bits == 12) {
            const int both = code[0] | code[1] << 8 | code[2] << 16;
            return {static_cast<std::int16_t>(both << 4) >> 4, static_cast<std::int16_t>(both >> 8) >> 4};
        } else {
            return {code[0], code[1]};
        }
    }
    /// The definition, in double precision.
    static std::array<double, 3> decodedPlainly(const Code& code) {
        const double u = std::max(coordinatesOf(code)[0], -radius) / static_cast<double>(radius);
        const double v = std::max(coordinatesOf(code)[1], -radius) / static_cast<double>(radius);
        const double z = 1 - std::abs(u) - std::abs(v);
        const double x = z >= 0 ? u : (1 - std::abs(v)) * (u >= 0 ? 1 : -1);
        const double y = z >= 0 ? v : (1 - std::abs(u)) * (v >= 0 ? 1 : -1);
        const double length = std::sqrt(x * x + y * y + z * z);
        return {x / length, y / length, z / length};
    }
    /// The best of the four codes around a vector of moderate length, tried one after the other.
    static Code encodedPlainly(const glm::vec3& n) {
        const glm::vec3 v{std::abs(n.x), std::abs(n.y), std::abs(n.z)};
        const auto r = static_cast<float>(radius);
        const float scale = r / ((v.x + v.y) + v.z);
        const float below[2] = {std::trunc(v.x * scale), std::trunc(v.y * scale)};
        const auto third = (r - below[0]) - below[1];
        const float cross[3] = {below[1] * v.z - third * v.y, third * v.x - below[0] * v.z,
                                below[0] * v.y - below[1] * v.x};
        const auto square = [](float x, float y, float z) { return (x * x + y * y) + z * z; };
        float best[4] = {below[0], below[1], square(cross[0], cross[1], cross[2]), square(below[0], below[1], third)};
        for (int i = 1; i < 4; ++i) {
            // Cross products with the points at the steps (1, 0, -1) and (0, 1, -1) from the first.
            float c[3] = {cross[0], cross[1], cross[2]};
            const float u = below[0] + static_cast<float>(i % 2);
            const float w = below[1] + static_cast<float>(i / 2);
            if (i % 2 != 0) {
                c[0] += v.y;
                c[1] += 0 - (v.x + v.z);
                c[2] += v.y;
            }
            if (i / 2 != 0) {
                c[0] += v.y + v.z;
                c[1] += 0 - v.x;
                c[2] += 0 - v.x;
            }
            const float sine = square(c[0], c[1], c[2]);
            const float length = square(u, w, (r - u) - w);
            if (sine * best[3] < best[2] * length && u + w <= r) {
                best[0] = u;
                best[1] = w;
                best[2] = sine;
                best[3] = length;
            }
        }
        const float first = n.z < 0 ? r - best[1] : best[0];
        const float second = n.z < 0 ? r - best[0] : best[1];
        return codeOf(static_cast<int>(n.x >= 0 ? first : -first), static_cast<int>(n.y >= 0 ? second : -second));
    }
    static double degreesBetween(const glm::vec3& a, const std::array<double, 3>& b) {
        const std::array<double, 3> cross{a.y * b[2] - a.z * b[1], a.z * b[0] - a.x * b[2], a.x * b[1] - a.y * b[0]};
        const double sine = std::hypot(cross[0], cross[1], cross[2]);
        return std::atan2(sine, a.x * b[0] + a.y * b[1] + a.z * b[2]) * 180 / std::numbers::pi;
    }
    static std::vector<glm::vec3> randomNormals(std::size_t count) {
        std::mt19937 engine(11);
        std::normal_distribution<float> component;
        std::vector<glm::vec3> normals(count);
        for (glm::vec3& n : normals) {
            n = {component(engine), component(engine), component(engine)};
            n /= std::hypot(n.x, n.y, n.z);
        }
        return normals;
    }
    /// Codes all over the square, all of them where they are few.
    static std::vector<Code> someCodes() {
        std::vector<Code> codes;
        const int step = bits == 8 ? 1 : bits == 12 ? 13 : 151;
        for (int u = -radius - 1; u <= radius; u += step) {
            for (int v = -radius - 1; v <= radius; v += step) {
                codes.push_back(codeOf(u, v));
            }
        }
        for (const int u : {-radius - 1, -radius, -radius + 1, -1, 0, 1, radius - 1, radius}) {
            for (const int v : {-radius - 1, -radius, -1, 0, 1, radius - 1, radius}) {
                codes.push_back(codeOf(u, v));
                codes.push_back(codeOf(u, radius - std::abs(u)));
            }
        }
        return codes;
    }
};

using Widths =
    testing::Types<std::integral_constant<int, 8>, std::integral_constant<int, 12>, std::integral_constant<int, 16>>;
TYPED_TEST_SUITE(OctahedralCodecOf, Widths);

TYPED_TEST(OctahedralCodecOf, AxesAreExact) {
    for (const glm::vec3& axis : {glm::vec3(1, 0, 0), glm::vec3(0, 1, 0), glm::vec3(0, 0, 1), glm::vec3(-1, 0, 0),
                                  glm::vec3(0, -1, 0), glm::vec3(0, 0, -1)}) {
        EXPECT_EQ(TestFixture::Codec::decode(TestFixture::Codec::encode(axis)), axis);
        EXPECT_EQ(TestFixture::Codec::decode(TestFixture::Codec::encode(7e-40F * axis)), axis);
        EXPECT_EQ(TestFixture::Codec::decode(TestFixture::Codec::encode(3e38F * axis)), axis);
    }
    EXPECT_EQ(TestFixture::Codec::encode({0, 0, 1}), TestFixture::codeOf(0, 0));
    EXPECT_EQ(TestFixture::Codec::encode({1, 0, 0}), TestFixture::codeOf(TestFixture::radius, 0));
}

TYPED_TEST(OctahedralCodecOf, DecodesAsDefined) {
    const auto codes = this->someCodes();
    std::vector<glm::vec3> normals(codes.size());
    TestFixture::Codec::decode(codes, normals);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        ASSERT_LT(this->degreesBetween(normals[i], this->decodedPlainly(codes[i])), 1e-5);
        ASSERT_NEAR(std::hypot(normals[i].x, normals[i].y, normals[i].z), 1, 3e-7);
    }
}

TYPED_TEST(OctahedralCodecOf, DecodeOfEncodeIsAFixedPoint) {
    auto codes = this->someCodes();
    std::vector<glm::vec3> normals(codes.size());
    TestFixture::Codec::decode(codes, normals);
    TestFixture::Codec::encode(normals, codes);
    std::vector<glm::vec3> again(codes.size());
    TestFixture::Codec::decode(codes, again);
    EXPECT_TRUE(again == normals);
}

TYPED_TEST(OctahedralCodecOf, ErrorsAreThoseOfTheBestOfFour) {
    const auto normals = this->randomNormals(200000);
    std::vector<typename TestFixture::Code> codes(normals.size());
    TestFixture::Codec::encode(normals, codes);
    double sum = 0;
    double max = 0;
    for (std::size_t i = 0; i < normals.size(); ++i) {
        const double error = this->degreesBetween(normals[i], this->decodedPlainly(codes[i]));
        sum += error;
        max = std::max(max, error);
    }
    const double scale = 127.0 / TestFixture::radius;
    EXPECT_NEAR(sum / static_cast<double>(normals.size()), 0.315 * scale, 0.001 * scale);
    EXPECT_LT(max, 0.637 * scale);
    EXPECT_GT(max, 0.6 * scale);
}

TYPED_TEST(OctahedralCodecOf, EncodesAsTryingTheFourCodesInTurnDoes) {
    std::vector<glm::vec3> normals = this->randomNormals(20000);
    // Halfway between codes, where two or four of them are equally good.
    const float r = static_cast<float>(TestFixture::radius);
    for (int i = 0; i < 20000; ++i) {
        const float u = static_cast<float>(i * 37 % (2 * TestFixture::radius)) / 2;
        const float v = static_cast<float>(i * 91 % (2 * TestFixture::radius)) / 2;
        normals.emplace_back(i % 2 == 0 ? u : -u, i % 3 == 0 ? v : -v, (r - u - v) * (i % 5 == 0 ? -1.0F : 1.0F));
        normals.emplace_back(u, -v, 0.0F);
    }
    std::erase(normals, glm::vec3(0));
    std::vector<typename TestFixture::Code> codes(normals.size());
    TestFixture::Codec::encode(normals, codes);
    for (std::size_t i = 0; i < normals.size(); ++i) {
        ASSERT_EQ(codes[i], this->encodedPlainly(normals[i])) << i;
    }
}

TYPED_TEST(OctahedralCodecOf, NoNeighbouringCodeIsBetter) {
    for (const glm::vec3& normal : this->randomNormals(2000)) {
        const auto code = TestFixture::Codec::encode(normal);
        const auto [u, v] = this->coordinatesOf(code);
        const double error = this->degreesBetween(normal, this->decodedPlainly(code));
        for (int i = 0; i < 9; ++i) {
            const int r = TestFixture::radius;
            const auto other = this->codeOf(std::clamp(u + i / 3 - 1, -r, r), std::clamp(v + i % 3 - 1, -r, r));
            // Float rounding of the vector itself, 1e-7, is 4e-6 degrees.
            ASSERT_LE(error, this->degreesBetween(normal, this->decodedPlainly(other)) + 1e-5);
        }
    }
}

TYPED_TEST(OctahedralCodecOf, OneVectorAndManyHaveTheSameBits) {
    std::vector<glm::vec3> normals;
    for (const vexa::test::Vec3& v : vexa::test::mixedVectors(1003, 5)) {
        normals.emplace_back(v[0], v[1], v[2]);
    }
    std::vector<typename TestFixture::Code> codes(normals.size());
    TestFixture::Codec::encode(normals, codes);
    std::vector<glm::vec3> decoded(normals.size());
    TestFixture::Codec::decode(codes, decoded);
    for (std::size_t i = 0; i < normals.size(); ++i) {
        ASSERT_EQ(TestFixture::Codec::encode(normals[i]), codes[i]) << i;
        ASSERT_EQ(TestFixture::Codec::decode(codes[i]), decoded[i]) << i;
        ASSERT_FALSE(std::isnan(decoded[i].x)) << i;
    }
}

TYPED_TEST(OctahedralCodecOf, ZeroAndNonFiniteVectorsPointUp) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const glm::vec3& v : {glm::vec3(0), glm::vec3(-0.0F), glm::vec3(nan, 0, 0), glm::vec3(0, nan, -1),
                               glm::vec3(1, 1, nan), glm::vec3(0, 0, -infinity), glm::vec3(infinity, 1, 1)}) {
        EXPECT_EQ(TestFixture::Codec::encode(v), TestFixture::codeOf(0, 0));
    }
}

TYPED_TEST(OctahedralCodecOf, RefusesUnequalNumbers) {
    std::vector<glm::vec3> normals(2);
    std::vector<typename TestFixture::Code> codes(3);
    EXPECT_EQ(messageOf([&] { TestFixture::Codec::encode(normals, codes); }),
              "OctahedralCodec::encode: 2 normals and 3 codes; make their numbers equal");
    EXPECT_THAT(messageOf([&] { TestFixture::Codec::decode(codes, normals); }), HasSubstr("OctahedralCodec::decode"));
}

} // namespace
