#include "vexa/mesh/detail/Kernels.h"

#include "vexa/mesh/NormalQuantization.h"

#include <cmath>
#include <cstring>

namespace vexa::mesh::detail {

namespace {

constexpr float leastNorm = 1e-9F;

glm::vec3 loadVector(const void* elements, unsigned long index) {
    glm::vec3 vector;
    std::memcpy(&vector, static_cast<const unsigned char*>(elements) + index * sizeof vector, sizeof vector);
    return vector;
}

void storeVector(void* elements, unsigned long index, const glm::vec3& vector) {
    std::memcpy(static_cast<unsigned char*>(elements) + index * sizeof vector, &vector, sizeof vector);
}

} // namespace

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
    const bool isSingular = std::abs(determinant) <= leastNorm;
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

void transformPositions(const void* source, void* target, unsigned long count, const glm::mat4& m) {
    for (unsigned long i = 0; i < count; ++i) {
        const glm::vec3 p = loadVector(source, i);
        const float w = (m[0][3] * p.x + m[1][3] * p.y) + (m[2][3] * p.z + m[3][3]);
        const glm::vec3 q = transformVector(m, p, 1.0F);
        storeVector(target, i, {q.x / w, q.y / w, q.z / w});
    }
}

void transformNormals(const void* source, void* target, unsigned long count, const NormalMatrix& matrix) {
    for (unsigned long i = 0; i < count; ++i) {
        const glm::vec3 n = loadVector(source, i);
        const auto row = [&](std::size_t r) { return (matrix[r][0] * n.x + matrix[r][1] * n.y) + matrix[r][2] * n.z; };
        const glm::vec3 t(row(0), row(1), row(2));
        const float norm = (std::abs(t.x) + std::abs(t.y)) + std::abs(t.z);
        const float divisor = norm >= leastNorm ? norm : 1.0F;
        storeVector(target, i, {t.x / divisor, t.y / divisor, t.z / divisor});
    }
}

Bounds boundPosition(const void* position, const glm::mat4& m) {
    const glm::vec3 q = transformVector(m, loadVector(position, 0), 1.0F);
    return {q, q};
}

void extendBounds(Bounds& bounds, const void* positions, unsigned long count, const glm::mat4& m) {
    for (unsigned long i = 0; i < count; ++i) {
        const glm::vec3 q = transformVector(m, loadVector(positions, i), 1.0F);
        for (int k = 0; k < 3; ++k) {
            bounds.min[k] = q[k] < bounds.min[k] ? q[k] : bounds.min[k];
            bounds.max[k] = q[k] > bounds.max[k] ? q[k] : bounds.max[k];
        }
    }
}

void packNormals(const void* normals, void* bytes, unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) {
        glm::vec3 normal = loadVector(normals, i);
        quantizeNormal(&normal, static_cast<unsigned char*>(bytes) + 2 * i);
    }
}

void unpackNormals(const void* bytes, void* normals, unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) {
        unsigned char packed[2];
        std::memcpy(packed, static_cast<const unsigned char*>(bytes) + 2 * i, sizeof packed);
        glm::vec3 normal;
        dequantizeNormal(packed, &normal);
        storeVector(normals, i, normal);
    }
}

} // namespace vexa::mesh::detail
