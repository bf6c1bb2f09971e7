#pragma once

#include <cstring>

// Four floats side by side, in plain code, for processors without SSE2. Lanes.h, which includes this, says what must not
// be used here. Results are those of the SSE2 functions of the same names, to the bit but for NaNs, if the processor
// rounds every operation on floats to a float (FLT_EVAL_METHOD is 0). The x87 unit of old x86 processors does not.
namespace vexa::mesh::detail {
namespace {

using FloatLanes __attribute__((vector_size(16))) = float;
using IntLanes __attribute__((vector_size(16))) = int;
constexpr unsigned long laneCount = 4;

inline FloatLanes allLanes(float value) {
    return FloatLanes{value, value, value, value};
}
inline int laneMask(FloatLanes lanes) {
    const IntLanes signs = reinterpret_cast<IntLanes>(lanes) < 0;
    return (signs[0] & 1) | (signs[1] & 2) | (signs[2] & 4) | (signs[3] & 8);
}
inline FloatLanes areEqual(FloatLanes a, FloatLanes b) {
    return reinterpret_cast<FloatLanes>(a == b);
}
inline FloatLanes areAtLeast(FloatLanes a, FloatLanes b) {
    return reinterpret_cast<FloatLanes>(a >= b);
}
inline FloatLanes areBelow(FloatLanes a, FloatLanes b) {
    return reinterpret_cast<FloatLanes>(a < b);
}
inline FloatLanes bothBits(FloatLanes a, FloatLanes b) {
    return reinterpret_cast<FloatLanes>(reinterpret_cast<IntLanes>(a) & reinterpret_cast<IntLanes>(b));
}
inline FloatLanes eitherBits(FloatLanes a, FloatLanes b) {
    return reinterpret_cast<FloatLanes>(reinterpret_cast<IntLanes>(a) | reinterpret_cast<IntLanes>(b));
}
inline FloatLanes bitsBut(FloatLanes a, FloatLanes b) {
    return reinterpret_cast<FloatLanes>(reinterpret_cast<IntLanes>(a) & ~reinterpret_cast<IntLanes>(b));
}
inline FloatLanes flipBits(FloatLanes a, FloatLanes b) {
    return reinterpret_cast<FloatLanes>(reinterpret_cast<IntLanes>(a) ^ reinterpret_cast<IntLanes>(b));
}
inline FloatLanes select(FloatLanes mask, FloatLanes then, FloatLanes otherwise) {
    return eitherBits(bothBits(then, mask), bitsBut(otherwise, mask));
}
// As the instructions of SSE: the second operand if either is NaN or both are zeros.
inline FloatLanes minimum(FloatLanes a, FloatLanes b) {
    return select(areBelow(a, b), a, b);
}
inline FloatLanes maximum(FloatLanes a, FloatLanes b) {
    return select(areBelow(b, a), a, b);
}
inline FloatLanes squareRoot(FloatLanes lanes) {
    return FloatLanes{__builtin_sqrtf(lanes[0]), __builtin_sqrtf(lanes[1]), __builtin_sqrtf(lanes[2]),
                      __builtin_sqrtf(lanes[3])};
}
inline void storeFloats(float* floats, FloatLanes lanes) {
    std::memcpy(floats, &lanes, sizeof lanes);
}

template <int Selection>
FloatLanes shuffle(FloatLanes a, FloatLanes b) {
    return FloatLanes{a[Selection & 3], a[Selection >> 2 & 3], b[Selection >> 4 & 3], b[Selection >> 6 & 3]};
}

inline FloatLanes loadQuarter(const unsigned char* vectors, unsigned long byte) {
    FloatLanes lanes;
    std::memcpy(&lanes, vectors + byte, sizeof lanes);
    return lanes;
}
inline void storeQuarter(unsigned char* vectors, unsigned long byte, FloatLanes lanes) {
    std::memcpy(vectors + byte, &lanes, sizeof lanes);
}

// Two pairs of floats, or four floats, at distances of a stride.
inline FloatLanes loadPairs(const unsigned char* pairs, unsigned long stride) {
    FloatLanes lanes;
    std::memcpy(&lanes, pairs, 8);
    std::memcpy(reinterpret_cast<unsigned char*>(&lanes) + 8, pairs + stride, 8);
    return lanes;
}
inline void storePairs(unsigned char* pairs, unsigned long stride, FloatLanes lanes) {
    std::memcpy(pairs, &lanes, 8);
    std::memcpy(pairs + stride, reinterpret_cast<unsigned char*>(&lanes) + 8, 8);
}
inline FloatLanes loadSingles(const unsigned char* floats, unsigned long stride) {
    float singles[laneCount];
    for (unsigned long i = 0; i < laneCount; ++i) {
        std::memcpy(&singles[i], floats + i * stride, sizeof(float));
    }
    return FloatLanes{singles[0], singles[1], singles[2], singles[3]};
}
inline void storeSingles(unsigned char* floats, unsigned long stride, FloatLanes lanes) {
    for (unsigned long i = 0; i < laneCount; ++i) {
        const float single = lanes[i];
        std::memcpy(floats + i * stride, &single, sizeof single);
    }
}
template <bool High>
FloatLanes interleave(FloatLanes a, FloatLanes b) {
    return High ? FloatLanes{a[2], b[2], a[3], b[3]} : FloatLanes{a[0], b[0], a[1], b[1]};
}

/// a + b + c, summed in double and rounded.
inline FloatLanes sumInDouble(FloatLanes a, FloatLanes b, FloatLanes c) {
    FloatLanes sums{};
    for (unsigned long i = 0; i < laneCount; ++i) {
        sums[i] =
            static_cast<float>((static_cast<double>(a[i]) + static_cast<double>(b[i])) + static_cast<double>(c[i]));
    }
    return sums;
}

/// Rounded towards zero; the lowest integer for a float that does not fit or is NaN.
inline IntLanes toIntegers(FloatLanes lanes) {
    constexpr float limit = 2147483648.0F;
    IntLanes integers{};
    for (unsigned long i = 0; i < laneCount; ++i) {
        const bool fits = lanes[i] >= -limit && lanes[i] < limit;
        integers[i] = fits ? static_cast<int>(lanes[i]) : -0x7fffffff - 1;
    }
    return integers;
}

/// Truncates floats from 0 to 255 and stores them as pairs of bytes.
inline void storeBytePairs(unsigned char* bytes, FloatLanes first, FloatLanes second) {
    for (unsigned long i = 0; i < laneCount; ++i) {
        bytes[2 * i] = static_cast<unsigned char>(first[i]);
        bytes[2 * i + 1] = static_cast<unsigned char>(second[i]);
    }
}

/// The same for whole numbers from -128 to 127.
inline void storeSignedBytePairs(unsigned char* bytes, FloatLanes first, FloatLanes second) {
    const IntLanes firsts = toIntegers(first);
    const IntLanes seconds = toIntegers(second);
    for (unsigned long i = 0; i < laneCount; ++i) {
        bytes[2 * i] = static_cast<unsigned char>(firsts[i]);
        bytes[2 * i + 1] = static_cast<unsigned char>(seconds[i]);
    }
}

/// Reads pairs of bytes as floats.
inline void loadBytePairs(const unsigned char* bytes, FloatLanes& first, FloatLanes& second) {
    for (unsigned long i = 0; i < laneCount; ++i) {
        first[i] = static_cast<float>(bytes[2 * i]);
        second[i] = static_cast<float>(bytes[2 * i + 1]);
    }
}

/// Rounds towards zero. The lanes fit 32-bit integers.
inline FloatLanes truncate(FloatLanes a) {
    const IntLanes integers = toIntegers(a);
    FloatLanes lanes{};
    for (unsigned long i = 0; i < laneCount; ++i) {
        lanes[i] = static_cast<float>(integers[i]);
    }
    return lanes;
}

/// Stores whole numbers of 12 bits in pairs, in bytes of the same order on every processor, or of 16 bits as shorts.
template <int Bits>
void storeIntegerPairs(unsigned char* pairs, FloatLanes first, FloatLanes second) {
    constexpr unsigned int low = (1U << Bits) - 1;
    const IntLanes firsts = toIntegers(first);
    const IntLanes seconds = toIntegers(second);
    for (unsigned long i = 0; i < laneCount; ++i) {
        const unsigned int both[2] = {static_cast<unsigned int>(firsts[i]) & low,
                                      static_cast<unsigned int>(seconds[i]) & low};
        if constexpr (Bits == 16) {
            const unsigned short shorts[2] = {static_cast<unsigned short>(both[0]),
                                              static_cast<unsigned short>(both[1])};
            std::memcpy(pairs + 4 * i, shorts, 4);
        } else {
            for (unsigned long byte = 0; byte < 4; ++byte) {
                pairs[4 * i + byte] = static_cast<unsigned char>((both[0] | both[1] << Bits) >> 8 * byte);
            }
        }
    }
}

/// Reads what storeIntegerPairs stores.
template <int Bits>
void loadIntegerPairs(const unsigned char* pairs, FloatLanes& first, FloatLanes& second) {
    for (unsigned long i = 0; i < laneCount; ++i) {
        if constexpr (Bits == 16) {
            short shorts[2];
            std::memcpy(shorts, pairs + 4 * i, 4);
            first[i] = static_cast<float>(shorts[0]);
            second[i] = static_cast<float>(shorts[1]);
        } else {
            unsigned int both = 0;
            for (unsigned long byte = 0; byte < 4; ++byte) {
                both |= static_cast<unsigned int>(pairs[4 * i + byte]) << 8 * byte;
            }
            first[i] = static_cast<float>(static_cast<int>(both << (32 - Bits)) >> (32 - Bits));
            second[i] = static_cast<float>(static_cast<int>(both << (32 - 2 * Bits)) >> (32 - Bits));
        }
    }
}

} // namespace
} // namespace vexa::mesh::detail
