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

/// A candidate for the code of a vector, with the squared sine of the angle between them as a quotient.
struct Candidate {
    FloatLanes first;
    FloatLanes second;
    FloatLanes numerator;
    FloatLanes denominator;
};

/// A cross product is precise for the small angles here, where a dot product is not; it leaves out the length of the
/// vector, which is the same for every candidate.
inline Candidate judge(const VectorLanes& n, FloatLanes first, FloatLanes second, FloatLanes radius) {
    const VectorLanes p = unfold(first, second, radius);
    const VectorLanes cross{p.y * n.z - p.z * n.y, p.z * n.x - p.x * n.z, p.x * n.y - p.y * n.x};
    return {first, second, dot(cross, cross), dot(p, p)};
}

inline Candidate betterOf(const Candidate& a, const Candidate& b) {
    const FloatLanes isBetter = areBelow(b.numerator * a.denominator, a.numerator * b.denominator);
    return {select(isBetter, b.first, a.first), select(isBetter, b.second, a.second),
            select(isBetter, b.numerator, a.numerator), select(isBetter, b.denominator, a.denominator)};
}

inline FloatLanes roundDown(FloatLanes a) {
    const FloatLanes truncated = truncate(a);
    return truncated - bothBits(areBelow(a, truncated), allLanes(1.0F));
}

/// The best two coordinates for each vector.
inline Candidate encodeLanes(const VectorLanes& vectors, FloatLanes radius) {
    const FloatLanes zero = allLanes(0.0F);
    const FloatLanes one = allLanes(1.0F);
    // Divided by its largest component first, no vector is too short or too long to be squared.
    const FloatLanes largest = maximum(maximum(absolute(vectors.x), absolute(vectors.y)), absolute(vectors.z));
    VectorLanes n{vectors.x / largest, vectors.y / largest, vectors.z / largest};
    // False for the quotients of zero vectors, infinities and NaN.
    const FloatLanes isVector = areAtLeast((absolute(n.x) + absolute(n.y)) + absolute(n.z), one);
    n = {select(isVector, n.x, zero), select(isVector, n.y, zero), select(isVector, n.z, one)};
    const FloatLanes norm = (absolute(n.x) + absolute(n.y)) + absolute(n.z);
    const FloatLanes p = n.x / norm;
    const FloatLanes q = n.y / norm;
    const FloatLanes isLower = areBelow(n.z, zero);
    const FloatLanes u = select(isLower, withSignOf(one - absolute(q), p), p) * radius;
    const FloatLanes v = select(isLower, withSignOf(one - absolute(p), q), q) * radius;
    const FloatLanes firstBelow = maximum(roundDown(u), zero - radius);
    const FloatLanes secondBelow = maximum(roundDown(v), zero - radius);
    const FloatLanes firstAbove = minimum(firstBelow + one, radius);
    const FloatLanes secondAbove = minimum(secondBelow + one, radius);
    return betterOf(betterOf(judge(n, firstBelow, secondBelow, radius), judge(n, firstAbove, secondBelow, radius)),
                    betterOf(judge(n, firstBelow, secondAbove, radius), judge(n, firstAbove, secondAbove, radius)));
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
        const Candidate best = encodeLanes(loadVectors(normals + i * laneCount * vectorSize), radius);
        OctahedralCodes<Bits>::store(codes + i * laneCount * OctahedralCodes<Bits>::size, best.first, best.second);
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
