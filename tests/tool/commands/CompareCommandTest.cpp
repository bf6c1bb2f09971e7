#include "support/CommandTest.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gtest/gtest.h>

namespace {

using namespace tool_test;

class CompareCommand : public CommandTest {};

TEST_F(CompareCommand, ComparesLayoutsAndNotContents) {
    const std::string a = write("a.glb", gridModel(2, 2));
    const std::string b = write("b.glb", gridModel(3, 1));
    EXPECT_EQ(run({"compare", a, b}, 0).out, "The layouts are the same.\n");
    EXPECT_EQ(Json::parse(run({"compare", "--json", a, b}, 0).out)["sameLayout"], true);
}

TEST_F(CompareCommand, ReportsTheFirstDifference) {
    const std::string a = write("a.glb", gridModel(2, 2));
    GltfModel points = gridModel(2, 2);
    points.primitive(0)["mode"] = 0;
    EXPECT_EQ(run({"compare", a, write("b.glb", points)}, 1).out,
              "mesh 0: Meshes do not have the same primitive type: 4 and 0\n");

    GltfModel more = gridModel(2, 2);
    more.primitive(0)["attributes"]["_EXTRA"] = 0;
    EXPECT_EQ(run({"compare", a, write("c.glb", more)}, 1).out,
              "mesh 0: Meshes do not have the same number of attributes: 1 and 2\n");

    GltfModel two = gridModel(2, 2);
    two.addMesh(0, 1);
    const Json report = Json::parse(run({"compare", "--json", a, write("d.glb", two)}, 1).out);
    EXPECT_EQ(report["difference"], "Files do not have the same number of meshes: 1 and 2");
}

TEST_F(CompareCommand, PrintsNoLogRecords) {
    const std::string a = write("a.glb", gridModel(2, 2));
    GltfModel points = gridModel(2, 2);
    points.primitive(0)["mode"] = 0;
    const ProcessResult result = runProgram({"compare", "--json", a, write("b.glb", points)});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(Json::parse(result.out)["sameLayout"], false);
    EXPECT_EQ(result.err, "");
}

} // namespace
