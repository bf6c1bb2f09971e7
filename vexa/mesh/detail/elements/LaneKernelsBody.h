#pragma once

#include "vexa/mesh/detail/elements/LaneKernels.h"
#include "vexa/mesh/detail/elements/Lanes.h"
#include "vexa/mesh/detail/elements/OctahedralLanes.h"

// The kernels, for the number of lanes of the including source. Lanes.h lists functions that must not be used here.
namespace vexa::mesh::detail {
namespace {

constexpr unsigned long blockOfVectors = laneCount * vectorSize;
constexpr unsigned long packedSize = 2;

/// Copies elements to a block and fills the rest with the last one, so that excess lanes repeat its computation.
inline void padElements(const unsigned char* elements, unsigned long elementSize, unsigned long count,
                        unsigned char* block) {
    for (unsigned long i = 0; i < laneCount; ++i) {
        const unsigned long index = i < count ? i : count - 1;
        std::memcpy(block + i * elementSize, elements + index * elementSize, elementSize);
    }
}

/// Applies `step(source, target, blockCount)`, which works on whole blocks of lanes, to a row of elements. Elements
/// after the last whole block go through the same instructions in a padded copy: even which of several NaNs results
/// does not depend on an element's position.
template <unsigned long SourceSize, unsigned long TargetSize, typename Step>
void forEachBlock(const void* source, void* target, unsigned long count, const Step& step) {
    const auto* from = static_cast<const unsigned char*>(source);
    auto* to = static_cast<unsigned char*>(target);
    const unsigned long done = count - count % laneCount;
    if (done != 0) {
        step(from, to, done / laneCount);
    }
    if (done != count) {
        unsigned char sourceBlock[laneCount * SourceSize];
        unsigned char targetBlock[laneCount * TargetSize];
        padElements(from + done * SourceSize, SourceSize, count - done, sourceBlock);
        step(sourceBlock, targetBlock, 1);
        std::memcpy(to + done * TargetSize, targetBlock, (count - done) * TargetSize);
    }
}

/// Vectors without gaps between them.
struct PackedVectors {
    static constexpr unsigned long blockSize = blockOfVectors;
    static VectorLanes load(const unsigned char* vectors) { return loadVectors(vectors); }
    static void store(unsigned char* vectors, const VectorLanes& lanes) { storeVectors(vectors, lanes); }
};

/// Vectors at distances of a stride.
struct StridedVectors {
    unsigned long stride;
    unsigned long blockSize;

    explicit StridedVectors(unsigned long strideInBytes) : stride(strideInBytes), blockSize(laneCount * stride) {}
    VectorLanes load(const unsigned char* vectors) const { return loadVectors(vectors, stride); }
    void store(unsigned char* vectors, const VectorLanes& lanes) const { storeVectors(vectors, stride, lanes); }
};

/// Calls `step(layout, source, target, blockCount)` for vectors at distances of a stride, as forEachBlock does.
template <typename Step>
void forEachBlockOfVectors(const void* source, void* target, unsigned long count, unsigned long stride,
                           const Step& step) {
    if (stride == vectorSize) {
        forEachBlock<vectorSize, vectorSize>(
            source, target, count, [&](const unsigned char* from, unsigned char* to, unsigned long blockCount) {
                step(PackedVectors(), from, to, blockCount);
            });
        return;
    }
    const auto* from = static_cast<const unsigned char*>(source);
    auto* to = static_cast<unsigned char*>(target);
    const unsigned long done = count - count % laneCount;
    if (done != 0) {
        step(StridedVectors(stride), from, to, done / laneCount);
    }
    if (done != count) {
        unsigned char block[blockOfVectors];
        for (unsigned long i = 0; i < laneCount; ++i) {
            const unsigned long index = done + i < count ? done + i : count - 1;
            std::memcpy(block + i * vectorSize, from + index * stride, vectorSize);
        }
        step(StridedVectors(vectorSize), block, block, 1);
        for (unsigned long i = done; i < count; ++i) {
            std::memcpy(to + i * stride, block + (i - done) * vectorSize, vectorSize);
        }
    }
}

/// One row of a matrix, each entry in all lanes.
struct MatrixRow {
    FloatLanes x;
    FloatLanes y;
    FloatLanes z;
    FloatLanes w;

    MatrixRow(const float* matrix, int row)
        : x(allLanes(matrix[row])), y(allLanes(matrix[4 + row])), z(allLanes(matrix[8 + row])),
          w(allLanes(matrix[12 + row])) {}

    /// The row times (v, 1), summed in pairs.
    [[nodiscard]] FloatLanes times(const VectorLanes& v) const { return (x * v.x + y * v.y) + (z * v.z + w); }
};

struct AffineRows {
    MatrixRow x;
    MatrixRow y;
    MatrixRow z;

    explicit AffineRows(const float* matrix) : x(matrix, 0), y(matrix, 1), z(matrix, 2) {}

    [[nodiscard]] VectorLanes times(const VectorLanes& v) const { return {x.times(v), y.times(v), z.times(v)}; }
};

template <typename Layout>
[[gnu::noinline]] void placeBlocks(const Layout& layout, const unsigned char* source, unsigned char* target,
                                   unsigned long blockCount, const float* matrix) {
    const AffineRows rows(matrix);
    const MatrixRow last(matrix, 3);
    const FloatLanes one = allLanes(1.0F);
    constexpr int allEqual = (1 << laneCount) - 1;
    for (unsigned long i = 0; i < blockCount; ++i) {
        const VectorLanes p = layout.load(source + i * layout.blockSize);
        VectorLanes q = rows.times(p);
        const FloatLanes w = last.times(p);
        // A division by 1 changes no bit, and w is 1 for every placement without perspective.
        if (laneMask(areEqual(w, one)) != allEqual) {
            q = {q.x / w, q.y / w, q.z / w};
        }
        layout.store(target + i * layout.blockSize, q);
    }
}

inline VectorLanes divided(const VectorLanes& v, FloatLanes divisor) {
    return {v.x / divisor, v.y / divisor, v.z / divisor};
}

/// v divided by |v.x| + |v.y| + |v.z|.
inline VectorLanes withUnitSum(const VectorLanes& v) {
    const FloatLanes norm = (absolute(v.x) + absolute(v.y)) + absolute(v.z);
    // Dividing by 1 has the same result as no division.
    return divided(v, select(areAtLeast(norm, allLanes(smallestNorm)), norm, allLanes(1.0F)));
}

/// v divided by its length.
inline VectorLanes withUnitLength(const VectorLanes& v) {
    const FloatLanes one = allLanes(1.0F);
    VectorLanes u = v;
    FloatLanes square = squareOf(u);
    const FloatLanes isPrecise = bothBits(areAtLeast(square, allLanes(1e-30F)), areAtLeast(allLanes(1e30F), square));
    constexpr int all = (1 << laneCount) - 1;
    if (laneMask(isPrecise) != all) {
        const FloatLanes largest = maximum(maximum(absolute(v.x), absolute(v.y)), absolute(v.z));
        const FloatLanes isZero = areEqual(largest, allLanes(0.0F));
        u = divided(u, select(isPrecise, one, select(isZero, one, largest)));
        square = squareOf(u);
        square = select(isZero, one, square);
    }
    return divided(u, squareRoot(square));
}

/// Turns vectors by a 3 by 3 matrix, and gives each the length that `scaled(vector)` returns it with.
template <typename Layout, typename Scaled>
[[gnu::noinline]] void turnBlocks(const Layout& layout, const unsigned char* source, unsigned char* target,
                                  unsigned long blockCount, const float* matrix, const Scaled& scaled) {
    FloatLanes m[9];
    for (int i = 0; i < 9; ++i) {
        m[i] = allLanes(matrix[i]);
    }
    for (unsigned long i = 0; i < blockCount; ++i) {
        const VectorLanes n = layout.load(source + i * layout.blockSize);
        const VectorLanes t{(m[0] * n.x + m[1] * n.y) + m[2] * n.z, (m[3] * n.x + m[4] * n.y) + m[5] * n.z,
                            (m[6] * n.x + m[7] * n.y) + m[8] * n.z};
        layout.store(target + i * layout.blockSize, scaled(t));
    }
}

/// The bounds of as many chains of positions as there are lanes.
struct BoundsLanes {
    VectorLanes min;
    VectorLanes max;
};

[[gnu::noinline]] void boundBlocks(BoundsLanes& bounds, const unsigned char* positions, unsigned long blockCount,
                                   const float* matrix) {
    const AffineRows rows(matrix);
    VectorLanes min = bounds.min;
    VectorLanes max = bounds.max;
    for (unsigned long i = 0; i < blockCount; ++i) {
        const VectorLanes q = rows.times(loadVectors(positions + i * blockOfVectors));
        // The order of the operands matters: the result is the second one if either is NaN or both are zeros.
        min = {minimum(q.x, min.x), minimum(q.y, min.y), minimum(q.z, min.z)};
        max = {maximum(q.x, max.x), maximum(q.y, max.y), maximum(q.z, max.z)};
    }
    bounds = {min, max};
}

/// The first zero, of either sign, among a component's values at the placed positions. There must be one.
inline float findFirstZero(const unsigned char* positions, unsigned long count, const float* matrix, int component) {
    const MatrixRow row(matrix, component);
    unsigned long begin = 0;
    while (begin + laneCount <= count &&
           laneMask(areEqual(row.times(loadVectors(positions + begin * vectorSize)), allLanes(0.0F))) == 0) {
        begin += laneCount;
    }
    unsigned char block[blockOfVectors];
    float values[laneCount];
    padElements(positions + begin * vectorSize, vectorSize, count - begin, block);
    storeFloats(values, row.times(loadVectors(block)));
    unsigned long lane = 0;
    while (values[lane] != 0.0F) {
        ++lane;
    }
    return values[lane];
}

/// The result of the sequential chain that is spread over the lanes, from its initial value and the results of the
/// lanes. They agree in value, but if there are zeros of both signs, a sequential chain keeps the first.
inline float endOfChain(float begin, FloatLanes lanes, bool isMinimum, const unsigned char* positions,
                        unsigned long count, const float* matrix, int component) {
    float ends[laneCount];
    storeFloats(ends, lanes);
    float end = ends[0];
    for (const float other : ends) {
        end = (isMinimum ? other < end : other > end) ? other : end;
    }
    if (end != 0.0F) {
        return end;
    }
    return begin == 0.0F ? begin : findFirstZero(positions, count, matrix, component);
}

void extendBounds(float* min, float* max, const void* positions, unsigned long count, const float* matrix) {
    const auto* bytes = static_cast<const unsigned char*>(positions);
    BoundsLanes lanes{{allLanes(min[0]), allLanes(min[1]), allLanes(min[2])},
                      {allLanes(max[0]), allLanes(max[1]), allLanes(max[2])}};
    const unsigned long done = count - count % laneCount;
    boundBlocks(lanes, bytes, done / laneCount, matrix);
    if (done != count) {
        unsigned char block[blockOfVectors];
        padElements(bytes + done * vectorSize, vectorSize, count - done, block);
        boundBlocks(lanes, block, 1, matrix);
    }
    min[0] = endOfChain(min[0], lanes.min.x, true, bytes, count, matrix, 0);
    min[1] = endOfChain(min[1], lanes.min.y, true, bytes, count, matrix, 1);
    min[2] = endOfChain(min[2], lanes.min.z, true, bytes, count, matrix, 2);
    max[0] = endOfChain(max[0], lanes.max.x, false, bytes, count, matrix, 0);
    max[1] = endOfChain(max[1], lanes.max.y, false, bytes, count, matrix, 1);
    max[2] = endOfChain(max[2], lanes.max.z, false, bytes, count, matrix, 2);
}

/// wrapOctahedronNormalValue. Rounding a difference of two floats to double and then to float is the same as rounding
/// it to float directly (Figueroa 1995: a double has more than twice a float's digits). A factor of 1 or -1 is a sign.
inline FloatLanes wrap(FloatLanes a, FloatLanes b) {
    const FloatLanes sign = bitsBut(signBits(), areAtLeast(a, allLanes(0.0F)));
    return flipBits(allLanes(1.0F) - absolute(b), sign);
}

/// p * 0.5 + 0.5, clamped to [0, 1], times 255: truncated this is the byte. Rounding the product first makes no
/// difference, because it is never rounded up to an integer k. For floats from 1/2 on it is below k by a multiple of
/// 1/2^24, and by at least k / 2^24, because 2^24 is 1 modulo 255; rounding up bridges less. Smaller floats are finer,
/// and the same holds for them.
inline FloatLanes toByteRange(FloatLanes p) {
    const FloatLanes half = allLanes(0.5F);
    // Both return the second operand for NaN, which therefore becomes 1.
    const FloatLanes clamped = maximum(minimum(p * half + half, allLanes(1.0F)), allLanes(0.0F));
    return clamped * allLanes(255.0F);
}

[[gnu::noinline]] void packBlocks(const unsigned char* normals, unsigned char* bytes, unsigned long blockCount) {
    for (unsigned long i = 0; i < blockCount; ++i) {
        const VectorLanes n = loadVectors(normals + i * blockOfVectors);
        const FloatLanes norm = sumInDouble(absolute(n.x), absolute(n.y), absolute(n.z));
        const FloatLanes p = n.x / norm;
        const FloatLanes q = n.y / norm;
        const FloatLanes isLower = areBelow(n.z, allLanes(0.0F));
        storeBytePairs(bytes + i * laneCount * packedSize, toByteRange(select(isLower, wrap(p, q), p)),
                       toByteRange(select(isLower, wrap(q, p), q)));
    }
}

/// 2 * (byte / 255) - 1. Rounding the quotient to float immediately gives the same result (see wrap).
inline FloatLanes fromByteRange(FloatLanes bytes) {
    return allLanes(2.0F) * (bytes / allLanes(255.0F)) - allLanes(1.0F);
}

[[gnu::noinline]] void unpackBlocks(const unsigned char* bytes, unsigned char* normals, unsigned long blockCount) {
    for (unsigned long i = 0; i < blockCount; ++i) {
        FloatLanes first;
        FloatLanes second;
        loadBytePairs(bytes + i * laneCount * packedSize, first, second);
        const FloatLanes x = fromByteRange(first);
        const FloatLanes y = fromByteRange(second);
        const FloatLanes z = (allLanes(1.0F) - absolute(x)) - absolute(y);
        const FloatLanes isUpper = areAtLeast(z, allLanes(0.0F));
        storeVectors(normals + i * blockOfVectors, {select(isUpper, x, wrap(x, y)), select(isUpper, y, wrap(y, x)), z});
    }
}

void transformPositions(const void* source, void* target, unsigned long count, const float* matrix,
                        unsigned long stride) {
    forEachBlockOfVectors(source, target, count, stride,
                          [matrix](const auto& layout, const unsigned char* from, unsigned char* to,
                                   unsigned long blockCount) { placeBlocks(layout, from, to, blockCount, matrix); });
}

template <typename Scaled>
void turnVectors(const void* source, void* target, unsigned long count, const float* matrix, unsigned long stride,
                 const Scaled& scaled) {
    forEachBlockOfVectors(source, target, count, stride,
                          [&](const auto& layout, const unsigned char* from, unsigned char* to,
                              unsigned long blockCount) { turnBlocks(layout, from, to, blockCount, matrix, scaled); });
}

void transformNormals(const void* source, void* target, unsigned long count, const float* normalMatrix,
                      unsigned long stride) {
    turnVectors(source, target, count, normalMatrix, stride, [](const VectorLanes& v) { return withUnitSum(v); });
}

void transformDirections(const void* source, void* target, unsigned long count, const float* matrix,
                         unsigned long stride) {
    turnVectors(source, target, count, matrix, stride, [](const VectorLanes& v) { return v; });
}

void transformUnitDirections(const void* source, void* target, unsigned long count, const float* matrix,
                             unsigned long stride) {
    turnVectors(source, target, count, matrix, stride, [](const VectorLanes& v) { return withUnitLength(v); });
}

void packNormals(const void* normals, void* bytes, unsigned long count) {
    forEachBlock<vectorSize, packedSize>(normals, bytes, count, packBlocks);
}

void unpackNormals(const void* bytes, void* normals, unsigned long count) {
    forEachBlock<packedSize, vectorSize>(bytes, normals, count, unpackBlocks);
}

/// Whether all integers are at most a limit. The size must be a multiple of four registers.
template <typename Unsigned>
[[gnu::noinline]] bool areBlocksUpTo(const unsigned char* integers, unsigned long sizeInBytes, Unsigned limit) {
    using Lanes = typename IntegerLanes<Unsigned>::Type;
    constexpr unsigned long ahead = 1024;
    const Lanes limits = Lanes{} + limit;
    Lanes isAbove{};
    for (unsigned long i = 0; i < sizeInBytes; i += 4 * sizeof(Lanes)) {
        __builtin_prefetch(integers + i + ahead);
        __builtin_prefetch(integers + i + ahead + 2 * sizeof(Lanes));
        for (unsigned long j = 0; j < 4; ++j) {
            Lanes lanes;
            std::memcpy(&lanes, integers + i + j * sizeof lanes, sizeof lanes);
            isAbove |= Lanes(lanes > limits);
        }
    }
    Unsigned any = 0;
    for (unsigned long i = 0; i < sizeof(Lanes) / sizeof(Unsigned); ++i) {
        any |= isAbove[i];
    }
    return any == 0;
}

template <typename Unsigned>
bool areUpTo(const void* integers, unsigned long count, Unsigned limit) {
    const auto* bytes = static_cast<const unsigned char*>(integers);
    const unsigned long sizeInBytes = count * sizeof(Unsigned);
    constexpr unsigned long step = 4 * sizeof(FloatLanes);
    // In pieces, to return early if one of the first integers is above.
    constexpr unsigned long pieceSize = 16384;
    unsigned long done = 0;
    while (sizeInBytes - done >= step) {
        const unsigned long rest = sizeInBytes - done - (sizeInBytes - done) % step;
        const unsigned long piece = rest < pieceSize ? rest : pieceSize;
        if (!areBlocksUpTo(bytes + done, piece, limit)) {
            return false;
        }
        done += piece;
    }
    if (done == sizeInBytes) {
        return true;
    }
    unsigned char block[step] = {};
    std::memcpy(block, bytes + done, sizeInBytes - done);
    return areBlocksUpTo(block, step, limit);
}

template <int Bits>
void encodeOctahedral(const void* normals, void* codes, unsigned long count) {
    forEachBlock<vectorSize, OctahedralCodes<Bits>::size>(normals, codes, count, encodeBlocks<Bits>);
}

template <int Bits>
void decodeOctahedral(const void* codes, void* normals, unsigned long count) {
    forEachBlock<OctahedralCodes<Bits>::size, vectorSize>(codes, normals, count, decodeBlocks<Bits>);
}

template <int Bits>
constexpr OctahedralKernels octahedralKernels{encodeOctahedral<Bits>, decodeOctahedral<Bits>};

constexpr LaneKernels ownKernels{
    transformPositions,   transformNormals,      transformDirections,    transformUnitDirections, extendBounds,
    packNormals,          unpackNormals,         areUpTo<unsigned char>, areUpTo<unsigned short>, areUpTo<unsigned int>,
    octahedralKernels<8>, octahedralKernels<12>, octahedralKernels<16>};

} // namespace
} // namespace vexa::mesh::detail
