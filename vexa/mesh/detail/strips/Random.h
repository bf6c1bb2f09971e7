#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>

namespace vexa::mesh::detail {

/// Source of random numbers from 0 to 2^31 - 1.
class RandomSource {
public:
    virtual ~RandomSource() = default;
    virtual void seed(std::uint32_t value) = 0;
    virtual std::uint32_t draw() = 0;
};

/// The process-wide generator of the C library.
class ProcessRandom final : public RandomSource {
public:
    void seed(std::uint32_t value) override { std::srand(value); }
    std::uint32_t draw() override { return static_cast<std::uint32_t>(std::rand()); }
};

/// A generator of its own with the sequence that `rand` has in the GNU C library, in any other as well: numbers x(n) =
/// x(n - 3) + x(n - 31) modulo 2^32, without their lowest bits.
class OwnRandom final : public RandomSource {
public:
    OwnRandom() { fill(1); }

    void seed(std::uint32_t value) override { fill(value); }

    std::uint32_t draw() override { return next(); }

private:
    static constexpr std::uint32_t count = 31;

    std::uint32_t next() {
        std::uint32_t& number = numbers_[oldest_];
        number += numbers_[recent_];
        oldest_ = after(oldest_);
        recent_ = after(recent_);
        return number >> 1;
    }

    static std::uint32_t after(std::uint32_t position) { return position + 1 == count ? 0 : position + 1; }

    /// Begins with multiples by 16807 modulo 2^31 - 1, as Park and Miller's generator, and skips what still shows it.
    void fill(std::uint32_t value) {
        auto number = static_cast<std::int32_t>(value == 0 ? 1 : value);
        numbers_[0] = static_cast<std::uint32_t>(number);
        for (std::uint32_t i = 1; i < count; ++i) {
            // 2^31 - 1 = 16807 * 127773 + 2836, so that nothing overflows (Schrage's method).
            number = 16807 * (number % 127773) - 2836 * (number / 127773);
            number += number < 0 ? 2147483647 : 0;
            numbers_[i] = static_cast<std::uint32_t>(number);
        }
        oldest_ = 3;
        recent_ = 0;
        for (std::uint32_t i = 0; i < 10 * count; ++i) {
            next();
        }
    }

    std::array<std::uint32_t, count> numbers_{};
    std::uint32_t oldest_ = 0;
    std::uint32_t recent_ = 0;
};

} // namespace vexa::mesh::detail
