#include "reference/ReferenceOperations.h"

#include <cmath>

namespace reference {

Vec3 transformVector(const glm::mat4& m, const Vec3& v, float w) {
    Vec3 result;
    for (int r = 0; r < 3; ++r) {
        const float first = m[0][r] * v[0] + m[1][r] * v[1];
        const float second = m[2][r] * v[2] + m[3][r] * w;
        result[static_cast<std::size_t>(r)] = first + second;
    }
    return result;
}

Vec3 transformPosition(const glm::mat4& m, const Vec3& position) {
    const Vec3 q = transformVector(m, position, 1.0F);
    const float first = m[0][3] * position[0] + m[1][3] * position[1];
    const float second = m[2][3] * position[2] + m[3][3] * 1.0F;
    const float w = first + second;
    return {q[0] / w, q[1] / w, q[2] / w};
}

Mat3 normalMatrix(const glm::mat4& m) {
    const float a = m[0][0];
    const float b = m[1][0];
    const float c = m[2][0];
    const float d = m[0][1];
    const float e = m[1][1];
    const float f = m[2][1];
    const float g = m[0][2];
    const float h = m[1][2];
    const float i = m[2][2];
    const float ca = e * i - f * h;
    const float cb = f * g - d * i;
    const float cc = d * h - e * g;
    const float determinant = a * ca + b * cb + c * cc;
    if (std::fabs(determinant) <= 1e-9F) {
        return {{{a, b, c}, {d, e, f}, {g, h, i}}};
    }
    const float cd = h * c - i * b;
    const float ce = i * a - g * c;
    const float cf = g * b - h * a;
    const float cg = b * f - c * e;
    const float ch = c * d - a * f;
    const float ci = a * e - b * d;
    return {{{ca / determinant, cb / determinant, cc / determinant},
             {cd / determinant, ce / determinant, cf / determinant},
             {cg / determinant, ch / determinant, ci / determinant}}};
}

Vec3 transformNormal(const Mat3& matrix, const Vec3& normal) {
    Vec3 t;
    for (std::size_t r = 0; r < 3; ++r) {
        float sum = matrix[r][0] * normal[0];
        sum = sum + matrix[r][1] * normal[1];
        t[r] = sum + matrix[r][2] * normal[2];
    }
    float s = std::fabs(t[0]);
    s = s + std::fabs(t[1]);
    s = s + std::fabs(t[2]);
    if (s >= 1e-9F) {
        return {t[0] / s, t[1] / s, t[2] / s};
    }
    return t;
}

Box bounds(const std::vector<Vec3>& positions, const glm::mat4& m) {
    Box box{};
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const Vec3 q = transformVector(m, positions[i], 1.0F);
        for (std::size_t k = 0; k < 3; ++k) {
            if (i == 0 || q[k] < box.min[k]) {
                box.min[k] = q[k];
            }
            if (i == 0 || q[k] > box.max[k]) {
                box.max[k] = q[k];
            }
        }
    }
    return box;
}

float wrap(float a, float b) {
    double result = 1.0 - std::fabs(static_cast<double>(b));
    if (a >= 0) {
        result = result * 1.0;
    } else {
        result = result * -1.0;
    }
    return static_cast<float>(result);
}

std::array<float, 2> encode(const Vec3& normal) {
    double sum = std::fabs(static_cast<double>(normal[0]));
    sum += std::fabs(static_cast<double>(normal[1]));
    sum += std::fabs(static_cast<double>(normal[2]));
    const auto n = static_cast<float>(sum);
    float p = normal[0] / n;
    float q = normal[1] / n;
    if (normal[2] < 0) {
        const float folded = wrap(p, q);
        q = wrap(q, p);
        p = folded;
    }
    return {p * 0.5F + 0.5F, q * 0.5F + 0.5F};
}

PackedNormal quantize(const Vec3& normal) {
    PackedNormal packed{};
    const std::array<float, 2> coordinates = encode(normal);
    for (std::size_t i = 0; i < 2; ++i) {
        const double d = coordinates[i];
        double clamped = 1;
        if (d < 1) {
            clamped = d > 0 ? d : 0;
        }
        packed[i] = static_cast<unsigned char>(std::floor(clamped * 255.0));
    }
    return packed;
}

Vec3 dequantize(const PackedNormal& packed) {
    const auto a = static_cast<float>(packed[0] / 255.0);
    const auto b = static_cast<float>(packed[1] / 255.0);
    const float x = 2 * a - 1;
    const float y = 2 * b - 1;
    float z = 1 - std::fabs(x);
    z = z - std::fabs(y);
    if (z >= 0) {
        return {x, y, z};
    }
    return {wrap(x, y), wrap(y, x), z};
}

std::uint64_t storedIndex(vexa::mesh::ComponentType type, std::uint64_t value) {
    const int bits = type <= vexa::mesh::UNSIGNED_BYTE ? 8 : type <= vexa::mesh::UNSIGNED_SHORT ? 16 : 32;
    const bool isSigned = type == vexa::mesh::BYTE || type == vexa::mesh::SHORT || type == vexa::mesh::INT;
    const std::uint64_t low = value % (std::uint64_t{1} << bits);
    const bool isNegative = isSigned && low >= std::uint64_t{1} << (bits - 1);
    return isNegative ? low - (std::uint64_t{1} << bits) : low;
}

} // namespace reference
