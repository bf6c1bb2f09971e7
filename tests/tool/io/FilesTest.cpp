// Files are written as a whole or not at all, also through a power loss.

#include "io/Files.h"
#include "base/Errors.h"
#include "support/ToolProcess.h"

#include <cerrno>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// The system calls of `writeFile`, in order.
std::vector<std::string> calls;
bool fsyncFails = false;

} // namespace

// These take the place of the system's library in the whole test program.
extern "C" int fsync(int descriptor) {
    struct stat status {};
    ::fstat(descriptor, &status);
    calls.emplace_back(S_ISDIR(status.st_mode) ? "fsync directory" : "fsync file");
    if (fsyncFails) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

extern "C" int rename(const char* from, const char* to) {
    calls.emplace_back("rename");
    return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

namespace {

using namespace tool_test;
using testing::ElementsAre;
using vexa::tool::FileError;
using vexa::tool::writeFile;

TEST(WriteFile, ContentReachesTheDiskBeforeTheName) {
    const TemporaryDirectory directory;
    calls.clear();
    vexa::tool::writeFile(directory / "out", {1, 2, 3});
    EXPECT_THAT(calls, ElementsAre("fsync file", "rename", "fsync directory"));
}

TEST(WriteFile, KeepsTheOldFileWhereTheDiskRefusesTheNewOne) {
    const TemporaryDirectory directory;
    writeText(directory / "out", "old");
    fsyncFails = true;
    EXPECT_THROW(vexa::tool::writeFile(directory / "out", {1, 2, 3}), vexa::tool::FileError);
    fsyncFails = false;
    EXPECT_EQ(readText(directory / "out"), "old");
    EXPECT_THAT(directory.files(), ElementsAre("out"));
}

TEST(WriteFiles, ReplacesNoneBeforeBothAreOnTheDisk) {
    const TemporaryDirectory directory;
    calls.clear();
    vexa::tool::writeFiles(directory / "a", {1}, directory / "b", {2});
    EXPECT_THAT(calls,
                ElementsAre("fsync file", "fsync file", "rename", "fsync directory", "rename", "fsync directory"));
    EXPECT_EQ(readText(directory / "a"), "\1");
    EXPECT_EQ(readText(directory / "b"), "\2");
}

TEST(WriteFiles, KeepsBothWhereOneCannotBeWritten) {
    const TemporaryDirectory directory;
    writeText(directory / "a", "old");
    std::filesystem::create_directory(directory / "b");
    EXPECT_THROW(vexa::tool::writeFiles(directory / "a", {1}, directory / "b", {2}), FileError);
    EXPECT_EQ(readText(directory / "a"), "old");
    EXPECT_THAT(directory.files(), ElementsAre("a", "b"));
}

TEST(WriteFile, GivesNewFilesTheUsualPermissions) {
    const TemporaryDirectory directory;
    const mode_t mask = ::umask(027);
    writeFile(directory / "file", {'a'});
    ::umask(mask);
    struct stat status {};
    ::stat((directory / "file").c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST(WriteFile, RefusesADirectoryThatIsNotWritable) {
    EXPECT_THROW(writeFile("/proc/out.glb", {'a'}), FileError);
}

} // namespace
