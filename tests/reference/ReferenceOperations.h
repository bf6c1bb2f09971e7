#pragma once

#include <vexa/mesh/Types.h>

#include <array>
#include <cstdint>
#include <glm/mat4x4.hpp>
#include <vector>

/// The mesh operations on one element, written plainly. Every fast path is compared with them bit for bit.
namespace reference {

using Vec3 = std::array<float, 3>;
using Mat3 = std::array<Vec3, 3>; ///< by rows
using PackedNormal = std::array<unsigned char, 2>;

/// The first three components of m * (v, w).
Vec3 transformVector(const glm::mat4& m, const Vec3& v, float w);

Vec3 transformPosition(const glm::mat4& m, const Vec3& position);

/// The inverse transpose of the upper left part of a matrix, or that part when it is singular.
Mat3 normalMatrix(const glm::mat4& m);

Vec3 transformNormal(const Mat3& matrix, const Vec3& normal);

struct Box {
    Vec3 min;
    Vec3 max;
};

/// \param positions at least one
Box bounds(const std::vector<Vec3>& positions, const glm::mat4& m);

float wrap(float a, float b);
std::array<float, 2> encode(const Vec3& normal);
PackedNormal quantize(const Vec3& normal);
Vec3 dequantize(const PackedNormal& packed);

/// The value that an index buffer of a type reads back after storing one.
std::uint64_t storedIndex(vexa::mesh::ComponentType type, std::uint64_t value);

} // namespace reference
