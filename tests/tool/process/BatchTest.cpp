#include "process/Batch.h"

#include "support/Sanitizer.h"
#include "support/ToolProcess.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using vexa::tool::BatchItem;
using vexa::tool::BatchResult;

TEST(RunBatch, RunsEveryItemAndKeepsTheirOrder) {
    std::vector<BatchItem> items;
    for (int i = 0; i < 20; ++i) {
        items.push_back({std::to_string(i), ""});
    }
    std::vector<std::size_t> told;
    const std::vector<BatchResult> results = vexa::tool::runBatch(
                                                 items, 3,
                                                 [](const BatchItem& item) {
                                                     BatchResult result;
                                                     result.summary = {{"number", std::stoul(item.input)}};
                                                     return result;
                                                 },
                                                 [&](std::size_t done) { told.push_back(done); })
                                                 .results;
    ASSERT_EQ(results.size(), items.size());
    for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_EQ(results[i].summary["number"], i);
    }
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(told.back(), 20u);
}

TEST(RunBatch, BeginsWithLargeFilesIfSeveralAtATime) {
    const tool_test::TemporaryDirectory directory;
    std::vector<BatchItem> items;
    for (const std::size_t size : {std::size_t{1}, std::size_t{1000}, std::size_t{100000}}) {
        const std::string file = (directory / std::to_string(size)).string();
        std::ofstream(file) << std::string(size, ' ');
        items.push_back({file, ""});
    }
    const std::filesystem::path anotherIsDone = directory / "done";
    const auto smallestWaitsForAnother = [&](std::size_t jobs) {
        std::filesystem::remove(anotherIsDone);
        const auto results = vexa::tool::runBatch(
                                 items, jobs,
                                 [&](const BatchItem&) {
                                     BatchResult result;
                                     result.summary = std::filesystem::exists(anotherIsDone);
                                     std::ofstream file(anotherIsDone);
                                     return result;
                                 },
                                 [](std::size_t) {})
                                 .results;
        return results.front().summary.get<bool>();
    };
    EXPECT_TRUE(smallestWaitsForAnother(2));
    EXPECT_FALSE(smallestWaitsForAnother(1));
}

TEST(RunBatch, ACrashFailsOnlyItsItem) {
    const std::vector<BatchResult> results = vexa::tool::runBatch(
                                                 {{"a", ""}, {"b", ""}, {"c", ""}}, 2,
                                                 [](const BatchItem& item) {
                                                     if (item.input == "b") {
                                                         std::raise(SIGSEGV);
                                                     }
                                                     BatchResult result;
                                                     result.state = BatchResult::State::Done;
                                                     return result;
                                                 },
                                                 [](std::size_t) {})
                                                 .results;
    EXPECT_EQ(results[0].state, BatchResult::State::Done);
    EXPECT_EQ(results[1].state, BatchResult::State::Failed);
    EXPECT_EQ(results[1].error, "its process crashed (Segmentation fault)");
    EXPECT_EQ(results[2].state, BatchResult::State::Done);
}

/// Limits this process to `count` more descriptors during its lifetime.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t count) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const int next = ::dup(STDOUT_FILENO);
        ::close(next);
        const rlimit few{static_cast<rlim_t>(next) + count, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

private:
    rlimit before_{};
};

TEST(RunBatch, WaitsWhenTheMachineAllowsNoMoreJobs) {
    if (tool_test::isSanitized) {
        GTEST_SKIP() << tool_test::needsOfSanitizers;
    }
    const FewDescriptors few(10);
    const std::vector<BatchResult> results = vexa::tool::runBatch(
                                                 std::vector<BatchItem>(40), 40,
                                                 [](const BatchItem&) {
                                                     BatchResult result;
                                                     result.state = BatchResult::State::Done;
                                                     return result;
                                                 },
                                                 [](std::size_t) {})
                                                 .results;
    ASSERT_EQ(results.size(), 40u);
    for (const BatchResult& result : results) {
        EXPECT_EQ(result.state, BatchResult::State::Done) << result.error;
    }
}

} // namespace
