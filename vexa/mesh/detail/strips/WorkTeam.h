#pragma once

#include "vexa/mesh/Executor.h"
#include "vexa/mesh/detail/strips/Polling.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace vexa::mesh::detail {

class SideTask;

/// Threads that share work with the thread that made them, the owner, or a caller's executor. Only the owner may use the
/// team.
class WorkTeam {
public:
    /// Called as `work(i, member)`; every thread has a member number of its own.
    using Work = std::function<void(std::uint32_t, unsigned)>;

    /// Starts one thread fewer than given, because the owner works as well; fewer still if the system has no more.
    explicit WorkTeam(unsigned threads = 1);
    /// Starts no threads.
    ///
    /// \param executor must outlive the team; an empty one leaves the owner alone
    /// \param tasks    that it is given at a time, at most
    WorkTeam(const Executor& executor, unsigned tasks);
    WorkTeam(const WorkTeam&) = delete;
    WorkTeam& operator=(const WorkTeam&) = delete;
    ~WorkTeam();

    /// Number of members, the owner included, whose number is 0.
    [[nodiscard]] unsigned size() const { return static_cast<unsigned>(threads_.size()) + tasks_ + 1; }
    /// Whether a `SideTask` runs beside the owner's work.
    [[nodiscard]] bool hasThreads() const { return !threads_.empty(); }

    /// Calls `work` once for every `i` below `count`: in order if the owner is alone, otherwise in any order and in
    /// several threads at once. Returns when all calls have returned. The work must not use the team.
    ///
    /// \param goesOn called in the owner's thread before each of its own calls; may be empty. False leaves out all calls
    ///               that have not begun
    /// \return false if calls were left out
    /// \throw whatever a call or the executor throws, once none is running any more; those that have not begun are left out
    bool forEach(std::uint32_t count, const Work& work, const GoesOn& goesOn = {});

private:
    friend class SideTask;

    struct Loop {
        const Work& work;
        std::uint32_t count;
        std::uint32_t next = 0;
        std::uint32_t running = 0;
        bool isCut = false;
        std::exception_ptr error = nullptr;
    };

    bool forEachAlone(std::uint32_t count, const Work& work, const GoesOn& goesOn);
    void execute(Loop& loop, const GoesOn& goesOn);
    void workAsOwner(Loop& loop, const GoesOn& goesOn);
    void serve(unsigned member);
    void call(std::unique_lock<std::mutex>& lock, Loop& loop, unsigned member);
    static void cut(Loop& loop);
    void dismiss();

    std::mutex mutex_; ///< guards all below except the threads
    std::condition_variable hasWork_;
    std::condition_variable hasFinished_;
    Loop* loop_ = nullptr;
    SideTask* task_ = nullptr; ///< that nobody has begun
    bool isEnding_ = false;
    std::vector<std::thread> threads_;
    const Executor* executor_ = nullptr;
    unsigned tasks_ = 0; ///< of the executor
};

/// As many as the caller allows: 0 for as many as the processor runs.
unsigned threadsAllowed(unsigned allowed);

/// The threads worth having for so many triangles, given what the caller allows: 0 for as many as the processor runs.
unsigned threadsFor(std::uint64_t triangleCount, unsigned allowed);

/// The tasks worth giving to an executor at a time; 1, the default of options, limits only threads of the library.
unsigned tasksFor(std::uint64_t triangleCount, unsigned allowed);

/// Work that a team does while its owner goes on with something else. An owner without threads does it at once.
class SideTask {
public:
    /// Given a poll that throws when the work is no longer wanted, to be called every few milliseconds.
    using Work = std::function<void(const Poll&)>;

    /// \param team may have one task at a time, and must outlive it
    /// \param poll called in the owner's thread if it does the work
    SideTask(WorkTeam& team, Work work, const Poll& poll);
    SideTask(const SideTask&) = delete;
    SideTask& operator=(const SideTask&) = delete;
    /// Ends the work early if it is not done.
    ~SideTask();

    /// Waits until the work is done; does it if nobody has begun. Calls the constructor's `poll` in the meantime.
    ///
    /// \throw whatever the work throws, and the poll
    void wait();

private:
    friend class WorkTeam;

    /// Thrown out of work that is no longer wanted.
    struct Unwanted {};

    void run();

    WorkTeam& team_;
    Work work_;
    Poll poll_;
    std::atomic<bool> isWanted_ = true;
    bool isRunning_ = false; ///< in a thread of the team; guarded by the team's mutex
    std::exception_ptr error_;
};

} // namespace vexa::mesh::detail
