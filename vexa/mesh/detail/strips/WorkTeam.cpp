#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

namespace vexa::mesh::detail {

WorkTeam::WorkTeam(unsigned threads) {
    threads_.reserve(std::max(1U, threads) - 1);
    try {
        for (unsigned member = 1; member < threads; ++member) {
            threads_.emplace_back([this, member] { serve(member); });
        }
    } catch (const std::system_error&) {
        // Those that could be started share the work.
    } catch (...) {
        dismiss();
        throw;
    }
}

WorkTeam::WorkTeam(const Executor& executor, unsigned tasks)
    : executor_(executor ? &executor : nullptr), tasks_(executor ? tasks : 0) {}

WorkTeam::~WorkTeam() {
    dismiss();
}

void WorkTeam::dismiss() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    hasWork_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

bool WorkTeam::forEach(std::uint32_t count, const Work& work, const GoesOn& goesOn) {
    if (size() == 1 || count < 2) {
        return forEachAlone(count, work, goesOn);
    }
    Loop loop{work, count};
    if (executor_ != nullptr) {
        execute(loop, goesOn);
    }
    std::unique_lock lock(mutex_);
    loop_ = &loop;
    lock.unlock();
    hasWork_.notify_all();
    workAsOwner(loop, goesOn);
    lock.lock();
    hasFinished_.wait(lock, [&loop] { return loop.running == 0; });
    loop_ = nullptr;
    if (loop.error) {
        std::rethrow_exception(loop.error);
    }
    return !loop.isCut;
}

/// Each task of the executor makes calls until none is left.
void WorkTeam::execute(Loop& loop, const GoesOn& goesOn) {
    const std::thread::id owner = std::this_thread::get_id();
    (*executor_)(std::min(tasks_, loop.count), [&](std::size_t task) {
        if (std::this_thread::get_id() == owner) {
            workAsOwner(loop, goesOn);
            return;
        }
        std::unique_lock lock(mutex_);
        while (loop.next < loop.count) {
            call(lock, loop, static_cast<unsigned>(task) + 1);
        }
    });
}

/// Makes calls until none is left.
void WorkTeam::workAsOwner(Loop& loop, const GoesOn& goesOn) {
    std::unique_lock lock(mutex_);
    while (loop.next < loop.count) {
        lock.unlock();
        bool isCut = false;
        std::exception_ptr error;
        try {
            isCut = goesOn && !goesOn();
        } catch (...) {
            error = std::current_exception();
        }
        lock.lock();
        if (isCut || error) {
            loop.error = loop.error ? loop.error : error;
            cut(loop);
        }
        call(lock, loop, 0);
    }
}

bool WorkTeam::forEachAlone(std::uint32_t count, const Work& work, const GoesOn& goesOn) {
    for (std::uint32_t i = 0; i < count; ++i) {
        if (goesOn && !goesOn()) {
            return false;
        }
        work(i, 0);
    }
    return true;
}

/// Makes the next call of a loop, if any is left.
void WorkTeam::call(std::unique_lock<std::mutex>& lock, Loop& loop, unsigned member) {
    if (loop.next == loop.count) {
        return;
    }
    const std::uint32_t i = loop.next++;
    ++loop.running;
    lock.unlock();
    std::exception_ptr error;
    try {
        loop.work(i, member);
    } catch (...) {
        error = std::current_exception();
    }
    lock.lock();
    if (error) {
        loop.error = loop.error ? loop.error : error;
        cut(loop);
    }
    if (--loop.running == 0 && loop.next == loop.count) {
        hasFinished_.notify_all();
    }
}

void WorkTeam::cut(Loop& loop) {
    loop.isCut = loop.isCut || loop.next != loop.count;
    loop.next = loop.count;
}

void WorkTeam::serve(unsigned member) {
    std::unique_lock lock(mutex_);
    for (;;) {
        hasWork_.wait(lock, [this] {
            return isEnding_ || task_ != nullptr || (loop_ != nullptr && loop_->next != loop_->count);
        });
        if (task_ != nullptr) {
            SideTask& task = *std::exchange(task_, nullptr);
            task.isRunning_ = true;
            lock.unlock();
            task.run();
            lock.lock();
            task.isRunning_ = false;
            hasFinished_.notify_all();
        } else if (isEnding_) {
            return;
        } else {
            call(lock, *loop_, member);
        }
    }
}

unsigned threadsAllowed(unsigned allowed) {
    return std::max(1U, allowed != 0 ? allowed : std::thread::hardware_concurrency());
}

unsigned threadsFor(std::uint64_t triangleCount, unsigned allowed) {
    // A thread takes as long to start as some thousand triangles take.
    constexpr std::uint64_t perThread = 4096;
    return static_cast<unsigned>(std::min<std::uint64_t>(threadsAllowed(allowed), triangleCount / perThread + 1));
}

unsigned tasksFor(std::uint64_t triangleCount, unsigned allowed) {
    return threadsFor(triangleCount, allowed == 1 ? 0 : allowed);
}

SideTask::SideTask(WorkTeam& team, Work work, const Poll& poll) : team_(team), work_(std::move(work)), poll_(poll) {
    if (team.threads_.empty()) {
        work_(poll_);
        return;
    }
    {
        const std::lock_guard lock(team_.mutex_);
        team_.task_ = this;
    }
    team_.hasWork_.notify_one();
}

SideTask::~SideTask() {
    isWanted_ = false;
    std::unique_lock lock(team_.mutex_);
    if (team_.task_ == this) {
        team_.task_ = nullptr;
    }
    team_.hasFinished_.wait(lock, [this] { return !isRunning_; });
}

void SideTask::run() {
    try {
        work_([this] {
            if (!isWanted_) {
                throw Unwanted();
            }
        });
    } catch (...) {
        error_ = std::current_exception();
    }
}

void SideTask::wait() {
    std::unique_lock lock(team_.mutex_);
    if (team_.task_ == this) {
        team_.task_ = nullptr;
        lock.unlock();
        work_(poll_);
        return;
    }
    while (!team_.hasFinished_.wait_for(lock, std::chrono::milliseconds(10), [this] { return !isRunning_; })) {
        lock.unlock();
        if (poll_) {
            poll_();
        }
        lock.lock();
    }
    if (error_) {
        std::rethrow_exception(std::exchange(error_, nullptr));
    }
}

} // namespace vexa::mesh::detail
