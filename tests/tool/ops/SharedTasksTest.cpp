#include "ops/SharedTasks.h"

#include "base/Errors.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;
using vexa::tool::FormatError;
using vexa::tool::shareTasks;
using Calls = std::vector<std::pair<std::size_t, unsigned>>;

/// The calls with the threads that each may use.
Calls callsFor(const std::vector<std::size_t>& sizes, unsigned threads, bool isDivisible) {
    Calls calls;
    std::mutex mutex;
    shareTasks(sizes, threads, isDivisible, [&](std::size_t task, unsigned allowed) {
        const std::lock_guard lock(mutex);
        calls.emplace_back(task, allowed);
    });
    return calls;
}

TEST(ShareTasks, CallsThemInTheirOrderInOneThread) {
    EXPECT_THAT(callsFor({1, 30, 2}, 1, true), ElementsAre(Pair(0, 1), Pair(1, 1), Pair(2, 1)));
}

TEST(ShareTasks, ASingleOneMayUseAllThreads) {
    EXPECT_THAT(callsFor({5}, 3, true), ElementsAre(Pair(0, 3)));
    EXPECT_THAT(callsFor({}, 3, true), ElementsAre());
}

TEST(ShareTasks, OneWithMoreThanHalfOfAllComesFirstWithAllThreads) {
    const Calls calls = callsFor({1, 30, 2}, 3, true);
    EXPECT_THAT(calls, UnorderedElementsAre(Pair(0, 1), Pair(1, 3), Pair(2, 1)));
    EXPECT_THAT(calls.front(), Pair(1, 3));
}

TEST(ShareTasks, OthersAndIndivisibleOnesHaveOneThreadEach) {
    EXPECT_THAT(callsFor({20, 30, 20}, 3, true), UnorderedElementsAre(Pair(0, 1), Pair(1, 1), Pair(2, 1)));
    EXPECT_THAT(callsFor({1, 30, 2}, 3, false), UnorderedElementsAre(Pair(0, 1), Pair(1, 1), Pair(2, 1)));
}

TEST(ShareTasks, ThoseRefusedBesideOthersAreCalledAgainAlone) {
    std::atomic<int> running = 0;
    std::vector<std::size_t> repeated;
    shareTasks({4, 4, 4, 4}, 2, true, [&](std::size_t task, unsigned allowed) {
        if (allowed == 1) {
            ++running;
            std::this_thread::yield();
            --running;
            throw FormatError("too large");
        }
        EXPECT_EQ(running, 0);
        repeated.push_back(task);
    });
    EXPECT_THAT(repeated, ElementsAre(0, 1, 2, 3));
}

TEST(ShareTasks, PassesErrorsOn) {
    const auto fail = [](std::size_t, unsigned) { throw std::logic_error("fault"); };
    EXPECT_THROW(shareTasks({4, 4}, 2, true, fail), std::logic_error);
    const auto refuse = [](std::size_t, unsigned) { throw FormatError("too large"); };
    EXPECT_THROW(shareTasks({4, 4}, 2, true, refuse), FormatError);
}

} // namespace
