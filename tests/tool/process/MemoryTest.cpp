#include "process/Memory.h"

#include "base/Errors.h"
#include "ops/Stripping.h"
#include "support/ToolProcess.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;
using vexa::tool::findFreeMemory;
using vexa::tool::FormatError;
using vexa::tool::requireMemory;
using vexa::tool::setMaxMemory;

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

/// Sets the limit during its lifetime.
class MaxMemory {
public:
    explicit MaxMemory(std::size_t mebibytes) { setMaxMemory(mebibytes); }
    MaxMemory(const MaxMemory&) = delete;
    MaxMemory& operator=(const MaxMemory&) = delete;
    ~MaxMemory() { setMaxMemory(std::nullopt); }
};

TEST(RequireMemory, RefusesMoreThanThereIs) {
    const MaxMemory few(1);
    EXPECT_THAT(
        [] { requireMemory(std::uint64_t{5} << 20, "reading it"); },
        ThrowsMessage<FormatError>("reading it takes 6 MiB of memory or more, and --max-memory leaves 0 MiB; free "
                                   "or allow more, or split the model (--max-memory overrides this limit)"));
}

TEST(RequireMemory, AllowsWhatThereIs) {
    const MaxMemory many(1U << 30);
    EXPECT_NO_THROW(requireMemory(std::uint64_t{1} << 40, ""));
}

TEST(RequireMemory, RefusesToCutMoreTrianglesThanFit) {
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

TEST(RequireMemory, ItsRefusalIsOneLineThatNamesTheFileAndWritesNothing) {
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

} // namespace
