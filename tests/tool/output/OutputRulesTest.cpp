// Rules of glTF that readers rely on, in the output of every subcommand.

#include "io/Document.h"
#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;

class OutputRules : public testing::Test {
public:
    tinygltf::Model run(std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"-o", out});
        const ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return loadModel(out);
    }

    std::string write(const GltfModel& model) {
        model.writeGlb(in);
        return in;
    }

    std::string writeObj(const std::string& text) {
        const std::string file = (directory / "in.obj").string();
        writeText(file, text);
        return file;
    }

    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "out.glb").string();
};

/// A grid with indices of any unsigned type.
template <typename Index>
GltfModel gridWith(int componentType) {
    const Grid grid = makeGrid(5, 4);
    GltfModel model;
    const int positions = model.addPositions(grid.positions);
    const std::vector<Index> indices(grid.indices.begin(), grid.indices.end());
    model.addMesh(positions, model.addAccessor(indices, componentType, "SCALAR", 34963));
    return model;
}

void expectUnitNormals(const std::string& file) {
    const vexa::tool::Document document = vexa::tool::loadDocument(std::filesystem::path(file));
    std::size_t normals = 0;
    for (const auto& primitive : document.meshes.at(0).primitives) {
        const auto* normal = primitive.findAttribute("NORMAL");
        ASSERT_NE(normal, nullptr);
        const auto values = vexa::tool::readAccessor(document.asset, normal->accessor);
        for (std::size_t i = 0; i < values.count; ++i, ++normals) {
            EXPECT_NEAR(std::hypot(values.component(i, 0), values.component(i, 1), values.component(i, 2)), 1, 1e-6);
        }
    }
    EXPECT_GT(normals, 0u);
}

TEST_F(OutputRules, IndicesHaveUnsignedTypes) {
    const std::vector<GltfModel> models = {gridWith<std::uint8_t>(5121), gridWith<std::uint16_t>(5123),
                                           gridWith<std::uint32_t>(5125)};
    for (const GltfModel& model : models) {
        write(model);
        for (const std::vector<std::string>& verb : std::vector<std::vector<std::string>>{
                 {"strip", in}, {"strip", in, "--join", "restart"}, {"unstrip", in}, {"edges", in}, {"merge", in}}) {
            const tinygltf::Model output = run(verb);
            for (const auto& primitive : output.meshes.at(0).primitives) {
                const int type = output.accessors.at(static_cast<std::size_t>(primitive.indices)).componentType;
                EXPECT_TRUE(type == 5121 || type == 5123 || type == 5125) << verb[0] << ": " << type;
            }
        }
    }
}

TEST_F(OutputRules, AttributesOfTwoBytesAreFourApart) {
    GltfModel model = gridModel(1, 1);
    const int view = model.addView(std::string(16, '\7'), 34962);
    model.json["bufferViews"][static_cast<std::size_t>(view)]["byteStride"] = 4;
    model.json["accessors"].push_back(
        {{"bufferView", view}, {"componentType", 5121}, {"count", 4}, {"type", "VEC2"}, {"normalized", true}});
    model.primitive(0)["attributes"]["TEXCOORD_0"] = 2;
    write(model);
    for (const char* verb : {"strip", "unstrip", "merge"}) {
        const tinygltf::Model output = run({verb, in});
        const int texcoord = output.meshes[0].primitives[0].attributes.at("TEXCOORD_0");
        const auto& accessor = output.accessors.at(static_cast<std::size_t>(texcoord));
        EXPECT_EQ(output.bufferViews.at(static_cast<std::size_t>(accessor.bufferView)).byteStride, 4u) << verb;
    }
}

TEST_F(OutputRules, CustomAttributesStartWithAnUnderscore) {
    GltfModel model = gridModel(1, 1);
    model.primitive(0)["attributes"]["WEATHER"] = 0;
    model.primitive(0)["attributes"]["_AGE"] = 0;
    model.primitive(0)["attributes"]["COLOR_0"] = 0;
    std::vector<std::string> names;
    const tinygltf::Model output = run({"merge", write(model)});
    for (const auto& [name, accessor] : output.meshes[0].primitives[0].attributes) {
        names.push_back(name);
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("POSITION", "_WEATHER", "_AGE", "COLOR_0"));
}

TEST_F(OutputRules, NormalsHaveUnitLength) {
    const std::string obj = writeObj("v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 7\nvn 0.1 0.2 0\nf 1//1 2//2 3//1\n");
    run({"strip", obj});
    expectUnitNormals(out);
    run({"merge", obj, "--scale", "1,5,0.25", "--rotate", "x,30"});
    expectUnitNormals(out);
}

} // namespace
