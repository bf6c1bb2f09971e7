#include "process/Memory.h"

#include "support/ToolProcess.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace {

using vexa::tool::findFreeMemory;

/// The files of a system, in a directory. Sizes are in GiB: next to them, what the allocator of this process keeps is
/// nothing.
class FreeMemory : public testing::Test {
protected:
    void write(const std::string& name, const std::string& text) const {
        const std::filesystem::path file = directory_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    void writeMachine(std::uint64_t available, std::uint64_t cached, std::uint64_t swap) const {
        const auto line = [](const std::string& word, std::uint64_t size) {
            return word + ": " + std::to_string(size << 20) + " kB\n";
        };
        write("proc/meminfo", line("MemTotal", 900) + line("MemFree", 10) + line("MemAvailable", available) +
                                  line("Cached", cached) + line("SwapFree", swap));
    }

    static std::string bytes(std::uint64_t size) { return std::to_string(size << 30); }

    /// "500 the machine", or "" if nothing is known.
    [[nodiscard]] std::string find() const {
        const auto free = findFreeMemory(directory_.path());
        return free ? std::to_string(free->bytes >> 30) + " " + free->owner : "";
    }

private:
    tool_test::TemporaryDirectory directory_;
};

TEST_F(FreeMemory, CountsFilesInMemoryAndSwap) {
    writeMachine(500, 100, 0);
    EXPECT_EQ(find(), "500 the machine");
    writeMachine(500, 100, 7);
    EXPECT_EQ(find(), "507 the machine");
    writeMachine(500, 600, 7);
    EXPECT_EQ(find(), "617 the machine");
}

TEST_F(FreeMemory, IsUnknownWithoutFilesThatSayIt) {
    EXPECT_EQ(find(), "");
    write("proc/meminfo", "MemTotal: many kB\n");
    write("proc/self/cgroup", "0::/\nnonsense\n::\n");
    EXPECT_EQ(find(), "");
}

TEST_F(FreeMemory, IsThatOfTheTightestGroup) {
    writeMachine(500, 0, 0);
    write("proc/self/cgroup", "0::/outer/inner\n");
    write("sys/fs/cgroup/outer/memory.max", bytes(90));
    write("sys/fs/cgroup/outer/memory.stat", "anon " + bytes(50) + "\nfile " + bytes(30));
    write("sys/fs/cgroup/outer/inner/memory.max", bytes(60));
    write("sys/fs/cgroup/outer/inner/memory.stat", "file 5\nanon " + bytes(10));
    EXPECT_EQ(find(), "40 the control group (cgroup)");
    write("sys/fs/cgroup/outer/inner/memory.stat", "anon " + bytes(70));
    EXPECT_EQ(find(), "0 the control group (cgroup)");
    write("sys/fs/cgroup/outer/inner/memory.max", "max\n");
    EXPECT_EQ(find(), "40 the control group (cgroup)");
}

TEST_F(FreeMemory, IsThatOfAContainerSeenFromWithin) {
    writeMachine(500, 0, 3);
    write("proc/self/cgroup", "5:cpu:/a\n4:hugetlb,memory:/a/b\n0::/\n");
    write("sys/fs/cgroup/memory/memory.limit_in_bytes", bytes(60));
    write("sys/fs/cgroup/memory/memory.stat", "rss 1\ntotal_rss " + bytes(20));
    EXPECT_EQ(find(), "43 the control group (cgroup)");
}

TEST_F(FreeMemory, IsThatOfTheMachineInAGroupWithoutLimit) {
    writeMachine(500, 0, 0);
    write("proc/self/cgroup", "4:memory:/\n");
    write("sys/fs/cgroup/memory/memory.limit_in_bytes", "9223372036854771712\n");
    write("sys/fs/cgroup/memory/memory.stat", "total_rss " + bytes(20));
    EXPECT_EQ(find(), "500 the machine");
}

} // namespace
