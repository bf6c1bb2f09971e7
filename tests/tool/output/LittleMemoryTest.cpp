// Too little memory, from less than the file to plenty: the program works or refuses, and never leaves half a file.

#include "support/CommandTest.h"
#include "support/Sanitizer.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace tool_test;

/// Lets this process, and those that it starts meanwhile, have so many more bytes of address space.
class MemoryLimit {
public:
    explicit MemoryLimit(std::size_t bytes) {
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        ::getrlimit(RLIMIT_AS, &before_);
        const rlimit limit{pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) + bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_AS, &limit);
    }
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
    ~MemoryLimit() { ::setrlimit(RLIMIT_AS, &before_); }

private:
    rlimit before_{};
};

class LittleMemory : public CommandTest {
public:
    void SetUp() override {
        if (isSanitized) {
            GTEST_SKIP() << needsOfSanitizers;
        }
    }

    /// Runs a command that writes a file, with from half to 64 times the size of the input.
    void expectOrderlyEnds(const std::vector<std::string>& arguments) {
        const std::size_t fileSize = std::filesystem::file_size(in);
        int code = runForked(arguments).exitCode;
        ASSERT_EQ(code, 0);
        const std::string complete = readText(out);
        for (std::size_t halves = 1; halves <= 128; halves *= 2) {
            const std::string old = "the old file";
            writeText(out, old);
            const ProcessResult result = [&] {
                const MemoryLimit limit(halves * fileSize / 2);
                return runForked(arguments);
            }();
            code = result.exitCode;
            ASSERT_TRUE(code == 0 || code == 3) << halves << ": " << code << ", signal " << result.signal << result.err;
            if (code == 3) {
                EXPECT_EQ(countOf(result.err, "\n"), 1u) << result.err;
                EXPECT_EQ(countOf(result.err, "memory"), 1u) << result.err;
                EXPECT_EQ(readText(out), old) << halves;
            } else {
                EXPECT_TRUE(readText(out) == complete) << halves;
            }
            EXPECT_EQ(directory.files().size(), 2u) << halves;
        }
        EXPECT_EQ(code, 0);
    }

    std::string in = write("in.glb", gridModel(100, 100));
};

TEST_F(LittleMemory, StripsOrRefuses) {
    expectOrderlyEnds({"strip", in, "-o", out});
}

TEST_F(LittleMemory, StripsToFewIndicesOrRefuses) {
    expectOrderlyEnds({"strip", in, "--effort", "2", "-o", out});
}

TEST_F(LittleMemory, MergesOrRefuses) {
    expectOrderlyEnds({"merge", in, "-o", out});
}

} // namespace
