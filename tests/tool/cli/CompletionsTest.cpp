#include "cli/Completions.h"

#include "support/CommandTest.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace tool_test;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;
using testing::Not;
using Words = std::set<std::string>;

std::string script(const std::string& shell) {
    const ProcessResult result = runForked({"completions", shell});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    return result.out;
}

/// Asks a shell, with all of its own completions, what it offers in a directory.
class Completions : public CommandTest, public testing::WithParamInterface<const char*> {
public:
    Completions() {
        std::filesystem::create_directories(work());
        std::filesystem::create_directory(directory / "home");
    }

    [[nodiscard]] std::filesystem::path work() const { return directory / "work"; }

    /// The candidates for the last word of each command line, which may be empty.
    [[nodiscard]] std::vector<Words> candidates(const std::vector<std::string>& lines) const {
        const std::string shell = GetParam();
        const std::string answer = (directory / "answer").string();
        std::string ask = "cd " + work().string() + "\nexport HOME=" + (directory / "home").string() + "\n";
        if (shell == "bash") {
            writeText(directory / "vexamesh", script(shell) + bashQuestions(lines, answer));
            ask += "bash -u " + (directory / "vexamesh").string();
        } else if (shell == "zsh") {
            writeText(directory / "_vexamesh", script(shell));
            writeText(directory / "home" / ".zshrc",
                      "fpath=(" + directory.path().string() + " $fpath)\n" + zshQuestions(lines, answer));
            ask += "ZDOTDIR=$HOME TERM=xterm script -qec 'zsh -d -i' /dev/null </dev/null >$HOME/log";
        } else {
            writeText(directory / "vexamesh.fish", script(shell) + fishQuestions(lines, answer));
            ask += "fish " + (directory / "vexamesh.fish").string();
        }
        writeText(directory / "ask", ask);
        EXPECT_EQ(std::system(("sh " + (directory / "ask").string()).c_str()), 0);
        std::vector<Words> answers;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            answers.push_back(read(answer + std::to_string(i)));
        }
        return answers;
    }

    static std::string bashQuestions(const std::vector<std::string>& lines, const std::string& answer) {
        std::string text;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            text += "COMP_WORDS=(" + lines[i] + (lines[i].ends_with(' ') ? "''" : "") +
                    ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_vexamesh\nprintf '%s\\n' \"${COMPREPLY[@]}\" >" +
                    answer + std::to_string(i) + "\n";
        }
        return text;
    }

    /// Inserts all candidates into the line as soon as the shell lets it be edited, on a terminal of its own.
    static std::string zshQuestions(const std::vector<std::string>& lines, const std::string& answer) {
        std::string text = "autoload -Uz compinit\n"
                           "compinit -u -D\n"
                           "insertAll() { _main_complete; compstate[insert]=all }\n"
                           "zle -C insertAll complete-word insertAll\n"
                           "ask() {\n"
                           "    BUFFER=$1 CURSOR=$#1\n"
                           "    local -a words=(${(z)${BUFFER% }})\n"
                           "    local first=$(($#words + ${#${(M)BUFFER% }}))\n"
                           "    zle insertAll\n"
                           "    words=(${(Q)${(z)BUFFER}})\n"
                           "    print -rl -- $words[first,-1] >$2\n"
                           "}\n"
                           "zle-line-init() {\n";
        for (std::size_t i = 0; i < lines.size(); ++i) {
            text += "    ask '" + lines[i] + "' " + answer + std::to_string(i) + "\n";
        }
        return text + "    exit\n}\nzle -N zle-line-init\n";
    }

    static std::string fishQuestions(const std::vector<std::string>& lines, const std::string& answer) {
        std::string text;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            text += "complete -C '" + lines[i] + "' | cut -f 1 >" + answer + std::to_string(i) + "\n";
        }
        return text;
    }

    /// The words, one a line, of a file. Some shells end directories with a slash.
    static Words read(const std::string& file) {
        Words words;
        std::istringstream lines(readText(file));
        for (std::string word; std::getline(lines, word);) {
            word.erase(std::remove(word.begin(), word.end(), '\\'), word.end());
            words.insert(word.ends_with('/') ? word.substr(0, word.size() - 1) : word);
        }
        return words;
    }
};

TEST_P(Completions, OfferEverySubcommandOfTheHelpText) {
    const std::string help = run({"--help"}, 0).out;
    std::istringstream lines(help.substr(help.find("Subcommands:")));
    std::string verb;
    std::getline(lines, verb);
    Words verbs;
    while (std::getline(lines, verb) && verb.starts_with("  ")) {
        verbs.insert(verb.substr(2, verb.find(' ', 2) - 2));
    }
    EXPECT_GE(verbs.size(), 10u);
    EXPECT_THAT(candidates({"vexamesh ", "vexamesh st"}), ElementsAre(verbs, Words{"strip"}));
}

TEST_P(Completions, OfferTheFlagsOfASubcommandAndThoseOfAll) {
    EXPECT_THAT(candidates({"vexamesh strip --j", "vexamesh merge a.glb --tr", "vexamesh --stri", "vexamesh info --"}),
                ElementsAre(Words{"--jobs", "--join", "--json"}, Words{"--translate"}, Words{"--strict"},
                            AllOf(IsSupersetOf({"--json", "--strict", "--help"}), Not(Contains("--join")))));
}

TEST_P(Completions, OfferTheChoicesOfAFlag) {
    EXPECT_THAT(candidates({"vexamesh strip a.glb --join ", "vexamesh --from p", "vexamesh completions z"}),
                ElementsAre(Words{"degenerate", "restart", "restart-fallback", "none"}, Words{"ply"}, Words{"zsh"}));
}

TEST_P(Completions, OfferFilesAndDirectories) {
    writeText(work() / "model one.glb", "");
    std::filesystem::create_directory(work() / "models");
    const Words both{"model one.glb", "models"};
    EXPECT_THAT(candidates({"vexamesh strip mo", "vexamesh strip a.glb -o mo", "vexamesh strip a.glb -d mo",
                            "vexamesh info --allow-outside mo"}),
                ElementsAre(both, both, Words{"models"}, Words{"models"}));
}

INSTANTIATE_TEST_SUITE_P(Shells, Completions, testing::Values("bash", "zsh", "fish"),
                         [](const auto& shell) { return std::string(shell.param); });

TEST(CompletionScript, OfOtherShellsIsRefused) {
    const ProcessResult result = runForked({"completions", "tcsh"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, testing::HasSubstr("tcsh not in {bash,zsh,fish}"));
}

TEST(CompletionScript, QuotesHelpTexts) {
    const vexa::tool::FlagInfo flag{{"--it"}, "it's [a:b]"};
    const std::vector<vexa::tool::VerbInfo> verbs{{"go", "Goes: on", {flag}}};
    EXPECT_THAT(completionScript("zsh", verbs, {}), testing::HasSubstr(R"('*--it[it'\''s \[a\:b\]]')"));
    EXPECT_THAT(completionScript("zsh", verbs, {}), testing::HasSubstr(R"('go:Goes\: on')"));
    EXPECT_THAT(completionScript("fish", verbs, {}), testing::HasSubstr(R"(-l it -d 'it\'s [a:b]')"));
}

} // namespace
