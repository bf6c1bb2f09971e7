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

inline FloatLanes squareOf(const VectorLanes& v) {
    return (v.x * v.x + v.y * v.y) + v.z * v.z;
}

inline VectorLanes sum(const VectorLanes& a, const VectorLanes& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline FloatLanes norm(const VectorLanes& v) {
    return (absolute(v.x) + absolute(v.y)) + absolute(v.z);
}

inline FloatLanes areWithin(FloatLanes a, float lowest, float highest) {
    return bothBits(areAtLeast(a, allLanes(lowest)), areAtLeast(allLanes(highest), a));
}

/// Multiplied by a power of two, no vector is too short or too long to be squared. One that is zero, infinite or NaN
/// becomes (0, 0, 1).
inline VectorLanes normaliseMagnitude(const VectorLanes& vectors) {
    constexpr int all = (1 << laneCount) - 1;
    const FloatLanes length = norm(vectors);
    // Nearly always. Those between these bounds and the ones below stay as they are, too.
    if (laneMask(areWithin(length, 0x1p-40F, 0x1p40F)) == all) {
        return vectors;
    }
    const FloatLanes one = allLanes(1.0F);
    const FloatLanes factor = select(areBelow(length, allLanes(0x1p-40F)), allLanes(0x1p100F),
                                     select(areBelow(allLanes(0x1p40F), length), allLanes(0x1p-100F), one));
    const VectorLanes n{vectors.x * factor, vectors.y * factor, vectors.z * factor};
    const FloatLanes isVector = areWithin(norm(n), 0x1p-60F, 0x1p60F);
    return {bothBits(n.x, isVector), bothBits(n.y, isVector), select(isVector, n.z, one)};
}

/// The squared distances of four neighbouring points of the octahedron from its centre: of (first, second, third) and with
/// 1 added to first, to second, to both, and taken from third.
template <int Bits>
void squareDistances(FloatLanes first, FloatLanes second, FloatLanes third, FloatLanes squares[4]) {
    const FloatLanes one = allLanes(1.0F);
    squares[0] = squareOf({first, second, third});
    if constexpr (Bits <= 12) {
        // Whole numbers below 2^24: exact in any order.
        const FloatLanes two = one + one;
        const FloatLanes byFirst = (first - third) * two + two;
        const FloatLanes bySecond = (second - third) * two + two;
        squares[1] = squares[0] + byFirst;
        squares[2] = squares[0] + bySecond;
        squares[3] = squares[1] + (bySecond + two);
    } else {
        const FloatLanes next = third - one;
        squares[1] = squareOf({first + one, second, next});
        squares[2] = squareOf({first, second + one, next});
        squares[3] = squareOf({first + one, second + one, next - one});
    }
}

/// Vectors on their way to codes. The steps are made for several registers in turn, because each is a long chain of
/// operations that wait for one another.
template <int Bits>
struct Encoding {
    VectorLanes n;
    FloatLanes first;
    FloatLanes second;
    FloatLanes third;
    FloatLanes numerators[4];

    /// Finds the point of the octahedron below the vectors, in the octant of positive coordinates.
    void locate(const VectorLanes& vectors, FloatLanes radius) {
        n = normaliseMagnitude(vectors);
        const VectorLanes v{absolute(n.x), absolute(n.y), absolute(n.z)};
        const FloatLanes scale = radius / ((v.x + v.y) + v.z);
        first = truncate(v.x * scale);
        second = truncate(v.y * scale);
        third = (radius - first) - second;
    }

    /// Measures the angles to the four points around the vectors. The squared sine of the angle to a vector is the square
    /// of their cross product divided by that of the distance of the point, but for the length of the vector; a dot
    /// product would not be precise for small angles. The cross products of neighbouring points differ by those of
    /// (1, 0, -1) and (0, 1, -1).
    void judge() {
        const VectorLanes v{absolute(n.x), absolute(n.y), absolute(n.z)};
        const VectorLanes cross{second * v.z - third * v.y, third * v.x - first * v.z, first * v.y - second * v.x};
        const VectorLanes crossOfFirst = sum(cross, {v.y, allLanes(0.0F) - (v.x + v.z), v.y});
        const VectorLanes step{v.y + v.z, allLanes(0.0F) - v.x, allLanes(0.0F) - v.x};
        numerators[0] = squareOf(cross);
        numerators[1] = squareOf(crossOfFirst);
        numerators[2] = squareOf(sum(cross, step));
        numerators[3] = squareOf(sum(crossOfFirst, step));
    }

    /// Takes the better of each pair of neighbours, and of these two; none beyond the octant.
    void choose(FloatLanes radius) {
        const FloatLanes one = allLanes(1.0F);
        FloatLanes denominators[4];
        squareDistances<Bits>(first, second, third, denominators);
        const auto isBetter = [](FloatLanes numerator, FloatLanes denominator, FloatLanes otherNumerator,
                                 FloatLanes otherDenominator) {
            return areBelow(numerator * otherDenominator, otherNumerator * denominator);
        };
        const FloatLanes isInside = areAtLeast(third, one);
        const FloatLanes low =
            bothBits(isBetter(numerators[1], denominators[1], numerators[0], denominators[0]), isInside);
        const FloatLanes high = bothBits(isBetter(numerators[3], denominators[3], numerators[2], denominators[2]),
                                         areAtLeast(third, one + one));
        const FloatLanes isSecond = bothBits(
            isBetter(select(high, numerators[3], numerators[2]), select(high, denominators[3], denominators[2]),
                     select(low, numerators[1], numerators[0]), select(low, denominators[1], denominators[0])),
            isInside);
        const FloatLanes bestFirst = first + bothBits(select(isSecond, high, low), one);
        const FloatLanes bestSecond = second + bothBits(isSecond, one);
        // The lower half is folded over the upper one.
        const FloatLanes isLower = areBelow(n.z, allLanes(0.0F));
        first = withSignOf(select(isLower, radius - bestSecond, bestFirst), n.x);
        second = withSignOf(select(isLower, radius - bestFirst, bestSecond), n.y);
    }
};

inline VectorLanes decodeLanes(FloatLanes first, FloatLanes second, FloatLanes radius) {
    const FloatLanes lowest = allLanes(0.0F) - radius;
    const VectorLanes p = unfold(maximum(first, lowest), maximum(second, lowest), radius);
    const FloatLanes length = squareRoot(squareOf(p));
    return {p.x / length, p.y / length, p.z / length};
}

/// How codes of a number of bits are stored.
template <int Bits>
struct OctahedralCodes;

template <>
struct OctahedralCodes<8> {
    static constexpr unsigned long size = 2;

    static void store(unsigned char* codes, FloatLanes first, FloatLanes second) {
        storeSignedBytePairs(codes, first, second);
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
    constexpr unsigned long together = 4;
    Encoding<Bits> steps[together];
    for (unsigned long i = 0; i < blockCount; i += together) {
        const unsigned long count = blockCount - i < together ? blockCount - i : together;
        for (unsigned long k = 0; k < count; ++k) {
            steps[k].locate(loadVectors(normals + (i + k) * laneCount * vectorSize), radius);
        }
        for (unsigned long k = 0; k < count; ++k) {
            steps[k].judge();
        }
        for (unsigned long k = 0; k < count; ++k) {
            steps[k].choose(radius);
            OctahedralCodes<Bits>::store(codes + (i + k) * laneCount * OctahedralCodes<Bits>::size, steps[k].first,
                                         steps[k].second);
        }
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
