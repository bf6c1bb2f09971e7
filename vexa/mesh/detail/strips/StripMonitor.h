#pragma once

#include "vexa/mesh/StripBuffer.h"
#include "vexa/mesh/detail/strips/Polling.h"

#include <algorithm>
#include <chrono>
#include <functional>

namespace vexa::mesh::detail {

class StripPartition;

/// Called with the links at the end of a pass, which it must leave as they are.
using OnPassEnd = std::function<void(StripChange, StripPartition&)>;

/// Reports how far a search is, and remembers that the caller wants it to end.
class StripMonitor {
    using Clock = std::chrono::steady_clock;

public:
    /// \param onProgress, onPassEnd must outlive the monitor
    /// \param interval              least time between two calls within a phase
    explicit StripMonitor(const std::function<bool(const StripProgress&)>& onProgress,
                          const OnPassEnd* onPassEnd = nullptr,
                          Clock::duration interval = std::chrono::milliseconds(20))
        : onProgress_(onProgress), onPassEnd_(onPassEnd), interval_(interval) {}

    /// Begins a phase that is about this share of the work still to come, and reports it.
    void startPhase(StripPhase phase, double share) {
        phase_ = phase;
        begin_ = end_;
        end_ += (1 - end_) * share;
        nextCall_ = {};
        poll(0, 1);
    }

    /// To be called at least every few milliseconds; `done` of `total` steps of the phase are done. Returns whether to
    /// go on.
    bool poll(double done, double total) {
        if (!isStopped_ && onProgress_ && Clock::now() >= nextCall_) {
            fraction_ = std::max(fraction_, begin_ + (end_ - begin_) * done / total);
            isStopped_ = !onProgress_({phase_, fraction_});
            nextCall_ = Clock::now() + interval_;
        }
        return !isStopped_;
    }
    /// The same for work that does not know how far it is.
    [[nodiscard]] Poll poller() {
        return [this] { poll(0, 1); };
    }

    /// Shows the strips at the end of a pass to whoever wants to see them.
    void endPass(StripChange change, StripPartition& partition) {
        if (onPassEnd_ != nullptr) {
            (*onPassEnd_)(change, partition);
        }
    }
    /// From now on shows no more passes.
    void hidePasses() { onPassEnd_ = nullptr; }

    [[nodiscard]] bool isStopped() const { return isStopped_; }

private:
    const std::function<bool(const StripProgress&)>& onProgress_;
    const OnPassEnd* onPassEnd_;
    Clock::duration interval_;
    StripPhase phase_ = StripPhase::Pairing;
    double begin_ = 0;
    double end_ = 0;
    double fraction_ = 0; ///< reported last
    Clock::time_point nextCall_;
    bool isStopped_ = false;
};

} // namespace vexa::mesh::detail
