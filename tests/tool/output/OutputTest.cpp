// Arguments and writing: existing files survive a failure.

#include "support/Paths.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;

class Output : public testing::Test {
public:
    void SetUp() override { gridModel(2, 2).writeGlb(in); }

    void expectError(const std::vector<std::string>& arguments, int code, const std::string& what) {
        const ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, code) << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(countOf(result.err, "\n"), 1u) << result.err;
        EXPECT_THAT(result.err, HasSubstr(what));
    }

    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
};

TEST_F(Output, RefusesToOverwriteTheInput) {
    const std::string before = readText(in);
    expectError({"strip", in, "-o", in}, 2, "is the input");
    std::filesystem::create_symlink(in, directory / "link.glb");
    expectError({"strip", in, "-o", (directory / "link.glb").string()}, 2, "is the input");
    EXPECT_EQ(readText(in), before);
}

TEST_F(Output, NeedsTheExtensionOfItsFormat) {
    expectError({"strip", in, "-o", "out.obj"}, 2, "does not end in .glb or .gltf");
}

TEST_F(Output, NeedsAnExistingDirectory) {
    expectError({"strip", in, "-o", (directory / "no" / "out.glb").string()}, 3, "No such file or directory");
}

TEST_F(Output, RefusesDirectoriesAndDevices) {
    std::filesystem::create_directory(directory / "out.glb");
    expectError({"strip", in, "-o", (directory / "out.glb").string()}, 3, "is a directory");
    std::filesystem::create_symlink("/dev/full", directory / "full.glb");
    expectError({"strip", in, "-o", (directory / "full.glb").string()}, 3, "is not a regular file");
}

TEST_F(Output, FullDiskLeavesTheOldFileAndNothingElse) {
    writeText(directory / "out.glb", "the old file");
    const ProcessResult result = [&] {
        rlimit before{};
        ::getrlimit(RLIMIT_FSIZE, &before);
        // Not even the small model fits, as on a full disk.
        const rlimit small{600, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
        ProcessResult run = runProgram({"strip", in, "-o", (directory / "out.glb").string()});
        ::setrlimit(RLIMIT_FSIZE, &before);
        return run;
    }();
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr("out.glb: cannot be written: File too large"));
    EXPECT_EQ(readText(directory / "out.glb"), "the old file");
    EXPECT_THAT(directory.files(), ElementsAre("in.glb", "out.glb"));
}

TEST_F(Output, ReplacesAnOlderFileAndKeepsItsPermissions) {
    const std::string out = (directory / "out.glb").string();
    writeText(out, "the old file");
    ::chmod(out.c_str(), 0640);
    EXPECT_EQ(runForked({"strip", in, "-o", out}).exitCode, 0);
    EXPECT_EQ(readText(out).substr(0, 4), "glTF");
    struct stat status {};
    ::stat(out.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST_F(Output, WritesThroughASymbolicLink) {
    std::filesystem::create_directory(directory / "elsewhere");
    std::filesystem::create_symlink("elsewhere/real.glb", directory / "out.glb");
    EXPECT_EQ(runForked({"strip", in, "-o", (directory / "out.glb").string()}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(directory / "out.glb"));
    EXPECT_EQ(readText(directory / "elsewhere" / "real.glb").substr(0, 4), "glTF");
}

TEST_F(Output, ReportsStandardOutputThatCannotBeWritten) {
    const std::string command = std::string(programPath) + " info " + in + " > /dev/full 2>/dev/null";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 3);
}

class Arguments : public Output {};

TEST_F(Arguments, WrongArgumentsExitWithTwo) {
    const std::string out = (directory / "out.glb").string();
    expectError({}, 2, "subcommand");
    expectError({"fold", in}, 2, "");
    expectError({"info"}, 2, "FILE");
    expectError({"strip", in}, 2, "--output");
    expectError({"strip", "-o", out}, 2, "IN");
    expectError({"strip", in, "-o", out, "--iterations", "0"}, 2, "--iterations");
    expectError({"strip", in, "-o", out, "--iterations", "many"}, 2, "--iterations");
    expectError({"strip", in, "-o", out, "--fans", "-3"}, 2, "--fans");
    expectError({"strip", in, "-o", out, "--join", "glue"}, 2, "--join");
    expectError({"strip", in, "-o", out, "--unknown"}, 2, "--unknown");
    EXPECT_THAT(directory.files(), ElementsAre("in.glb"));
}

TEST_F(Arguments, HelpAndVersionGoToStandardOutput) {
    const ProcessResult help = runForked({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.err, "");
    for (const char* part : {"info", "strip", "Exit codes:", "  3  a file is missing or broken"}) {
        EXPECT_THAT(help.out, HasSubstr(part));
    }
    EXPECT_THAT(runForked({"--version"}).out, testing::MatchesRegex("vexamesh [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    for (const char* verb :
         {"info", "strip", "unstrip", "validate", "compare", "merge", "edges", "pack", "dump", "verify"}) {
        const ProcessResult result = runForked({verb, "--help"});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_THAT(result.out, HasSubstr("Examples:\n  vexamesh " + std::string(verb)));
    }
}

} // namespace
