#include "cli/Manual.h"

#include "support/CommandTest.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using vexa::tool::FlagInfo;
using vexa::tool::VerbInfo;

/// Words with one space between any two.
std::string inOneLine(const std::string& text) {
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;) {
        line += (line.empty() ? "" : " ") + word;
    }
    return line;
}

class Manual : public CommandTest {
public:
    /// A page as man displays it, in one line; fails if man warns of something.
    [[nodiscard]] std::string displayed(const std::string& page) const {
        const std::string answer = (directory / "answer").string();
        const std::string command = "LC_ALL=C.UTF-8 MANWIDTH=9999 MANROFFOPT='-rHY=0' man --warnings -P cat -l " +
                                    (directory / page).string() + " >" + answer + " 2>" + answer + ".err";
        EXPECT_EQ(std::system(command.c_str()), 0) << page;
        EXPECT_EQ(readText(answer + ".err"), "") << page;
        return inOneLine(readText(answer));
    }
};

TEST_F(Manual, OfTheProgramAndOfEverySubcommandSaysWhatTheHelpTextSays) {
    run({"manual", directory.path().string()}, 0);
    const std::vector<std::string> pages = directory.files();
    EXPECT_GE(pages.size(), 12u);
    for (const std::string& page : pages) {
        const std::string name = page.substr(0, page.find('.'));
        const std::string text = displayed(page);
        std::vector<std::string> arguments{"--help"};
        if (name != "vexamesh") {
            arguments.insert(arguments.begin(), name.substr(name.find('-') + 1));
        }
        // The entries of the help text: "  -o,--output TEXT   The file" and further lines of the same entry.
        std::istringstream lines(run(arguments, 0).out);
        std::size_t entries = 0;
        std::string entry;
        for (std::string line; std::getline(lines, line) && line != "Examples:" && line != "Exit codes:";) {
            const bool continues = line.starts_with("    ");
            if (!continues && !entry.empty()) {
                EXPECT_THAT(text, HasSubstr(inOneLine(entry))) << page;
                ++entries;
                entry.clear();
            }
            const bool isOfVerb = line.starts_with("  ") && line.find("--help") == std::string::npos;
            entry += continues || isOfVerb ? line + " " : "";
        }
        EXPECT_GE(entries, 1u) << page;
    }
}

TEST_F(Manual, ShowsExamplesLineByLineAndKeepsHyphensAndPoints) {
    const VerbInfo verb{"go",
                        "Goes on.",
                        {{.names = {"--it"}, .help = "it's \\fBit ~ ^ `x`", .label = "--it"}},
                        "Examples:\n  a b --it .x\n\n.x ends a-b.",
                        " [OPTIONS] IN..."};
    const auto pages = vexa::tool::manualPages({"prog", "Does it."}, {verb}, "1.2");
    ASSERT_EQ(pages.size(), 2u);
    EXPECT_EQ(pages[0].first, "prog-go.1");
    writeText(directory / "page", pages[0].second);
    const std::string text = displayed("page");
    EXPECT_THAT(text, HasSubstr("NAME prog-go - goes on SYNOPSIS prog go [OPTIONS] IN... DESCRIPTION Goes on."));
    EXPECT_THAT(text, HasSubstr(".x ends a-b. OPTIONS --it it's \\fBit ~ ^ `x` EXAMPLES a b --it .x SEE ALSO prog(1)"));
}

TEST_F(Manual, IsNotMentionedByTheHelpText) {
    EXPECT_THAT(run({"--help"}, 0).out, testing::Not(HasSubstr("manual")));
    EXPECT_THAT(run({"manua"}, 2).err, testing::Not(HasSubstr("did you mean `manual`")));
}

TEST_F(Manual, NeedsAnExistingDirectory) {
    EXPECT_THAT(run({"manual", (directory / "no").string()}, 3).err, HasSubstr("No such file or directory"));
}

} // namespace
