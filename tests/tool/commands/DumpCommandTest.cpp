#include "support/CommandTest.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

class DumpCommand : public CommandTest {};

TEST_F(DumpCommand, PrintsTheBuffersOfTheLibrary) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0.5}), -1);
    const std::string file = write("a.glb", model);
    const std::string expected = "AttributeBuffer:\n"
                                 "    attributeName            position\n"
                                 "    componentType            float\n"
                                 "  > componentSizeInBytes     4\n"
                                 "    componentCountPerElement 3\n"
                                 "  > elementSizeInBytes       12\n"
                                 "    elementStrideInBytes     12\n"
                                 "    elementOffsetInBytes     0\n"
                                 "    elementCount             3\n";
    EXPECT_EQ(run({"dump", file}, 0).out, expected);
    EXPECT_EQ(run({"dump", file, "--attribute", "POSITION", "--elements"}, 0).out,
              expected + "    Elements:\n        0, 0, 0\n        1, 0, 0\n        0, 1, 0.5\n");
    EXPECT_THAT(run({"dump", file, "--attribute", "colour"}, 3).err, HasSubstr("has no attribute colour"));
}

} // namespace
