#include "vexa/mesh/detail/elements/Kernels.h"

#include "vexa/mesh/detail/elements/LaneKernels.h"

#include <cmath>
#include <cstring>

namespace vexa::mesh::detail {

const LaneKernels& laneKernels() {
#ifdef VEXA_AVX2
    return __builtin_cpu_supports("avx2") != 0 ? avx2Kernels : sse2Kernels;
#else
    return sse2Kernels;
#endif
}

NormalMatrix calcNormalMatrix(const glm::mat4& m) {
    const auto at = [&m](int row, int column) { return m[column % 3][row % 3]; };
    NormalMatrix cofactors;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            cofactors[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] =
                at(row + 1, column + 1) * at(row + 2, column + 2) - at(row + 1, column + 2) * at(row + 2, column + 1);
        }
    }
    const float determinant = at(0, 0) * cofactors[0][0] + at(0, 1) * cofactors[0][1] + at(0, 2) * cofactors[0][2];
    const bool isSingular = std::abs(determinant) <= smallestNorm;
    NormalMatrix matrix;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            const auto r = static_cast<std::size_t>(row);
            const auto c = static_cast<std::size_t>(column);
            matrix[r][c] = isSingular ? at(row, column) : cofactors[r][c] / determinant;
        }
    }
    return matrix;
}

glm::vec3 transformVector(const glm::mat4& m, const glm::vec3& v, float w) {
    const auto row = [&](int r) { return (m[0][r] * v.x + m[1][r] * v.y) + (m[2][r] * v.z + m[3][r] * w); };
    return {row(0), row(1), row(2)};
}

Bounds boundPosition(const void* position, const glm::mat4& m) {
    glm::vec3 p;
    std::memcpy(&p, position, sizeof p);
    const glm::vec3 q = transformVector(m, p, 1.0F);
    return {q, q};
}

void transformPositions(const void* source, void* target, unsigned long count, const glm::mat4& m,
                        unsigned long stride) {
    laneKernels().transformPositions(source, target, count, &m[0][0], stride);
}

void transformNormals(const void* source, void* target, unsigned long count, const NormalMatrix& matrix,
                      unsigned long stride) {
    laneKernels().transformNormals(source, target, count, matrix[0].data(), stride);
}

NormalMatrix linearPart(const glm::mat4& m) {
    return {{{m[0][0], m[1][0], m[2][0]}, {m[0][1], m[1][1], m[2][1]}, {m[0][2], m[1][2], m[2][2]}}};
}

void transformDirections(const void* source, void* target, unsigned long count, const NormalMatrix& matrix,
                         unsigned long stride) {
    laneKernels().transformDirections(source, target, count, matrix[0].data(), stride);
}

void transformUnitDirections(const void* source, void* target, unsigned long count, const NormalMatrix& matrix,
                             unsigned long stride) {
    laneKernels().transformUnitDirections(source, target, count, matrix[0].data(), stride);
}

void extendBounds(Bounds& bounds, const void* positions, unsigned long count, const glm::mat4& m) {
    laneKernels().extendBounds(&bounds.min.x, &bounds.max.x, positions, count, &m[0][0]);
}

void packNormals(const void* normals, void* bytes, unsigned long count) {
    laneKernels().packNormals(normals, bytes, count);
}

void unpackNormals(const void* bytes, void* normals, unsigned long count) {
    laneKernels().unpackNormals(bytes, normals, count);
}

} // namespace vexa::mesh::detail
