#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <glm/mat4x4.hpp>
#include <ostream>
#include <random>
#include <vector>

namespace vexa::test {

using Vec3 = std::array<float, 3>;

/// A float that compares by its bits. Which of several NaNs an operation returns is unspecified, so all NaNs
/// are equal.
struct Exactly {
    float value;
    friend bool operator==(Exactly a, Exactly b) {
        return std::bit_cast<std::uint32_t>(a.value) == std::bit_cast<std::uint32_t>(b.value) ||
               (std::isnan(a.value) && std::isnan(b.value));
    }
    friend std::ostream& operator<<(std::ostream& os, Exactly a) {
        return os << a.value << " (" << std::hex << std::bit_cast<std::uint32_t>(a.value) << std::dec << ")";
    }
};

inline std::array<Exactly, 3> exactly(const Vec3& v) {
    return {Exactly{v[0]}, Exactly{v[1]}, Exactly{v[2]}};
}

/// Zeros, infinities, NaNs, denormals and the floats next to round numbers, of both signs.
inline std::vector<float> specialFloats() {
    std::vector<float> floats;
    for (const std::uint32_t bits :
         {0x00000000U, 0x00000001U, 0x00000002U, 0x007fffffU, 0x00800000U, 0x00800001U, 0x33800000U, 0x30897039U,
          0x3089705fU, 0x30897060U, 0x30897061U, 0x3effffffU, 0x3f000000U, 0x3f000001U, 0x3f7fffffU, 0x3f800000U,
          0x3f800001U, 0x40000000U, 0x4b000000U, 0x4b800000U, 0x7f000000U, 0x7f7fffffU, 0x7f800000U, 0x7fc00000U}) {
        floats.push_back(std::bit_cast<float>(bits));
        floats.push_back(std::bit_cast<float>(bits | 0x80000000U));
    }
    return floats;
}

/// Vectors of every mixture of special floats with one another and with ordinary numbers.
///
/// \param count how many; the same ones on every platform
inline std::vector<Vec3> mixedVectors(std::size_t count, std::uint32_t seed) {
    std::mt19937 engine(seed);
    const std::vector<float> special = specialFloats();
    const auto draw = [&]() -> float {
        switch (engine() % 8) {
        case 0:
            return special[engine() % special.size()];
        case 1:
            return std::bit_cast<float>(static_cast<std::uint32_t>(engine()) & 0xffbfffffU); // mostly finite
        default:
            return static_cast<float>(static_cast<std::int32_t>(engine())) * 0x1p-30F;
        }
    };
    std::vector<Vec3> vectors(count);
    for (Vec3& v : vectors) {
        v = {draw(), draw(), draw()};
    }
    return vectors;
}

/// Vectors of ordinary numbers from -2 to 2.
inline std::vector<Vec3> ordinaryVectors(std::size_t count, std::uint32_t seed) {
    std::mt19937 engine(seed);
    std::vector<Vec3> vectors(count);
    for (Vec3& v : vectors) {
        for (float& component : v) {
            component = static_cast<float>(static_cast<std::int32_t>(engine())) * 0x1p-30F;
        }
    }
    return vectors;
}

/// Affine, projecting, mirroring, singular, huge, tiny and random matrices.
inline std::vector<glm::mat4> variousMatrices() {
    std::vector<glm::mat4> matrices{glm::mat4(1.0F), glm::mat4(0.0F), glm::mat4(-1.0F), glm::mat4(2.0F)};
    glm::mat4 placed(2.0F);
    placed[3] = {1.0F, 2.0F, 3.0F, 1.0F};
    matrices.push_back(placed);
    glm::mat4 flat(1.0F);
    flat[0][0] = 0.0F;
    matrices.push_back(flat);
    glm::mat4 projection(0.0F);
    projection[0][0] = 1.5F;
    projection[1][1] = 2.0F;
    projection[2][2] = -1.002F;
    projection[2][3] = -1.0F;
    projection[3][2] = -0.2F;
    matrices.push_back(projection);
    std::mt19937 engine(7);
    for (const float scale : {1.0F, 1.0F, 1.0F, 1e-3F, 1e15F, 1e-20F}) {
        glm::mat4 m;
        for (int i = 0; i < 16; ++i) {
            m[i / 4][i % 4] = scale * static_cast<float>(static_cast<std::int32_t>(engine())) * 0x1p-31F;
        }
        matrices.push_back(m);
        m[0][3] = m[1][3] = m[2][3] = 0.0F;
        m[3][3] = 1.0F;
        matrices.push_back(m);
    }
    glm::mat4 odd(1.0F);
    odd[1][0] = std::bit_cast<float>(0x7f800000U);
    matrices.push_back(odd);
    odd[1][0] = std::bit_cast<float>(0x7fc00000U);
    matrices.push_back(odd);
    return matrices;
}

} // namespace vexa::test
