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

/// A generator of its own with the same sequence.
class OwnRandom final : public RandomSource {
public:
    OwnRandom() { initstate_r(1, state_.data(), state_.size(), &data_); }
    OwnRandom(const OwnRandom&) = delete;
    OwnRandom& operator=(const OwnRandom&) = delete;

    void seed(std::uint32_t value) override { srandom_r(value, &data_); }
    std::uint32_t draw() override {
        std::int32_t value = 0;
        random_r(&data_, &value);
        return static_cast<std::uint32_t>(value);
    }

private:
    // The size of the state that `rand` uses; another size would give another sequence.
    alignas(std::int32_t) std::array<char, 128> state_{};
    random_data data_{};
};

} // namespace vexa::mesh::detail
