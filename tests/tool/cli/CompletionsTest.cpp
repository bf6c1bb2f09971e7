#include "cli/Completions.h"

#include "support/CommandTest.h"

#include <array>
#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <sstream>

namespace {

using namespace tool_test;
using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;
using Words = std::set<std::string>;

class Completions : public CommandTest {
public:
    static std::string script(const std::string& shell) { return run({"completions", shell}, 0).out; }

    /// The candidates of bash for the last of some words.
    Words candidates(const std::string& words) {
        const std::string file = (directory / "completions.bash").string();
        writeText(file,
                  script("bash") + "cd " + directory.path().string() + "\nCOMP_WORDS=(" + words +
                      ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_vexamesh\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n");
        const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(("bash -u " + file + " 2>&1").c_str(), "r"), ::pclose);
        std::string text;
        std::array<char, 4096> part{};
        while (const std::size_t count = std::fread(part.data(), 1, part.size(), pipe.get())) {
            text.append(part.data(), count);
        }
        Words found;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            found.insert(line);
        }
        return found;
    }
};

TEST_F(Completions, BashOffersSubcommands) {
    EXPECT_EQ(candidates("vexamesh st"), Words{"strip"});
    EXPECT_THAT(candidates("vexamesh ''"), IsSupersetOf({"info", "merge", "unstrip", "completions"}));
}

TEST_F(Completions, BashOffersTheFlagsOfASubcommand) {
    EXPECT_EQ(candidates("vexamesh strip --j"), (Words{"--jobs", "--join", "--json"}));
    EXPECT_EQ(candidates("vexamesh merge a.glb --tr"), Words{"--translate"});
    EXPECT_THAT(candidates("vexamesh info -"), IsSupersetOf({"--json", "--strict", "--help"}));
    EXPECT_THAT(candidates("vexamesh info -"), Not(Contains("--join")));
    EXPECT_EQ(candidates("vexamesh --stri"), Words{"--strict"});
}

TEST_F(Completions, BashOffersTheChoicesOfAFlag) {
    EXPECT_THAT(candidates("vexamesh strip a.glb --join ''"), IsSupersetOf({"degenerate", "restart", "none"}));
    EXPECT_EQ(candidates("vexamesh --from p"), Words{"ply"});
    EXPECT_EQ(candidates("vexamesh completions z"), Words{"zsh"});
}

TEST_F(Completions, BashOffersFilesAndDirectories) {
    writeText(directory / "model one.glb", "");
    std::filesystem::create_directory(directory / "models");
    EXPECT_EQ(candidates("vexamesh strip mo"), (Words{"model one.glb", "models"}));
    EXPECT_EQ(candidates("vexamesh strip a.glb -o mo"), (Words{"model one.glb", "models"}));
    EXPECT_EQ(candidates("vexamesh strip a.glb -d mo"), Words{"models"});
    EXPECT_EQ(candidates("vexamesh info --allow-outside mo"), Words{"models"});
}

TEST_F(Completions, EveryShellKnowsEveryVerbOfTheHelpText) {
    const std::string help = run({"--help"}, 0).out;
    std::istringstream lines(help.substr(help.find("Subcommands:")));
    std::string verb;
    std::getline(lines, verb);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line) && line.starts_with("  "); ++count) {
        verb = line.substr(2, line.find(' ', 2) - 2);
        for (const char* shell : {"bash", "zsh", "fish"}) {
            EXPECT_THAT(script(shell), testing::HasSubstr(verb)) << shell;
        }
    }
    EXPECT_GE(count, 10u);
}

TEST_F(Completions, OtherShellsAreRefused) {
    EXPECT_THAT(run({"completions", "tcsh"}, 2).err, testing::HasSubstr("tcsh not in {bash,zsh,fish}"));
}

TEST(CompletionScript, QuotesHelpTexts) {
    const vexa::tool::FlagInfo flag{{"--it"}, "it's [a:b]"};
    const std::vector<vexa::tool::VerbInfo> verbs{{"go", "Goes: on", {flag}}};
    EXPECT_THAT(completionScript("zsh", verbs, {}), testing::HasSubstr(R"('*--it[it'\''s \[a\:b\]]')"));
    EXPECT_THAT(completionScript("zsh", verbs, {}), testing::HasSubstr(R"('go:Goes\: on')"));
    EXPECT_THAT(completionScript("fish", verbs, {}), testing::HasSubstr(R"(-l it -d 'it\'s [a:b]')"));
}

} // namespace
