#include "process/MemoryClaims.h"

#include "base/Errors.h"
#include "ops/Stripping.h"
#include "process/Batch.h"
#include "process/Memory.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <optional>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;
using vexa::tool::BatchItem;
using vexa::tool::BatchResult;
using vexa::tool::FormatError;
using vexa::tool::MemoryClaim;
using vexa::tool::setMaxMemory;

/// Sets the limit during its lifetime.
class MaxMemory {
public:
    explicit MaxMemory(std::size_t mebibytes) { setMaxMemory(mebibytes); }
    MaxMemory(const MaxMemory&) = delete;
    MaxMemory& operator=(const MaxMemory&) = delete;
    ~MaxMemory() { setMaxMemory(std::nullopt); }
};

TEST(MemoryClaims, RefusesMoreThanThereIs) {
    const MaxMemory few(1);
    EXPECT_THAT(
        [] { const MemoryClaim claim(std::uint64_t{5} << 20, "reading it"); },
        ThrowsMessage<FormatError>("reading it takes 6 MiB of memory or more, and --max-memory leaves 0 MiB; free "
                                   "or allow more, or split the model (--max-memory overrides this limit)"));
}

TEST(MemoryClaims, AllowsWhatThereIs) {
    const MaxMemory many(1U << 30);
    EXPECT_NO_THROW(MemoryClaim(std::uint64_t{1} << 40, ""));
}

TEST(MemoryClaims, RefusesToCutMoreTrianglesThanFit) {
    std::vector<unsigned int> triangles;
    for (unsigned int i = 0; i < 4000; ++i) {
        triangles.insert(triangles.end(), {0, i + 1, i + 2});
    }
    const auto cut = [&] { vexa::tool::stripTriangles(vexa::mesh::TRIANGLES, triangles, {}); };
    EXPECT_NO_THROW(cut());
    const MaxMemory few(1);
    EXPECT_THAT(cut, ThrowsMessage<FormatError>(HasSubstr(
                         "cutting 4000 triangles into strips takes 1 MiB of memory or more, and --max-memory leaves")));
}

TEST(MemoryClaims, ItsRefusalIsOneLineThatNamesTheFileAndWritesNothing) {
    const tool_test::TemporaryDirectory directory;
    const std::string in = (directory / "in.obj").string();
    std::ofstream(in) << "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    const auto result =
        tool_test::runProgram({"strip", in, "-o", (directory / "out.glb").string(), "--max-memory", "1"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.err.find("vexamesh: " + in + ": reading it takes 1 MiB of memory or more, and --max-memory "), 0U);
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1);
    EXPECT_EQ(directory.files().size(), 1U);
}

TEST(MemoryClaims, RefusesAModelWithABufferThatDoesNotFit) {
    const tool_test::TemporaryDirectory directory;
    const auto model = directory / "in.gltf";
    tool_test::gridModel(2, 2).writeGltf(model, "large.bin");
    // A hole, which takes no place on the disk.
    std::filesystem::resize_file(directory / "large.bin", std::uintmax_t{900} << 20);
    const auto result =
        tool_test::runProgram({"strip", model.string(), "-o", (directory / "out.glb").string(), "--max-memory", "600"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr((directory / "large.bin").string() +
                                      ": reading it takes 901 MiB of memory or more, and --max-memory leaves"));
    EXPECT_EQ(directory.files().size(), 2U);
}

// No memory is taken for these claims: against them, what the processes themselves have is nothing.
constexpr std::uint64_t tenGiB = std::uint64_t{10} << 30;
constexpr std::size_t fifteenGiBInMiB = 15 << 10;

TEST(MemoryClaims, CountUntilTheyEnd) {
    const MaxMemory enoughForOne(fifteenGiBInMiB);
    {
        const MemoryClaim first(tenGiB, "the first");
        EXPECT_THAT([] { const MemoryClaim second(tenGiB, "the second"); },
                    ThrowsMessage<FormatError>(HasSubstr("the second takes 10241 MiB of memory or more")));
        EXPECT_NO_THROW(MemoryClaim(tenGiB / 4, "a small one"));
    }
    EXPECT_NO_THROW(MemoryClaim(tenGiB, "the second"));
}

void waitFor(const std::filesystem::path& file) {
    for (int i = 0; i < 2000 && !std::filesystem::exists(file); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

/// Claims memory in a process of a batch, and waits until another one was refused some.
BatchResult claimUntilRefused(const std::filesystem::path& refusal) {
    BatchResult result;
    try {
        const MemoryClaim claim(tenGiB, "it");
        waitFor(refusal);
        result.state = BatchResult::State::Done;
    } catch (const FormatError& error) {
        std::ofstream file(refusal);
        result.error = error.what();
    }
    return result;
}

/// Memory that goes back to the system as soon as it is freed.
class Mapped {
public:
    explicit Mapped(std::size_t size)
        : size_(size), memory_(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        if (memory_ == MAP_FAILED) {
            throw std::bad_alloc();
        }
        std::memset(memory_, 1, size_);
    }
    Mapped(const Mapped&) = delete;
    Mapped& operator=(const Mapped&) = delete;
    ~Mapped() { ::munmap(memory_, size_); }

private:
    std::size_t size_;
    void* memory_;
};

TEST(MemoryClaims, OfNothingLeaveToOtherJobsWhatIsFreedAfterwards) {
    constexpr std::size_t size = 96 << 20;
    const auto ofBoth = static_cast<std::size_t>(2 * vexa::tool::residentMemory(::getpid()));
    const MaxMemory enough(((ofBoth + size) >> 20) + 48);
    const tool_test::TemporaryDirectory directory;
    const auto freed = directory / "freed";
    const auto ended = directory / "ended";
    const auto refused = directory / "refused";
    const auto results = vexa::tool::runBatch(
                             {{"first", ""}, {"second", ""}}, 2,
                             [&](const BatchItem& item) {
                                 BatchResult result;
                                 result.state = BatchResult::State::Done;
                                 if (item.input == "first") {
                                     {
                                         const Mapped memory(size);
                                         const MemoryClaim claim(0, "nothing");
                                     }
                                     std::ofstream{freed};
                                     waitFor(ended);
                                     return result;
                                 }
                                 waitFor(freed);
                                 try {
                                     const MemoryClaim claim(size, "it");
                                 } catch (const FormatError& error) {
                                     std::ofstream(refused) << error.what();
                                 }
                                 std::ofstream{ended};
                                 return result;
                             },
                             [](std::size_t) {})
                             .results;
    for (const BatchResult& result : results) {
        EXPECT_EQ(result.state, BatchResult::State::Done) << result.error;
    }
    EXPECT_TRUE(std::filesystem::exists(ended));
    EXPECT_FALSE(std::filesystem::exists(refused)) << tool_test::readText(refused);
}

TEST(MemoryClaims, AJobThatFitsOnlyAloneIsDoneWhenOthersHaveEnded) {
    const MaxMemory enoughForOne(fifteenGiBInMiB);
    const tool_test::TemporaryDirectory directory;
    const auto refusal = directory / "refused";
    std::vector<std::size_t> finished;
    const auto results =
        vexa::tool::runBatch(
            {{"a", ""}, {"b", ""}, {"c", ""}}, 3, [&](const BatchItem&) { return claimUntilRefused(refusal); },
            [&](std::size_t done) { finished.push_back(done); })
            .results;
    EXPECT_TRUE(std::filesystem::exists(refusal)) << "jobs at the same time claim more than there is";
    for (const BatchResult& result : results) {
        EXPECT_EQ(result.state, BatchResult::State::Done) << result.error;
    }
    EXPECT_TRUE(std::is_sorted(finished.begin(), finished.end()));
    EXPECT_EQ(finished.back(), 3U);
}

TEST(MemoryClaims, AJobThatDoesNotFitAloneFails) {
    const MaxMemory notEnough(5 << 10);
    const tool_test::TemporaryDirectory directory;
    const auto results =
        vexa::tool::runBatch(
            {{"a", ""}, {"b", ""}}, 2, [&](const BatchItem&) { return claimUntilRefused(directory / "refused"); },
            [](std::size_t) {})
            .results;
    for (const BatchResult& result : results) {
        EXPECT_EQ(result.state, BatchResult::State::Failed);
        EXPECT_THAT(result.error, HasSubstr("it takes 10241 MiB of memory or more, and --max-memory leaves"));
    }
}

} // namespace
