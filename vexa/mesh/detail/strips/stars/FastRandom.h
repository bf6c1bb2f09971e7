#pragma once

#include <cstdint>

namespace vexa::mesh::detail {

/// Xorshift: fast, and good enough to pick labels.
class FastRandom {
public:
    explicit FastRandom(std::uint64_t seed) : state_(mix(mix(seed))) { state_ = state_ == 0 ? 1 : state_; }

    /// Numbers that differ little come out unlike one another.
    static std::uint64_t mix(std::uint64_t value) {
        value += 0x9e3779b97f4a7c15U;
        value = (value ^ value >> 30) * 0xbf58476d1ce4e5b9U;
        value = (value ^ value >> 27) * 0x94d049bb133111ebU;
        return value ^ value >> 31;
    }
    std::uint64_t draw() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }

private:
    std::uint64_t state_;
};

} // namespace vexa::mesh::detail
