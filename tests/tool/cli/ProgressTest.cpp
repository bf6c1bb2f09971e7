// The progress bar is shown on a terminal and nowhere else.

#include "support/Paths.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

/// The output of the program on a terminal.
std::string runOnTerminal(const std::vector<std::string>& arguments) {
    std::vector<const char*> argv{programPath};
    for (const std::string& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    argv.push_back(nullptr);
    int terminal = -1;
    const pid_t pid = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0) {
        ::execv(programPath, const_cast<char* const*>(argv.data()));
        ::_exit(127);
    }
    std::string text;
    std::array<char, 4096> part{};
    // Reading fails once the last process on the terminal has exited.
    for (ssize_t count = 1; count > 0;) {
        count = ::read(terminal, part.data(), part.size());
        text.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    ::close(terminal);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << text;
    return text;
}

class ProgressBar : public testing::Test {
public:
    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "out.glb").string();
};

TEST_F(ProgressBar, CountsThePassesOfTheSearch) {
    gridModel(12, 12).writeGlb(in);
    const std::string text = runOnTerminal({"strip", in, "-o", out, "--iterations", "40"});
    EXPECT_THAT(text, HasSubstr("\r[##############################] 40 of 40 passes\x1b[K"));
    EXPECT_THAT(text, HasSubstr("1 of 1 primitives"));
    // The bar is erased before the report starts.
    EXPECT_LT(text.rfind("\r\x1b[K"), text.find("in.glb -> "));
}

TEST_F(ProgressBar, ShowsHowFarTheSearchIs) {
    gridModel(60, 60).writeGlb(in);
    const std::string text = runOnTerminal({"strip", in, "-o", out, "--effort", "3"});
    EXPECT_THAT(text, testing::ContainsRegex("\r\\[[#.]+\\] [0-9]+ % of the (search|bound)"));
    EXPECT_LT(text.rfind("\r\x1b[K"), text.find("in.glb -> "));
}

TEST_F(ProgressBar, DoesNotChangeTheOutput) {
    GltfModel model = gridModel(20, 20);
    const std::vector<unsigned int> nonManifold = randomTriangles(441, 900);
    model.json["meshes"].push_back(model.json["meshes"][0]);
    model.primitive(1)["indices"] = model.addIndices({nonManifold.begin(), nonManifold.end()});
    model.writeGlb(in);
    runOnTerminal({"strip", in, "-o", out, "--iterations", "30", "--fans", "5"});
    const std::string onTerminal = readText(out);
    EXPECT_EQ(runProgram({"strip", in, "-o", out, "--iterations", "30", "--fans", "5"}).exitCode, 0);
    EXPECT_EQ(readText(out), onTerminal);
}

TEST_F(ProgressBar, CountsTheFilesOfABatch) {
    gridModel(2, 2).writeGlb(in);
    gridModel(2, 2).writeGlb(directory / "other.glb");
    const std::string text =
        runOnTerminal({"strip", in, (directory / "other.glb").string(), "-d", (directory / "out").string()});
    EXPECT_THAT(text, HasSubstr("] 0 of 2 files"));
    EXPECT_THAT(text, HasSubstr("[##############################] 2 of 2 files"));
    EXPECT_LT(text.rfind("\r\x1b[K"), text.find("per triangle"));
}

TEST_F(ProgressBar, IsNotShownWithoutATerminal) {
    gridModel(12, 12).writeGlb(in);
    EXPECT_EQ(runProgram({"strip", in, "-o", out, "--iterations", "40"}).err, "");
    EXPECT_EQ(runProgram({"strip", in, "-d", (directory / "out").string()}).err, "");
}

} // namespace
