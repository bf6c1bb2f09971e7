#pragma once

#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tool_test {

/// Runs subcommands on small models in a directory of its own.
class CommandTest : public testing::Test {
public:
    /// \return the name of the file
    std::string write(const std::string& name, const GltfModel& model) {
        const std::string file = (directory / name).string();
        model.writeGlb(file);
        return file;
    }

    static ProcessResult run(const std::vector<std::string>& arguments, int expectedCode) {
        ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, expectedCode) << result.err;
        return result;
    }

    TemporaryDirectory directory;
    std::string out = (directory / "out.glb").string();
};

} // namespace tool_test
