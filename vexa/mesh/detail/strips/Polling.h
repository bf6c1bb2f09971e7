#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>

namespace vexa::mesh::detail {

/// Called by work that can take long, every few thousand triangles; may be empty.
using Poll = std::function<void()>;

constexpr std::uint32_t pollInterval = 1U << 14; ///< in triangles

/// Polls each time that so much work is done.
class WorkMeter {
public:
    explicit WorkMeter(const Poll& poll) : poll_(poll) {}

    void add(std::uint64_t triangles) {
        done_ += triangles;
        if (done_ >= pollInterval && poll_) {
            done_ = 0;
            poll_();
        }
    }

private:
    const Poll& poll_;
    std::uint64_t done_ = 0;
};

/// Calls `visit(i)` for every number below `count`, and `poll` now and then.
template <class Visit>
void forEachPolled(std::uint32_t count, const Poll& poll, Visit visit) {
    for (std::uint32_t i = 0; i < count;) {
        if (poll) {
            poll();
        }
        for (const std::uint32_t end = i + std::min(count - i, pollInterval); i < end; ++i) {
            visit(i);
        }
    }
}

} // namespace vexa::mesh::detail
