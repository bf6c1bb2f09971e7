#pragma once

#include <chrono>
#include <csignal>
#include <cstddef>
#include <poll.h>
#include <vector>

namespace vexa::tool {

/// Lets SIGINT, SIGTERM and SIGHUP end this process cleanly: the temporary file that it is writing is removed, then it
/// ends by the signal itself, so that a shell sees 130, 143 or 129. Child processes end with their parent. Signals that
/// the process was started to ignore (as by nohup) stay ignored, except SIGTERM.
///
/// Call it once, at the beginning of the program.
void endCleanlyWhenInterrupted();

/// Ends the process as `signal` would have, after the temporary file is removed. Flush streams first.
[[noreturn]] void endBySignal(int signal);

/// While one exists, these signals do not end the process but are noted, for work that has to stop its child processes
/// and report before it ends. There must be one at most.
class DeferredInterruption {
public:
    DeferredInterruption();
    DeferredInterruption(const DeferredInterruption&) = delete;
    DeferredInterruption& operator=(const DeferredInterruption&) = delete;
    /// Signals end the process again from here on. If `signal` has returned one, it is the caller's to act on, and any
    /// further ones that are waiting are dropped.
    ~DeferredInterruption();

    /// Waits until a descriptor is ready or a signal arrives, as `poll` without a time limit. The only place where a
    /// signal is noticed, so that none arrives unseen between a check and the wait.
    ///
    /// \return false if it did not fill in `revents`
    bool wait(std::vector<pollfd>& descriptors);

    /// The first signal that has arrived; 0 if there was none.
    [[nodiscard]] int signal();

    /// In a forked process: signals end it, as in any other.
    static void leaveToParent();

private:
    sigset_t before_{};
};

/// While one exists, these signals wait. Keep it short.
class BlockedInterruption {
public:
    BlockedInterruption();
    BlockedInterruption(const BlockedInterruption&) = delete;
    BlockedInterruption& operator=(const BlockedInterruption&) = delete;
    ~BlockedInterruption();

private:
    sigset_t before_{};
};

/// Files that are written at the same time at most: a model's text and its data.
constexpr std::size_t maxTemporaryFiles = 2;

/// Names a file that is removed if a signal ends the process.
///
/// \param name  must stay valid until the next call; nullptr: none
/// \param place below `maxTemporaryFiles`; one file at each
void removeWhenInterrupted(const char* name, std::size_t place = 0);

} // namespace vexa::tool
