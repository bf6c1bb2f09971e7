#pragma once

#include "vexa/mesh/detail/strips/bound/CostTable.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Matrices of 3 by 3 costs of 16 bits. Sums saturate. Both kinds give the same numbers.
namespace vexa::mesh::detail {

/// In plain code.
class PlainMatrix {
public:
    PlainMatrix() = default;
    explicit PlainMatrix(const CostTable& table) : rows_(table) {}

    void store(CostTable& table) const {
        for (unsigned row = 0; row < 3; ++row) {
            std::copy_n(rows_.rows[row].begin(), 3, table.rows[row].begin());
        }
    }

    friend PlainMatrix operator+(const PlainMatrix& a, const PlainMatrix& b) {
        return combine(a, b, [](int x, int y) { return x + y; });
    }
    friend PlainMatrix operator-(const PlainMatrix& a, const PlainMatrix& b) {
        return combine(a, b, [](int x, int y) { return x - y; });
    }
    /// The min-plus product: what the cheapest way from row to column costs that goes through both.
    friend PlainMatrix operator*(const PlainMatrix& a, const PlainMatrix& b) {
        PlainMatrix product;
        for (unsigned row = 0; row < 3; ++row) {
            for (unsigned column = 0; column < 3; ++column) {
                std::int16_t lowest = std::numeric_limits<std::int16_t>::max();
                for (unsigned k = 0; k < 3; ++k) {
                    lowest = std::min(lowest, saturate(a.rows_.at(row, k) + b.rows_.at(k, column)));
                }
                product.rows_.at(row, column) = lowest;
            }
        }
        return product;
    }

    [[nodiscard]] PlainMatrix transposed() const {
        PlainMatrix other;
        for (unsigned row = 0; row < 3; ++row) {
            for (unsigned column = 0; column < 3; ++column) {
                other.rows_.at(row, column) = rows_.at(column, row);
            }
        }
        return other;
    }
    [[nodiscard]] PlainMatrix seenFromOtherEnd() const { return PlainMatrix(detail::seenFromOtherEnd(rows_)); }

    /// Less its first cost, so that long products do not grow.
    [[nodiscard]] PlainMatrix fromFirst() const { return less(rows_.at(0, 0)); }
    /// Less its lowest cost.
    [[nodiscard]] PlainMatrix fromLowest() const {
        std::int16_t lowest = rows_.at(0, 0);
        for (const auto& row : rows_.rows) {
            lowest = std::min(lowest, *std::min_element(row.begin(), row.begin() + 3));
        }
        return less(lowest);
    }

    /// A part of costs that are not negative, rounded up: all but `kept` / 65536 of them.
    [[nodiscard]] PlainMatrix share(std::uint16_t kept) const {
        return combine(*this, *this, [kept](int x, int) { return x - ((x * kept) >> 16); });
    }

private:
    static std::int16_t saturate(int value) {
        return static_cast<std::int16_t>(
            std::clamp<int>(value, std::numeric_limits<std::int16_t>::min(), std::numeric_limits<std::int16_t>::max()));
    }
    template <class Operation>
    static PlainMatrix combine(const PlainMatrix& a, const PlainMatrix& b, Operation operation) {
        PlainMatrix result;
        for (unsigned row = 0; row < 3; ++row) {
            for (unsigned column = 0; column < 3; ++column) {
                result.rows_.at(row, column) = saturate(operation(a.rows_.at(row, column), b.rows_.at(row, column)));
            }
        }
        return result;
    }
    [[nodiscard]] PlainMatrix less(int cost) const {
        return combine(*this, *this, [cost](int x, int) { return x - cost; });
    }

    CostTable rows_;
};

#if defined(__SSE2__)

/// In two registers: rows 0 and 1, and row 2. Every fourth lane, and the upper half of the second register, hold
/// anything.
class SseMatrix {
public:
    SseMatrix() = default;
    explicit SseMatrix(const CostTable& table)
        : upper_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table.rows.data()))),
          lower_(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(&table.rows[2]))) {}

    void store(CostTable& table) const {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(table.rows.data()), upper_);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(&table.rows[2]), lower_);
    }

    friend SseMatrix operator+(const SseMatrix& a, const SseMatrix& b) {
        return {_mm_adds_epi16(a.upper_, b.upper_), _mm_adds_epi16(a.lower_, b.lower_)};
    }
    friend SseMatrix operator-(const SseMatrix& a, const SseMatrix& b) {
        return {_mm_subs_epi16(a.upper_, b.upper_), _mm_subs_epi16(a.lower_, b.lower_)};
    }
    friend SseMatrix operator*(const SseMatrix& a, const SseMatrix& b) {
        const __m128i row0 = _mm_unpacklo_epi64(b.upper_, b.upper_);
        const __m128i row1 = _mm_unpackhi_epi64(b.upper_, b.upper_);
        const __m128i row2 = _mm_unpacklo_epi64(b.lower_, b.lower_);
        return {min3(_mm_adds_epi16(spread<0x00>(a.upper_), row0), _mm_adds_epi16(spread<0x55>(a.upper_), row1),
                     _mm_adds_epi16(spread<0xaa>(a.upper_), row2)),
                min3(_mm_adds_epi16(_mm_shufflelo_epi16(a.lower_, 0x00), row0),
                     _mm_adds_epi16(_mm_shufflelo_epi16(a.lower_, 0x55), row1),
                     _mm_adds_epi16(_mm_shufflelo_epi16(a.lower_, 0xaa), row2))};
    }

    [[nodiscard]] SseMatrix transposed() const {
        // With rows abc, def, ghi: ad be cf, and gg hh ii, two lanes each.
        const __m128i firstTwo = _mm_unpacklo_epi16(upper_, _mm_unpackhi_epi64(upper_, upper_));
        const __m128i third = _mm_unpacklo_epi16(lower_, lower_);
        return {_mm_unpacklo_epi32(firstTwo, third), _mm_unpackhi_epi32(firstTwo, third)};
    }
    [[nodiscard]] SseMatrix seenFromOtherEnd() const {
        const SseMatrix turned = transposed();
        const __m128i rows12 = _mm_castps_si128(
            _mm_shuffle_ps(_mm_castsi128_ps(turned.upper_), _mm_castsi128_ps(turned.lower_), _MM_SHUFFLE(1, 0, 3, 2)));
        constexpr int columns = _MM_SHUFFLE(3, 1, 0, 2);
        return {_mm_shufflehi_epi16(_mm_shufflelo_epi16(rows12, columns), columns),
                _mm_shufflelo_epi16(turned.upper_, columns)};
    }

    [[nodiscard]] SseMatrix fromFirst() const { return less(_mm_shufflelo_epi16(upper_, 0x00)); }
    [[nodiscard]] SseMatrix fromLowest() const {
        const __m128i columns = min3(upper_, _mm_unpackhi_epi64(upper_, upper_), lower_);
        return less(min3(_mm_shufflelo_epi16(columns, 0x00), _mm_shufflelo_epi16(columns, 0x55),
                         _mm_shufflelo_epi16(columns, 0xaa)));
    }

    [[nodiscard]] SseMatrix share(std::uint16_t kept) const {
        const __m128i factor = _mm_set1_epi16(static_cast<std::int16_t>(kept));
        return {_mm_sub_epi16(upper_, _mm_mulhi_epu16(upper_, factor)),
                _mm_sub_epi16(lower_, _mm_mulhi_epu16(lower_, factor))};
    }

private:
    SseMatrix(__m128i upper, __m128i lower) : upper_(upper), lower_(lower) {}

    static __m128i min3(__m128i a, __m128i b, __m128i c) { return _mm_min_epi16(_mm_min_epi16(a, b), c); }
    /// One column of both rows in all their lanes.
    template <int Column>
    static __m128i spread(__m128i rows) {
        return _mm_shufflehi_epi16(_mm_shufflelo_epi16(rows, Column), Column);
    }
    /// \param cost in every lane of the lower half
    [[nodiscard]] SseMatrix less(__m128i cost) const {
        return {_mm_subs_epi16(upper_, _mm_unpacklo_epi64(cost, cost)), _mm_subs_epi16(lower_, cost)};
    }

    __m128i upper_;
    __m128i lower_;
};

using MinPlusMatrix = SseMatrix;
#else
using MinPlusMatrix = PlainMatrix;
#endif

} // namespace vexa::mesh::detail
