#pragma once

#include "vexa/mesh/Types.h"

#include <array>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

/// The arithmetic on rows of packed elements, shared by all ways to access them.
///
/// Results are the same to the bit on every compiler and CPU, and for one element as for many: products and sums are
/// never fused, and their order is given in the comments. No pointer needs alignment. Source and target of one call are
/// the same place or do not overlap.
namespace vexa::mesh::detail {

/// The nine floats of a normal matrix by rows.
using NormalMatrix = std::array<std::array<float, 3>, 3>;

/// The distance in bytes between vectors without gaps. Other strides apply to source and target; what is between the
/// vectors is neither read nor written.
constexpr unsigned long packedStride = 3 * sizeof(float);

/// The matrix that turns normals along with points: see createClassicTransformation.
NormalMatrix calcNormalMatrix(const glm::mat4& m);

/// The first three components of m * (v, w): (m0 * x + m1 * y) + (m2 * z + m3 * w).
glm::vec3 transformVector(const glm::mat4& m, const glm::vec3& v, float w);

/// m * (p, 1) divided by its w; the order is that of transformVector.
void transformPositions(const void* source, void* target, unsigned long count, const glm::mat4& m,
                        unsigned long stride = packedStride);

/// t = N * n, each row summed left to right, divided by |t.x| + |t.y| + |t.z| unless that is below 1e-9 or NaN.
void transformNormals(const void* source, void* target, unsigned long count, const NormalMatrix& matrix,
                      unsigned long stride = packedStride);

/// The upper left 3 by 3 part of a placement.
NormalMatrix linearPart(const glm::mat4& m);

/// t = matrix * v, each row summed left to right.
void transformDirections(const void* source, void* target, unsigned long count, const NormalMatrix& matrix,
                         unsigned long stride = packedStride);

/// The same, with t divided by its length unless it is zero. Vectors whose squared length no float can hold, too small
/// or too large, are as precise as others.
void transformUnitDirections(const void* source, void* target, unsigned long count, const NormalMatrix& matrix,
                             unsigned long stride = packedStride);

struct Bounds {
    glm::vec3 min;
    glm::vec3 max;
};

/// The bounds of one position under a matrix: transformVector with a w of 1.
Bounds boundPosition(const void* position, const glm::mat4& m);

/// Extends bounds by positions under a matrix, one after the other: `q < min ? q : min` and `q > max ? q : max`.
void extendBounds(Bounds& bounds, const void* positions, unsigned long count, const glm::mat4& m);

/// quantizeNormal for each element.
void packNormals(const void* normals, void* bytes, unsigned long count);

/// dequantizeNormal for each element.
void unpackNormals(const void* bytes, void* normals, unsigned long count);

/// Whether all indices, sign-extended or zero-extended to 64 bits, are below a limit.
///
/// \param type one of the six integer types
bool areIndicesBelow(const void* indices, ComponentType type, unsigned long count, unsigned long limit);

/// Stores the low bits of index + offset, computed in 64 bits, for each index.
///
/// \param sourceType, targetType two of the six integer types
void shiftIndices(const void* source, ComponentType sourceType, void* target, ComponentType targetType,
                  unsigned long count, unsigned long offset);

/// Stores the indices in 32 bits: the one with all bits set as `restartIndex`, negative ones with their sign extended.
///
/// \param type one of the six integer types
void widenIndices(const void* source, ComponentType type, unsigned int* target, unsigned long count);

} // namespace vexa::mesh::detail
