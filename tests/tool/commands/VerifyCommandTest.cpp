#include "support/CommandTest.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

class VerifyCommand : public CommandTest {};

TEST_F(VerifyCommand, PrintsTheReportOfTheGraph) {
    const std::string file = write("a.glb", gridModel(1, 1));
    EXPECT_EQ(run({"verify", file}, 0).out, "mesh 0:\n"
                                            "HEG: linked triangle count 2\n"
                                            "HEG: invalid triangle 0\n"
                                            "HEG: nonmanifold split: 0\n"
                                            "HEG: triangle state: 0/2/0/0\n"
                                            "HEG: Connection: 1/2 \n"
                                            "HEG: Connection: 2/2 \n"
                                            "HEG: HalfEdgeCount: 6\n");
    EXPECT_THAT(run({"verify", file, "--verbose"}, 0).out, HasSubstr("HEG: Triangle: %d %d %d: 0 1 2 VALID\n"));
    const Json report = Json::parse(run({"verify", file, "--json"}, 0).out)["primitives"][0]["report"];
    EXPECT_EQ(report[0], "HEG: linked triangle count 2");
}

TEST_F(VerifyCommand, FindsCollapsedTriangles) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 1, 0, 1, 2}));
    const ProcessResult result = runProgram({"verify", write("a.glb", model)});
    EXPECT_THAT(result.out, HasSubstr("HEG: invalid triangle 1\n"));
    EXPECT_THAT(result.out, HasSubstr("Invalid collapsed Triangle\n"));
    EXPECT_EQ(result.err, "");
}

} // namespace
