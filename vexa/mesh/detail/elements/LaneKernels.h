#pragma once

namespace vexa::mesh::detail {

/// Determinants up to this one make a matrix singular, and L1 norms below it are not divided by.
constexpr float smallestNorm = 1e-9F;

/// OctahedralCodec of one number of bits.
struct OctahedralKernels {
    void (*encode)(const void* normals, void* codes, unsigned long count);
    void (*decode)(const void* codes, void* normals, unsigned long count);
};

/// Transforms vectors at distances of `stride` bytes in source and target.
using TransformKernel = void (*)(const void* source, void* target, unsigned long count, const float* matrix,
                                 unsigned long stride);

/// The bulk functions of Kernels.h for one kind of processor. Matrices are 16 floats by columns, normal matrices 9 by
/// rows.
struct LaneKernels {
    TransformKernel transformPositions;
    TransformKernel transformNormals;
    TransformKernel transformDirections;
    TransformKernel transformUnitDirections;
    void (*extendBounds)(float* min, float* max, const void* positions, unsigned long count, const float* matrix);
    void (*packNormals)(const void* normals, void* bytes, unsigned long count);
    void (*unpackNormals)(const void* bytes, void* normals, unsigned long count);

    // Whether all unsigned integers, of any alignment, are at most a limit.
    bool (*areBytesUpTo)(const void* integers, unsigned long count, unsigned char limit);
    bool (*areShortsUpTo)(const void* integers, unsigned long count, unsigned short limit);
    bool (*areIntsUpTo)(const void* integers, unsigned long count, unsigned int limit);

    OctahedralKernels octahedral8;
    OctahedralKernels octahedral12;
    OctahedralKernels octahedral16;
};

extern const LaneKernels sse2Kernels;
extern const LaneKernels avx2Kernels; ///< absent from builds without VEXA_AVX2

/// The kernels for this processor.
const LaneKernels& laneKernels();

} // namespace vexa::mesh::detail
