#include "support/Executors.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/WorkTeam.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace vexa::mesh::detail;

TEST(WorkTeam, MakesEveryCallOnce) {
    for (const unsigned threads : {0U, 1U, 2U, 5U}) {
        WorkTeam team(threads);
        for (const std::uint32_t count : {0U, 1U, 2U, 1000U}) {
            std::vector<std::atomic<int>> calls(count);
            EXPECT_TRUE(team.forEach(count, [&](std::uint32_t i, unsigned member) {
                EXPECT_LT(member, team.size());
                ++calls[i];
            }));
            for (const std::atomic<int>& number : calls) {
                EXPECT_EQ(number, 1) << threads << " threads, " << count << " calls";
            }
        }
    }
}

TEST(WorkTeam, SharesTheWork) {
    WorkTeam team(3);
    std::atomic<unsigned> waiting = 0;
    team.forEach(3, [&](std::uint32_t, unsigned) {
        // Returns only when all three threads are here.
        for (++waiting; waiting < 3;) {
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(waiting, 3U);
}

TEST(WorkTeam, GivesEveryThreadOfAnExecutorANumberOfItsOwn) {
    for (const executors::NamedExecutor& executor : executors::all()) {
        WorkTeam team(executor.run, 4);
        std::vector<std::atomic<bool>> isBusy(team.size());
        std::atomic<unsigned> calls = 0;
        const auto call = [&](std::uint32_t, unsigned member) {
            ASSERT_LT(member, team.size());
            EXPECT_FALSE(isBusy[member].exchange(true)) << executor.name;
            std::this_thread::yield();
            isBusy[member] = false;
            ++calls;
        };
        EXPECT_TRUE(team.forEach(500, call));
        EXPECT_EQ(calls, 500U) << executor.name;
    }
}

TEST(WorkTeam, LeavesOutTheRestWhenStopped) {
    for (const unsigned threads : {1U, 3U}) {
        WorkTeam team(threads);
        constexpr std::uint32_t tooMany = 4000000000;
        std::atomic<std::uint32_t> calls = 0;
        unsigned asked = 0;
        EXPECT_FALSE(team.forEach(
            tooMany, [&](std::uint32_t, unsigned) { ++calls; }, [&] { return ++asked < 3; }));
        EXPECT_LT(calls, tooMany) << threads;
    }
}

TEST(WorkTeam, PassesOnWhatACallThrows) {
    for (const unsigned threads : {1U, 3U}) {
        WorkTeam team(threads);
        const auto throwAtTen = [](std::uint32_t i, unsigned) {
            if (i == 10) {
                throw std::runtime_error("ten");
            }
        };
        EXPECT_THROW(team.forEach(1000, throwAtTen), std::runtime_error);
        EXPECT_TRUE(team.forEach(10, throwAtTen)) << "remains usable";
    }
}

TEST(WorkTeam, PassesOnWhatThePollThrows) {
    WorkTeam team(3);
    std::atomic<bool> hasPolled = false;
    const auto wait = [&](std::uint32_t, unsigned) {
        while (!hasPolled) {
            std::this_thread::yield();
        }
    };
    const auto poll = [&]() -> bool {
        hasPolled = true;
        throw std::runtime_error("poll");
    };
    EXPECT_THROW(team.forEach(1000000, wait, poll), std::runtime_error);
}

TEST(ThreadsFor, GivesSmallMeshesOneThread) {
    EXPECT_EQ(threadsFor(0, 8), 1U);
    EXPECT_EQ(threadsFor(1000, 8), 1U);
    EXPECT_EQ(threadsFor(1000000, 8), 8U);
    EXPECT_GE(threadsFor(1000000, 0), 1U);
    EXPECT_LT(threadsFor(1000000, std::numeric_limits<unsigned>::max()), 300U);
}

TEST(SideTask, IsDoneAfterWaiting) {
    for (const unsigned threads : {1U, 2U}) {
        WorkTeam team(threads);
        for (int round = 0; round < 100; ++round) {
            int done = 0;
            SideTask task(team, [&](const Poll&) { ++done; }, {});
            std::atomic<unsigned> calls = 0;
            team.forEach(20, [&](std::uint32_t, unsigned) { ++calls; });
            task.wait();
            EXPECT_EQ(done, 1);
            EXPECT_EQ(calls, 20U);
        }
    }
}

TEST(SideTask, EndsWhenItIsNoLongerWanted) {
    WorkTeam team(2);
    std::atomic<bool> hasBegun = false;
    bool isFinished = false;
    {
        const SideTask task(team,
                            [&](const Poll& poll) {
                                for (hasBegun = true;;) {
                                    poll();
                                }
                                isFinished = true;
                            },
                            {});
        while (!hasBegun) {
            std::this_thread::yield();
        }
    }
    EXPECT_FALSE(isFinished);
}

TEST(SideTask, PassesOnWhatItThrows) {
    WorkTeam team(2);
    SideTask task(team, [](const Poll&) { throw std::runtime_error("task"); }, {});
    EXPECT_THROW(task.wait(), std::runtime_error);
}

TEST(SideTask, PollsWhileWaiting) {
    WorkTeam team(2);
    std::atomic<bool> hasBegun = false;
    std::atomic<int> polls = 0;
    SideTask task(
        team,
        [&](const Poll&) {
            for (hasBegun = true; polls < 2;) {
                std::this_thread::yield();
            }
        },
        [&] { ++polls; });
    while (!hasBegun) {
        std::this_thread::yield();
    }
    task.wait();
    EXPECT_GE(polls, 2);
}

} // namespace
