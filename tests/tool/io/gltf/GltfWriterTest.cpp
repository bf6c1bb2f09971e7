#include "base/Errors.h"
#include "io/Asset.h"
#include "support/SmallModels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using vexa::tool::Bytes;
using vexa::tool::GltfFiles;
using vexa::tool::joinGltf;
using vexa::tool::readGltf;
using vexa::tool::splitGltf;
using vexa::tool::writeGlb;

Bytes written(const GltfModel& model) {
    const std::string text = model.glb();
    const auto asset = readGltf(Bytes(text.begin(), text.end()), {});
    return writeGlb(asset.json, asset.buffers);
}

TEST(SplitGltf, MakesTwoFilesThatJoinToTheSameBytes) {
    GltfModel model = gridModel(2, 2);
    model.json["extras"] = {0.1, 1e300, -0.0, "\u00e4\"", 18446744073709551615U};
    const Bytes glb = written(model);
    const GltfFiles files = splitGltf(glb, "a b.bin");
    const Json json = Json::parse(files.text);
    EXPECT_EQ(json["buffers"][0]["uri"], "a%20b.bin");
    EXPECT_EQ(json["buffers"][0]["byteLength"], files.binary.size());
    EXPECT_EQ(joinGltf(files), glb);
}

TEST(SplitGltf, LeavesOutThePaddingOfTheChunk) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2}));
    const GltfFiles files = splitGltf(written(model), "a.bin");
    EXPECT_EQ(files.binary.size(), 42u);
}

TEST(SplitGltf, MakesOneFileOfAModelWithoutData) {
    GltfModel model;
    model.json["nodes"] = {{{"name", "lonely"}}};
    const Bytes glb = written(model);
    const GltfFiles files = splitGltf(glb, "a.bin");
    EXPECT_TRUE(files.binary.empty());
    EXPECT_EQ(joinGltf(files), glb);
}

} // namespace
