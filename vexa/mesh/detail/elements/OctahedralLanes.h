#pragma once

#include "vexa/mesh/detail/elements/Lanes.h"

// The arithmetic of OctahedralCodec on lanes. Lanes.h says what must not be used here.
//
// Coordinates are multiples of 1 / (2^(Bits - 1) - 1). In this unit, codes and the points of the octahedron that they
// stand for are whole numbers, which floats represent exactly.
namespace vexa::mesh::detail {
namespace {

/// `a` with the sign of `b`, where zeros of both signs count as positive.
inline FloatLanes withSignOf(FloatLanes a, FloatLanes b) {
    return flipBits(a, bitsBut(signBits(), areAtLeast(b, allLanes(0.0F))));
}

/// The point of an octahedron of a radius that lies under two coordinates.
inline VectorLanes unfold(FloatLanes first, FloatLanes second, FloatLanes radius) {
    const FloatLanes z = (radius - absolute(first)) - absolute(second);
    const FloatLanes depth = maximum(allLanes(0.0F) - z, allLanes(0.0F));
    return {first - withSignOf(depth, first), second - withSignOf(depth, second), z};
}

inline FloatLanes dot(const VectorLanes& a, const VectorLanes& b) {
    return (a.x * b.x + a.y * b.y) + a.z * b.z;
}

/// A candidate for the code of a vector in the octant of positive coordinates, which is the point (first, second, radius
/// - first - second). The squared sine of the angle between them is a quotient, but for the length of the vector.
struct Candidate {
    FloatLanes first;
    FloatLanes second;
    FloatLanes numerator;
    FloatLanes denominator;
};

/// \param cross the cross product of the point and the vector: precise for small angles, where a dot product is not
inline Candidate judge(const VectorLanes& cross, FloatLanes first, FloatLanes second, FloatLanes radius) {
    const VectorLanes point{first, second, (radius - first) - second};
    return {first, second, dot(cross, cross), dot(point, point)};
}

/// The better of two candidates; not one beyond the octant.
inline Candidate betterOf(const Candidate& a, const Candidate& b, FloatLanes radius) {
    const FloatLanes isBetter = bothBits(areBelow(b.numerator * a.denominator, a.numerator * b.denominator),
                                         areAtLeast(radius, b.first + b.second));
    return {select(isBetter, b.first, a.first), select(isBetter, b.second, a.second),
            select(isBetter, b.numerator, a.numerator), select(isBetter, b.denominator, a.denominator)};
}

inline VectorLanes sum(const VectorLanes& a, const VectorLanes& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

/// Multiplied by a power of two, no vector is too short or too long to be squared. One that is zero, infinite or NaN
/// becomes (0, 0, 1).
inline VectorLanes normaliseMagnitude(const VectorLanes& vectors) {
    const auto normOf = [](const VectorLanes& v) { return (absolute(v.x) + absolute(v.y)) + absolute(v.z); };
    const FloatLanes one = allLanes(1.0F);
    const FloatLanes norm = normOf(vectors);
    const FloatLanes factor = select(areBelow(norm, allLanes(0x1p-40F)), allLanes(0x1p100F),
                                     select(areBelow(allLanes(0x1p40F), norm), allLanes(0x1p-100F), one));
    const VectorLanes n{vectors.x * factor, vectors.y * factor, vectors.z * factor};
    const FloatLanes scaledNorm = normOf(n);
    const FloatLanes isVector =
        bothBits(areAtLeast(scaledNorm, allLanes(0x1p-60F)), areAtLeast(allLanes(0x1p60F), scaledNorm));
    return {bothBits(n.x, isVector), bothBits(n.y, isVector), select(isVector, n.z, one)};
}

/// The best two coordinates for each vector.
inline void encodeLanes(const VectorLanes& vectors, FloatLanes radius, FloatLanes& first, FloatLanes& second) {
    const VectorLanes n = normaliseMagnitude(vectors);
    const VectorLanes v{absolute(n.x), absolute(n.y), absolute(n.z)};
    const FloatLanes scale = radius / ((v.x + v.y) + v.z);
    const FloatLanes firstBelow = truncate(v.x * scale);
    const FloatLanes secondBelow = truncate(v.y * scale);
    const FloatLanes one = allLanes(1.0F);
    const FloatLanes firstAbove = firstBelow + one;
    const FloatLanes secondAbove = secondBelow + one;
    const FloatLanes third = (radius - firstBelow) - secondBelow;
    // The cross products of neighbouring points differ by those of (1, 0, -1) and (0, 1, -1).
    const VectorLanes cross{secondBelow * v.z - third * v.y, third * v.x - firstBelow * v.z,
                            firstBelow * v.y - secondBelow * v.x};
    const VectorLanes crossOfFirst = sum(cross, {v.y, allLanes(0.0F) - (v.x + v.z), v.y});
    const VectorLanes step{v.y + v.z, allLanes(0.0F) - v.x, allLanes(0.0F) - v.x};
    Candidate best = judge(cross, firstBelow, secondBelow, radius);
    best = betterOf(best, judge(crossOfFirst, firstAbove, secondBelow, radius), radius);
    best = betterOf(best, judge(sum(cross, step), firstBelow, secondAbove, radius), radius);
    best = betterOf(best, judge(sum(crossOfFirst, step), firstAbove, secondAbove, radius), radius);
    // The lower half is folded over the upper one.
    const FloatLanes isLower = areBelow(n.z, allLanes(0.0F));
    first = withSignOf(select(isLower, radius - best.second, best.first), n.x);
    second = withSignOf(select(isLower, radius - best.first, best.second), n.y);
}

inline VectorLanes decodeLanes(FloatLanes first, FloatLanes second, FloatLanes radius) {
    const FloatLanes lowest = allLanes(0.0F) - radius;
    const VectorLanes p = unfold(maximum(first, lowest), maximum(second, lowest), radius);
    const FloatLanes length = squareRoot(dot(p, p));
    return {p.x / length, p.y / length, p.z / length};
}

/// How codes of a number of bits are stored.
template <int Bits>
struct OctahedralCodes;

template <>
struct OctahedralCodes<8> {
    static constexpr unsigned long size = 2;

    static void store(unsigned char* codes, FloatLanes first, FloatLanes second) {
        const auto toByte = [](FloatLanes a) { return a + bothBits(areBelow(a, allLanes(0.0F)), allLanes(256.0F)); };
        storeBytePairs(codes, toByte(first), toByte(second));
    }
    static void load(const unsigned char* codes, FloatLanes& first, FloatLanes& second) {
        loadBytePairs(codes, first, second);
        const auto toSigned = [](FloatLanes a) {
            return a - bothBits(areAtLeast(a, allLanes(128.0F)), allLanes(256.0F));
        };
        first = toSigned(first);
        second = toSigned(second);
    }
};

template <>
struct OctahedralCodes<12> {
    static constexpr unsigned long size = 3;

    static void store(unsigned char* codes, FloatLanes first, FloatLanes second) {
        unsigned char words[laneCount * 4];
        storeIntegerPairs<12>(words, first, second);
        for (unsigned long i = 0; i < laneCount; ++i) {
            std::memcpy(codes + i * size, words + i * 4, size);
        }
    }
    static void load(const unsigned char* codes, FloatLanes& first, FloatLanes& second) {
        unsigned char words[laneCount * 4] = {};
        for (unsigned long i = 0; i < laneCount; ++i) {
            std::memcpy(words + i * 4, codes + i * size, size);
        }
        loadIntegerPairs<12>(words, first, second);
    }
};

template <>
struct OctahedralCodes<16> {
    static constexpr unsigned long size = 4;

    static void store(unsigned char* codes, FloatLanes first, FloatLanes second) {
        storeIntegerPairs<16>(codes, first, second);
    }
    static void load(const unsigned char* codes, FloatLanes& first, FloatLanes& second) {
        loadIntegerPairs<16>(codes, first, second);
    }
};

template <int Bits>
constexpr float octahedronRadius = static_cast<float>((1 << (Bits - 1)) - 1);

template <int Bits>
[[gnu::noinline]] void encodeBlocks(const unsigned char* normals, unsigned char* codes, unsigned long blockCount) {
    const FloatLanes radius = allLanes(octahedronRadius<Bits>);
    for (unsigned long i = 0; i < blockCount; ++i) {
        FloatLanes first;
        FloatLanes second;
        encodeLanes(loadVectors(normals + i * laneCount * vectorSize), radius, first, second);
        OctahedralCodes<Bits>::store(codes + i * laneCount * OctahedralCodes<Bits>::size, first, second);
    }
}

template <int Bits>
[[gnu::noinline]] void decodeBlocks(const unsigned char* codes, unsigned char* normals, unsigned long blockCount) {
    const FloatLanes radius = allLanes(octahedronRadius<Bits>);
    for (unsigned long i = 0; i < blockCount; ++i) {
        FloatLanes first;
        FloatLanes second;
        OctahedralCodes<Bits>::load(codes + i * laneCount * OctahedralCodes<Bits>::size, first, second);
        storeVectors(normals + i * laneCount * vectorSize, decodeLanes(first, second, radius));
    }
}

} // namespace
} // namespace vexa::mesh::detail
