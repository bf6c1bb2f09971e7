// The bar of long work: on a terminal, and nowhere else.

#include "SmallModels.h"
#include "Stripping.h"
#include "ToolProcess.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using vexa::tool::StripSettings;

/// What the program prints on a terminal.
std::string runOnTerminal(const std::vector<std::string>& arguments) {
    std::vector<const char*> argv{VEXAMESH_PROGRAM};
    for (const std::string& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    argv.push_back(nullptr);
    int terminal = -1;
    const pid_t pid = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0) {
        ::execv(VEXAMESH_PROGRAM, const_cast<char* const*>(argv.data()));
        ::_exit(127);
    }
    std::string text;
    std::array<char, 4096> part{};
    // A terminal whose last user has gone ends with an error.
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
    EXPECT_THAT(text, HasSubstr("1 of 1 meshes"));
    // It is gone before the report begins.
    EXPECT_LT(text.rfind("\r\x1b[K"), text.find("in.glb -> "));
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

TEST_F(ProgressBar, IsNotThereWithoutATerminal) {
    gridModel(12, 12).writeGlb(in);
    EXPECT_EQ(runProgram({"strip", in, "-o", out, "--iterations", "40"}).err, "");
    EXPECT_EQ(runProgram({"strip", in, "-d", (directory / "out").string()}).err, "");
}

/// Triangles among few vertices, so that edges have any number of them.
std::vector<unsigned int> randomTriangles(unsigned int vertices, std::size_t count) {
    std::mt19937 random(5);
    std::vector<unsigned int> triangles;
    for (std::size_t i = 0; i < count; ++i) {
        const auto first = static_cast<unsigned int>(random() % vertices);
        const auto step = static_cast<unsigned int>(1 + random() % (vertices / 2 - 1));
        triangles.insert(triangles.end(), {first, (first + step) % vertices, (first + 2 * step) % vertices});
    }
    return triangles;
}

TEST(StripTriangles, ToldPassesChangeNothing) {
    const Grid grid = makeGrid(20, 15);
    const std::vector<unsigned int> regular(grid.indices.begin(), grid.indices.end());
    for (const std::vector<unsigned int>& triangles :
         {regular, randomTriangles(50, 300), std::vector<unsigned int>()}) {
        StripSettings settings;
        settings.options.iterations = 7;
        settings.options.buildFans = true;
        settings.options.minFanTriangles = 5;
        settings.joining = vexa::tool::Joining::None;
        const auto silent = vexa::tool::stripTriangles(vexa::mesh::TRIANGLES, triangles, settings);
        settings.onPass = [](std::size_t, std::size_t) {};
        const auto told = vexa::tool::stripTriangles(vexa::mesh::TRIANGLES, triangles, settings);
        ASSERT_EQ(told.primitives.size(), silent.primitives.size());
        for (std::size_t i = 0; i < told.primitives.size(); ++i) {
            EXPECT_EQ(told.primitives[i].type, silent.primitives[i].type);
            EXPECT_EQ(told.primitives[i].indices, silent.primitives[i].indices);
        }
    }
}

TEST(StripTriangles, TellsOfEveryPass) {
    const Grid grid = makeGrid(5, 5);
    StripSettings settings;
    settings.options.iterations = 9;
    std::vector<std::size_t> told;
    settings.onPass = [&](std::size_t done, std::size_t all) {
        EXPECT_EQ(all, 9u);
        told.push_back(done);
    };
    vexa::tool::stripTriangles(vexa::mesh::TRIANGLES, {grid.indices.begin(), grid.indices.end()}, settings);
    EXPECT_EQ(told, (std::vector<std::size_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

} // namespace
