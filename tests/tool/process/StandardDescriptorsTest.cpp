// A program that is started without some of its standard streams, as some daemons do.

#include "process/StandardDescriptors.h"
#include "support/Paths.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace tool_test;

/// Runs the built program without these descriptors.
int exitCodeWithout(const std::vector<int>& closed, const std::vector<const char*>& arguments,
                    const std::filesystem::path& out) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int file = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        ::dup2(file, STDOUT_FILENO);
        for (const int descriptor : closed) {
            ::close(descriptor);
        }
        ::execv(programPath, const_cast<char* const*>(arguments.data()));
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(StandardDescriptors, MayBeClosed) {
    const TemporaryDirectory directory;
    const std::string in = (directory / "in.glb").string();
    gridModel(2, 2).writeGlb(in);
    const std::vector<const char*> arguments{programPath, "info", in.c_str(), nullptr};
    for (const std::vector<int>& closed : std::vector<std::vector<int>>{{}, {0}, {2}, {0, 2}}) {
        EXPECT_EQ(exitCodeWithout(closed, arguments, directory / "out"), 0);
        EXPECT_THAT(readText(directory / "out"), testing::HasSubstr("TRIANGLES"));
    }
}

TEST(StandardDescriptors, OutputThatGoesNowhereIsAnError) {
    const TemporaryDirectory directory;
    const std::string in = (directory / "in.glb").string();
    gridModel(2, 2).writeGlb(in);
    const std::vector<const char*> arguments{programPath, "info", in.c_str(), nullptr};
    EXPECT_EQ(exitCodeWithout({0, 1, 2}, arguments, directory / "out"), 3);
}

} // namespace
