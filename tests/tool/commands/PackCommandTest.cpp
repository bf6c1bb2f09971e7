#include "support/CommandTest.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;

class PackCommand : public CommandTest {
public:
    std::string modelWithNormals() {
        GltfModel model;
        const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
        model.addMesh(positions, -1);
        model.primitive(0)["attributes"]["NORMAL"] = model.addPositions({0, 0, 1, 1, 0, 0, 0, 0, 0});
        return write("a.glb", model);
    }
};

TEST_F(PackCommand, WritesTwoBytesForEachNormal) {
    const std::string packed = (directory / "out.bin").string();
    run({"pack", modelWithNormals(), "-o", packed}, 0);
    EXPECT_EQ(readText(packed), "\x7f\x7f\xff\x7f\xff\xff");
}

TEST_F(PackCommand, ReportsTheAngles) {
    const Json total = Json::parse(run({"pack", modelWithNormals(), "--stats", "--json"}, 0).out)["total"];
    EXPECT_EQ(total["normals"], 3);
    EXPECT_EQ(total["withoutDirection"], 1);
    // (127, 127) decodes to (-1/255, -1/255, 253/255), (255, 127) to (1 - 1/255, ...): some tenths of a degree.
    EXPECT_NEAR(total["largestAngle"].get<double>(), 0.3203, 0.001);
    EXPECT_GT(total["meanAngle"].get<double>(), 0.2);
    EXPECT_THAT(directory.files(), ElementsAre("a.glb"));
}

TEST_F(PackCommand, NeedsAnOutputOrStats) {
    EXPECT_THAT(run({"pack", modelWithNormals()}, 2).err, HasSubstr("--stats"));
    EXPECT_THAT(run({"pack", write("b.glb", gridModel(1, 1)), "--stats"}, 3).err, HasSubstr("has no normals"));
    EXPECT_THAT(run({"pack", modelWithNormals(), "-o", out}, 2).err, HasSubstr("does not end in .bin"));
}

} // namespace
