#pragma once

#include <cstring>

#ifdef __SSE2__
#include <immintrin.h>
#else
#include "vexa/mesh/detail/elements/PlainLanes.h"
#endif

// Floats side by side in registers: eight with AVX2, else four (SSE2, which every x86-64 has; plain code elsewhere).
//
// The sources that include this are compiled for different processors, so nothing here may be seen by another source:
// everything is in an unnamed namespace, and no inline function or template of another header is used. The operators
// + - * / and the comparisons work on the registers lane by lane, as the compilers define them.
namespace vexa::mesh::detail {
namespace {

#ifdef __SSE2__
inline __m128 loadFour(const unsigned char* floats) {
    return _mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(floats)));
}
inline void storeFour(unsigned char* floats, __m128 lanes) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(floats), _mm_castps_si128(lanes));
}

/// Two pairs of floats, at a distance of a stride.
inline __m128 loadTwoPairs(const unsigned char* pairs, unsigned long stride) {
    const __m128i first = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pairs));
    const __m128i second = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pairs + stride));
    return _mm_castsi128_ps(_mm_unpacklo_epi64(first, second));
}
inline void storeTwoPairs(unsigned char* pairs, unsigned long stride, __m128 lanes) {
    const __m128i both = _mm_castps_si128(lanes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pairs), both);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(pairs + stride), _mm_unpackhi_epi64(both, both));
}

/// Four floats, at distances of a stride.
inline __m128 loadFourSingles(const unsigned char* floats, unsigned long stride) {
    float lanes[4];
    for (unsigned long i = 0; i < 4; ++i) {
        std::memcpy(&lanes[i], floats + i * stride, sizeof lanes[i]);
    }
    return _mm_setr_ps(lanes[0], lanes[1], lanes[2], lanes[3]);
}
inline void storeFourSingles(unsigned char* floats, unsigned long stride, __m128 lanes) {
    float values[4];
    _mm_storeu_ps(values, lanes);
    for (unsigned long i = 0; i < 4; ++i) {
        std::memcpy(floats + i * stride, &values[i], sizeof values[i]);
    }
}

#ifdef __AVX2__
using FloatLanes = __m256;
constexpr unsigned long laneCount = 8;

inline FloatLanes allLanes(float value) {
    return _mm256_set1_ps(value);
}
inline int laneMask(FloatLanes lanes) {
    return _mm256_movemask_ps(lanes);
}
inline FloatLanes minimum(FloatLanes a, FloatLanes b) {
    return _mm256_min_ps(a, b);
}
inline FloatLanes maximum(FloatLanes a, FloatLanes b) {
    return _mm256_max_ps(a, b);
}
inline FloatLanes areEqual(FloatLanes a, FloatLanes b) {
    return _mm256_cmp_ps(a, b, _CMP_EQ_OQ);
}
inline FloatLanes areAtLeast(FloatLanes a, FloatLanes b) {
    return _mm256_cmp_ps(a, b, _CMP_GE_OQ);
}
inline FloatLanes areBelow(FloatLanes a, FloatLanes b) {
    return _mm256_cmp_ps(a, b, _CMP_LT_OQ);
}
inline FloatLanes bothBits(FloatLanes a, FloatLanes b) {
    return _mm256_and_ps(a, b);
}
inline FloatLanes bitsBut(FloatLanes a, FloatLanes b) {
    return _mm256_andnot_ps(b, a);
}
inline FloatLanes flipBits(FloatLanes a, FloatLanes b) {
    return _mm256_xor_ps(a, b);
}
inline FloatLanes select(FloatLanes mask, FloatLanes then, FloatLanes otherwise) {
    return _mm256_blendv_ps(otherwise, then, mask);
}
inline FloatLanes squareRoot(FloatLanes lanes) {
    return _mm256_sqrt_ps(lanes);
}
inline void storeFloats(float* floats, FloatLanes lanes) {
    _mm256_storeu_ps(floats, lanes);
}

template <int Selection>
FloatLanes shuffle(FloatLanes a, FloatLanes b) {
    return _mm256_shuffle_ps(a, b, Selection);
}

// The upper half of a register holds what belongs to the upper four lanes, so that shuffles stay within halves.
inline FloatLanes loadQuarter(const unsigned char* vectors, unsigned long byte) {
    return _mm256_set_m128(loadFour(vectors + 48 + byte), loadFour(vectors + byte));
}
inline void storeQuarter(unsigned char* vectors, unsigned long byte, FloatLanes lanes) {
    storeFour(vectors + byte, _mm256_castps256_ps128(lanes));
    storeFour(vectors + 48 + byte, _mm256_extractf128_ps(lanes, 1));
}
inline FloatLanes loadPairs(const unsigned char* pairs, unsigned long stride) {
    return _mm256_set_m128(loadTwoPairs(pairs + 4 * stride, stride), loadTwoPairs(pairs, stride));
}
inline void storePairs(unsigned char* pairs, unsigned long stride, FloatLanes lanes) {
    storeTwoPairs(pairs, stride, _mm256_castps256_ps128(lanes));
    storeTwoPairs(pairs + 4 * stride, stride, _mm256_extractf128_ps(lanes, 1));
}
inline FloatLanes loadSingles(const unsigned char* floats, unsigned long stride) {
    return _mm256_set_m128(loadFourSingles(floats + 4 * stride, stride), loadFourSingles(floats, stride));
}
inline void storeSingles(unsigned char* floats, unsigned long stride, FloatLanes lanes) {
    storeFourSingles(floats, stride, _mm256_castps256_ps128(lanes));
    storeFourSingles(floats + 4 * stride, stride, _mm256_extractf128_ps(lanes, 1));
}
template <bool High>
FloatLanes interleave(FloatLanes a, FloatLanes b) {
    return High ? _mm256_unpackhi_ps(a, b) : _mm256_unpacklo_ps(a, b);
}

/// a + b + c, summed in double and rounded.
inline FloatLanes sumInDouble(FloatLanes a, FloatLanes b, FloatLanes c) {
    const auto half = [](__m128 x, __m128 y, __m128 z) {
        return _mm256_cvtpd_ps(
            _mm256_add_pd(_mm256_add_pd(_mm256_cvtps_pd(x), _mm256_cvtps_pd(y)), _mm256_cvtps_pd(z)));
    };
    return _mm256_set_m128(half(_mm256_extractf128_ps(a, 1), _mm256_extractf128_ps(b, 1), _mm256_extractf128_ps(c, 1)),
                           half(_mm256_castps256_ps128(a), _mm256_castps256_ps128(b), _mm256_castps256_ps128(c)));
}

/// Truncates floats from 0 to 255 and stores them as pairs of bytes.
inline void storeBytePairs(unsigned char* bytes, FloatLanes first, FloatLanes second) {
    const __m256i pairs =
        _mm256_or_si256(_mm256_cvttps_epi32(first), _mm256_slli_epi32(_mm256_cvttps_epi32(second), 8));
    const __m128i packed = _mm_packus_epi32(_mm256_castsi256_si128(pairs), _mm256_extracti128_si256(pairs, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), packed);
}

/// The same for whole numbers from -128 to 127.
inline void storeSignedBytePairs(unsigned char* bytes, FloatLanes first, FloatLanes second) {
    const __m256i low = _mm256_and_si256(_mm256_cvttps_epi32(first), _mm256_set1_epi32(255));
    const __m256i high = _mm256_srli_epi32(_mm256_slli_epi32(_mm256_cvttps_epi32(second), 24), 16);
    const __m256i pairs = _mm256_or_si256(low, high);
    const __m128i packed = _mm_packus_epi32(_mm256_castsi256_si128(pairs), _mm256_extracti128_si256(pairs, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), packed);
}

/// Reads pairs of bytes as floats.
inline void loadBytePairs(const unsigned char* bytes, FloatLanes& first, FloatLanes& second) {
    const __m256i pairs = _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
    first = _mm256_cvtepi32_ps(_mm256_and_si256(pairs, _mm256_set1_epi32(255)));
    second = _mm256_cvtepi32_ps(_mm256_srli_epi32(pairs, 8));
}

/// Rounds towards zero. The lanes fit 32-bit integers.
inline FloatLanes truncate(FloatLanes a) {
    return _mm256_cvtepi32_ps(_mm256_cvttps_epi32(a));
}

/// Stores whole numbers of a number of bits in pairs, the first one in the low bits of 4 bytes.
template <int Bits>
void storeIntegerPairs(unsigned char* pairs, FloatLanes first, FloatLanes second) {
    const __m256i low = _mm256_set1_epi32((1 << Bits) - 1);
    const __m256i high = _mm256_and_si256(_mm256_cvttps_epi32(second), low);
    _mm256_storeu_si256(
        reinterpret_cast<__m256i*>(pairs),
        _mm256_or_si256(_mm256_and_si256(_mm256_cvttps_epi32(first), low), _mm256_slli_epi32(high, Bits)));
}

/// Reads what storeIntegerPairs stores.
template <int Bits>
void loadIntegerPairs(const unsigned char* pairs, FloatLanes& first, FloatLanes& second) {
    const __m256i both = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs));
    first = _mm256_cvtepi32_ps(_mm256_srai_epi32(_mm256_slli_epi32(both, 32 - Bits), 32 - Bits));
    second = _mm256_cvtepi32_ps(_mm256_srai_epi32(_mm256_slli_epi32(both, 32 - 2 * Bits), 32 - Bits));
}
#else
using FloatLanes = __m128;
constexpr unsigned long laneCount = 4;

inline FloatLanes allLanes(float value) {
    return _mm_set1_ps(value);
}
inline int laneMask(FloatLanes lanes) {
    return _mm_movemask_ps(lanes);
}
inline FloatLanes minimum(FloatLanes a, FloatLanes b) {
    return _mm_min_ps(a, b);
}
inline FloatLanes maximum(FloatLanes a, FloatLanes b) {
    return _mm_max_ps(a, b);
}
inline FloatLanes areEqual(FloatLanes a, FloatLanes b) {
    return _mm_cmpeq_ps(a, b);
}
inline FloatLanes areAtLeast(FloatLanes a, FloatLanes b) {
    return _mm_cmpge_ps(a, b);
}
inline FloatLanes areBelow(FloatLanes a, FloatLanes b) {
    return _mm_cmplt_ps(a, b);
}
inline FloatLanes bothBits(FloatLanes a, FloatLanes b) {
    return _mm_and_ps(a, b);
}
inline FloatLanes bitsBut(FloatLanes a, FloatLanes b) {
    return _mm_andnot_ps(b, a);
}
inline FloatLanes flipBits(FloatLanes a, FloatLanes b) {
    return _mm_xor_ps(a, b);
}
inline FloatLanes select(FloatLanes mask, FloatLanes then, FloatLanes otherwise) {
    return _mm_or_ps(_mm_and_ps(mask, then), _mm_andnot_ps(mask, otherwise));
}
inline FloatLanes squareRoot(FloatLanes lanes) {
    return _mm_sqrt_ps(lanes);
}
inline void storeFloats(float* floats, FloatLanes lanes) {
    _mm_storeu_ps(floats, lanes);
}

template <int Selection>
FloatLanes shuffle(FloatLanes a, FloatLanes b) {
    return _mm_shuffle_ps(a, b, Selection);
}

inline FloatLanes loadQuarter(const unsigned char* vectors, unsigned long byte) {
    return loadFour(vectors + byte);
}
inline void storeQuarter(unsigned char* vectors, unsigned long byte, FloatLanes lanes) {
    storeFour(vectors + byte, lanes);
}
inline FloatLanes loadPairs(const unsigned char* pairs, unsigned long stride) {
    return loadTwoPairs(pairs, stride);
}
inline void storePairs(unsigned char* pairs, unsigned long stride, FloatLanes lanes) {
    storeTwoPairs(pairs, stride, lanes);
}
inline FloatLanes loadSingles(const unsigned char* floats, unsigned long stride) {
    return loadFourSingles(floats, stride);
}
inline void storeSingles(unsigned char* floats, unsigned long stride, FloatLanes lanes) {
    storeFourSingles(floats, stride, lanes);
}
template <bool High>
FloatLanes interleave(FloatLanes a, FloatLanes b) {
    return High ? _mm_unpackhi_ps(a, b) : _mm_unpacklo_ps(a, b);
}

/// a + b + c, summed in double and rounded.
inline FloatLanes sumInDouble(FloatLanes a, FloatLanes b, FloatLanes c) {
    const auto half = [](__m128 x, __m128 y, __m128 z) {
        return _mm_cvtpd_ps(_mm_add_pd(_mm_add_pd(_mm_cvtps_pd(x), _mm_cvtps_pd(y)), _mm_cvtps_pd(z)));
    };
    return _mm_movelh_ps(half(a, b, c), half(_mm_movehl_ps(a, a), _mm_movehl_ps(b, b), _mm_movehl_ps(c, c)));
}

/// Truncates floats from 0 to 255 and stores them as pairs of bytes.
inline void storeBytePairs(unsigned char* bytes, FloatLanes first, FloatLanes second) {
    const __m128i pairs = _mm_or_si128(_mm_cvttps_epi32(first), _mm_slli_epi32(_mm_cvttps_epi32(second), 8));
    // Sign-extended, 16 bits come through the saturating pack as they are.
    const __m128i extended = _mm_srai_epi32(_mm_slli_epi32(pairs, 16), 16);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes), _mm_packs_epi32(extended, extended));
}

/// The same for whole numbers from -128 to 127.
inline void storeSignedBytePairs(unsigned char* bytes, FloatLanes first, FloatLanes second) {
    const __m128i low = _mm_and_si128(_mm_cvttps_epi32(first), _mm_set1_epi32(255));
    // Sign-extended, 16 bits come through the saturating pack as they are.
    const __m128i high = _mm_srai_epi32(_mm_slli_epi32(_mm_cvttps_epi32(second), 24), 16);
    const __m128i pairs = _mm_or_si128(low, high);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(bytes), _mm_packs_epi32(pairs, pairs));
}

/// Reads pairs of bytes as floats.
inline void loadBytePairs(const unsigned char* bytes, FloatLanes& first, FloatLanes& second) {
    const __m128i pairs =
        _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes)), _mm_setzero_si128());
    first = _mm_cvtepi32_ps(_mm_and_si128(pairs, _mm_set1_epi32(255)));
    second = _mm_cvtepi32_ps(_mm_srli_epi32(pairs, 8));
}

/// Rounds towards zero. The lanes fit 32-bit integers.
inline FloatLanes truncate(FloatLanes a) {
    return _mm_cvtepi32_ps(_mm_cvttps_epi32(a));
}

/// Stores whole numbers of a number of bits in pairs, the first one in the low bits of 4 bytes.
template <int Bits>
void storeIntegerPairs(unsigned char* pairs, FloatLanes first, FloatLanes second) {
    const __m128i low = _mm_set1_epi32((1 << Bits) - 1);
    const __m128i high = _mm_and_si128(_mm_cvttps_epi32(second), low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pairs),
                     _mm_or_si128(_mm_and_si128(_mm_cvttps_epi32(first), low), _mm_slli_epi32(high, Bits)));
}

/// Reads what storeIntegerPairs stores.
template <int Bits>
void loadIntegerPairs(const unsigned char* pairs, FloatLanes& first, FloatLanes& second) {
    const __m128i both = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs));
    first = _mm_cvtepi32_ps(_mm_srai_epi32(_mm_slli_epi32(both, 32 - Bits), 32 - Bits));
    second = _mm_cvtepi32_ps(_mm_srai_epi32(_mm_slli_epi32(both, 32 - 2 * Bits), 32 - Bits));
}
#endif
#endif

/// The selection of `shuffle`: two lanes of its first operand, then two of its second, from the last to the first.
consteval int lanesFrom(int fourth, int third, int second, int first) {
    return fourth << 6 | third << 4 | second << 2 | first;
}

/// Unsigned integers side by side, as many as fill a register.
template <typename Unsigned>
struct IntegerLanes {
    using Type __attribute__((vector_size(sizeof(FloatLanes)))) = Unsigned;
};

inline FloatLanes signBits() {
    return allLanes(-0.0F);
}
inline FloatLanes absolute(FloatLanes lanes) {
    return bitsBut(lanes, signBits());
}

/// As many vectors as there are lanes, each component in a register of its own.
struct VectorLanes {
    FloatLanes x;
    FloatLanes y;
    FloatLanes z;
};

constexpr unsigned long vectorSize = 3 * sizeof(float);

/// Reads vectors of three floats, of any alignment. The comments show the lower four lanes.
inline VectorLanes loadVectors(const unsigned char* vectors) {
    const FloatLanes a = loadQuarter(vectors, 0);               // x0 y0 z0 x1
    const FloatLanes b = loadQuarter(vectors, 16);              // y1 z1 x2 y2
    const FloatLanes c = loadQuarter(vectors, 32);              // z2 x3 y3 z3
    const FloatLanes yz = shuffle<lanesFrom(1, 0, 2, 1)>(a, b); // y0 z0 y1 z1
    const FloatLanes xy = shuffle<lanesFrom(2, 1, 3, 2)>(b, c); // x2 y2 x3 y3
    return {shuffle<lanesFrom(2, 0, 3, 0)>(a, xy), shuffle<lanesFrom(3, 1, 2, 0)>(yz, xy),
            shuffle<lanesFrom(3, 0, 3, 1)>(yz, c)};
}

/// Writes vectors of three floats, of any alignment.
inline void storeVectors(unsigned char* vectors, const VectorLanes& v) {
    const FloatLanes xy = shuffle<lanesFrom(2, 0, 2, 0)>(v.x, v.y); // x0 x2 y0 y2
    const FloatLanes yz = shuffle<lanesFrom(3, 1, 3, 1)>(v.y, v.z); // y1 y3 z1 z3
    const FloatLanes zx = shuffle<lanesFrom(3, 1, 2, 0)>(v.z, v.x); // z0 z2 x1 x3
    storeQuarter(vectors, 0, shuffle<lanesFrom(2, 0, 2, 0)>(xy, zx));
    storeQuarter(vectors, 16, shuffle<lanesFrom(3, 1, 2, 0)>(yz, xy));
    storeQuarter(vectors, 32, shuffle<lanesFrom(3, 1, 3, 1)>(zx, yz));
}

/// Reads vectors of three floats at distances of a stride. The comments show the lower four lanes.
inline VectorLanes loadVectors(const unsigned char* vectors, unsigned long stride) {
    const FloatLanes lower = loadPairs(vectors, stride);              // x0 y0 x1 y1
    const FloatLanes upper = loadPairs(vectors + 2 * stride, stride); // x2 y2 x3 y3
    return {shuffle<lanesFrom(2, 0, 2, 0)>(lower, upper), shuffle<lanesFrom(3, 1, 3, 1)>(lower, upper),
            loadSingles(vectors + 2 * sizeof(float), stride)};
}

/// Writes vectors of three floats at distances of a stride, and nothing between them.
inline void storeVectors(unsigned char* vectors, unsigned long stride, const VectorLanes& v) {
    storePairs(vectors, stride, interleave<false>(v.x, v.y));
    storePairs(vectors + 2 * stride, stride, interleave<true>(v.x, v.y));
    storeSingles(vectors + 2 * sizeof(float), stride, v.z);
}

} // namespace
} // namespace vexa::mesh::detail
