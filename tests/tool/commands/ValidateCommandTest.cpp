#include "support/CommandTest.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

class ValidateCommand : public CommandTest {};

TEST_F(ValidateCommand, AcceptsValidMeshes) {
    const ProcessResult result = run({"validate", write("a.glb", gridModel(2, 2))}, 0);
    EXPECT_THAT(result.out, HasSubstr("valid"));
    EXPECT_EQ(result.err, "");
}

TEST_F(ValidateCommand, PrintsTheMessagesOfTheLibrary) {
    GltfModel model = gridModel(2, 2);
    model.json["accessors"][0]["count"] = 8;
    EXPECT_THAT(run({"validate", write("a.glb", model)}, 1).out, HasSubstr("Indices are out of range"));

    GltfModel shortAttribute = gridModel(2, 2);
    shortAttribute.primitive(0)["attributes"]["NORMAL"] = shortAttribute.addPositions({0, 0, 1});
    const ProcessResult result = run({"validate", "--json", write("b.glb", shortAttribute)}, 1);
    const Json file = Json::parse(result.out)["files"][0];
    EXPECT_EQ(file["valid"], false);
    EXPECT_EQ(file["primitives"][0]["message"], "Attribute normal has less elements than vertices");

    GltfModel nameless = gridModel(2, 2);
    nameless.primitive(0)["attributes"] = {{"_POSITION", 0}};
    EXPECT_THAT(run({"validate", write("c.glb", nameless)}, 1).out, HasSubstr("Missing position attribute"));
}

TEST_F(ValidateCommand, ListsEveryFaultInJson) {
    const Json valid = Json::parse(run({"validate", "--json", write("a.glb", gridModel(2, 2))}, 0).out);
    const Json notes = valid["files"][0]["primitives"][0]["faults"];
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(notes[0]["code"], "open-border");
    EXPECT_EQ(notes[0]["severity"], "note");
    EXPECT_EQ(notes[0]["total"], 8);
    EXPECT_EQ(notes[0]["sites"].size(), 8u);
    EXPECT_EQ(notes[0]["text"], "8 edges have only one triangle, first 0-1");

    GltfModel model = gridModel(2, 2);
    model.json["accessors"][0]["count"] = 8;
    const Json invalid = Json::parse(run({"validate", "--json", write("b.glb", model)}, 1).out);
    const Json fault = invalid["files"][0]["primitives"][0]["faults"][0];
    EXPECT_EQ(fault["code"], "index-out-of-range");
    EXPECT_EQ(fault["sites"][0]["value"], 8);
}

TEST_F(ValidateCommand, BrokenFileOutweighsAFailedCheck) {
    GltfModel model = gridModel(2, 2);
    model.json["accessors"][0]["count"] = 8;
    const ProcessResult result = run({"validate", write("a.glb", model), "missing.glb"}, 3);
    EXPECT_THAT(result.out, HasSubstr("Indices are out of range"));
    EXPECT_EQ(countOf(result.err, "\n"), 1u);
}

} // namespace
