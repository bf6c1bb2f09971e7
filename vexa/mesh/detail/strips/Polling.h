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

/// Asked every few thousand triangles by work that need not be finished; may be empty.
using GoesOn = std::function<bool()>;

/// Calls `visit(i)` for every number below `count` as long as `goesOn` returns true, which is asked now and then.
///
/// \return false if some were left out
template <class Visit>
bool forEachWhile(std::uint32_t count, const GoesOn& goesOn, Visit visit) {
    for (std::uint32_t i = 0; i < count;) {
        if (goesOn && !goesOn()) {
            return false;
        }
        for (const std::uint32_t end = i + std::min(count - i, pollInterval); i < end; ++i) {
            visit(i);
        }
    }
    return true;
}

/// Calls `visit(i)` for every number below `count`, and `poll` now and then.
template <class Visit>
void forEachPolled(std::uint32_t count, const Poll& poll, Visit visit) {
    const auto goesOn = [&poll] {
        poll();
        return true;
    };
    forEachWhile(count, poll ? GoesOn(goesOn) : GoesOn(), visit);
}

} // namespace vexa::mesh::detail
