#include "process/Interruption.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <unistd.h>

namespace vexa::tool {

namespace {

constexpr std::array interruptions = {SIGINT, SIGTERM, SIGHUP};

std::array<std::atomic<const char*>, maxTemporaryFiles> temporaryFiles{};
std::atomic<bool> isDeferred{false};
std::atomic<int> noted{0};
static_assert(std::atomic<const char*>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "a signal handler may use these only without locks");

/// Those that are not ignored. Ignored ones must not be blocked: they would then be kept as pending.
sigset_t interruptionSet() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : interruptions) {
        struct sigaction current {};
        ::sigaction(signal, nullptr, &current);
        if (current.sa_handler != SIG_IGN) {
            ::sigaddset(&set, signal);
        }
    }
    return set;
}

/// Runs at any point of the program: calls only functions that are safe there.
void handleInterruption(int signal) {
    if (isDeferred) {
        int none = 0;
        noted.compare_exchange_strong(none, signal);
    } else {
        endBySignal(signal);
    }
}

} // namespace

void endCleanlyWhenInterrupted() {
    struct sigaction action {};
    action.sa_handler = handleInterruption;
    // One is enough: a second one waits until the first has ended the process.
    action.sa_mask = interruptionSet();
    for (const int signal : interruptions) {
        struct sigaction before {};
        ::sigaction(signal, nullptr, &before);
        if (signal == SIGTERM || before.sa_handler != SIG_IGN) {
            ::sigaction(signal, &action, nullptr);
        }
    }
}

void endBySignal(int signal) {
    for (const std::atomic<const char*>& file : temporaryFiles) {
        if (const char* name = file) {
            ::unlink(name);
        }
    }
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    ::sigaction(signal, &byDefault, nullptr);
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, signal);
    ::raise(signal);
    ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
    ::_exit(128 + signal);
}

DeferredInterruption::DeferredInterruption() {
    const sigset_t set = interruptionSet();
    ::sigprocmask(SIG_BLOCK, &set, &before_);
    noted = 0;
    isDeferred = true;
}

DeferredInterruption::~DeferredInterruption() {
    // The caller still has to report what `signal` has returned, which another delivery must not prevent.
    isDeferred = noted != 0;
    ::sigprocmask(SIG_SETMASK, &before_, nullptr);
    isDeferred = false;
}

bool DeferredInterruption::wait(std::vector<pollfd>& descriptors) {
    return ::ppoll(descriptors.data(), descriptors.size(), nullptr, &before_) >= 0;
}

int DeferredInterruption::signal() { // NOLINT(readability-convert-member-functions-to-static)
    // `ppoll` delivers none as long as a descriptor is ready.
    const sigset_t awaited = interruptionSet();
    sigset_t pending;
    ::sigpending(&pending);
    for (const int signal : interruptions) {
        if (noted == 0 && ::sigismember(&awaited, signal) == 1 && ::sigismember(&pending, signal) == 1) {
            noted = signal;
        }
    }
    return noted;
}

void DeferredInterruption::leaveToParent() {
    for (std::size_t i = 0; i < temporaryFiles.size(); ++i) {
        removeWhenInterrupted(nullptr, i);
    }
    isDeferred = false;
    noted = 0;
    const sigset_t set = interruptionSet();
    ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

BlockedInterruption::BlockedInterruption() {
    const sigset_t set = interruptionSet();
    ::sigprocmask(SIG_BLOCK, &set, &before_);
}

BlockedInterruption::~BlockedInterruption() {
    ::sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void removeWhenInterrupted(const char* name, std::size_t place) {
    temporaryFiles.at(place) = name;
}

} // namespace vexa::tool
