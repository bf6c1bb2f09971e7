#include "cli/Flags.h"

#include "support/CommandTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;

class CommandLineTest : public CommandTest {
public:
    /// The error of a wrong command line.
    static std::string fault(const std::vector<std::string>& arguments) {
        const ProcessResult result = run(arguments, 2);
        EXPECT_EQ(result.out, "");
        return result.err;
    }

    std::string grid = write("grid.glb", gridModel(2, 2));
};

TEST_F(CommandLineTest, UnknownSubcommandsAreNamedWithTheNearest) {
    EXPECT_EQ(fault({"strp", "a.glb"}), "vexamesh: unknown subcommand `strp`; did you mean `strip`?\n");
    EXPECT_EQ(fault({"--strict", "mrge"}), "vexamesh: unknown subcommand `mrge`; did you mean `merge`?\n");
    EXPECT_EQ(fault({"explode"}), "vexamesh: unknown subcommand `explode` (see vexamesh --help)\n");
}

TEST_F(CommandLineTest, UnknownOptionsAreNamedWithTheNearest) {
    EXPECT_EQ(fault({"strip", grid, "--ouput", out}), "vexamesh: unknown option `--ouput`; did you mean `--output`?\n");
    EXPECT_EQ(fault({"info", grid, "--jsn=1"}), "vexamesh: unknown option `--jsn`; did you mean `--json`?\n");
    EXPECT_EQ(fault({"info", grid, "--strickt"}), "vexamesh: unknown option `--strickt`; did you mean `--strict`?\n");
    EXPECT_EQ(fault({"info", grid, "--zzzzzz"}), "vexamesh: unknown option `--zzzzzz` (see vexamesh --help)\n");
}

TEST_F(CommandLineTest, OtherFaultsKeepTheirTexts) {
    EXPECT_THAT(fault({}), testing::HasSubstr("A subcommand is required"));
    EXPECT_THAT(fault({"edges", grid}), testing::HasSubstr("--output is required"));
}

TEST_F(CommandLineTest, AFlagMayHaveANumberAfterABlankOrAnEqualsSign) {
    for (const std::vector<std::string>& flag :
         std::vector<std::vector<std::string>>{{"--weld"}, {"--weld", "0.5"}, {"--weld=1e-3"}, {"--weld", "2"}}) {
        std::vector<std::string> arguments{"edges"};
        arguments.insert(arguments.end(), flag.begin(), flag.end());
        arguments.insert(arguments.end(), {grid, "-o", out});
        run(arguments, 0);
    }
}

TEST_F(CommandLineTest, NumbersBelowZeroAndTextsAreNone) {
    for (const char* value : {"-1", "nan", "x"}) {
        EXPECT_THAT(fault({"edges", grid, "-o", out, std::string("--weld=") + value}),
                    testing::HasSubstr("is not a number of at least 0"));
    }
}

} // namespace
