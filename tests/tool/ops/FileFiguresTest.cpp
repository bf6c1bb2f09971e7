#include "ops/FileFigures.h"

#include "support/Documents.h"

#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using vexa::tool::FileFigures;

FileFigures figuresOf(const GltfModel& model) {
    return vexa::tool::measureFile(documentOf(model).asset, 1234);
}

TEST(MeasureFile, CountsIndicesVerticesAndPrimitives) {
    const FileFigures figures = figuresOf(gridModel(4, 4));
    EXPECT_EQ(figures.bytes, 1234u);
    EXPECT_EQ(figures.indexBytes, 96u * 2);
    EXPECT_EQ(figures.vertexBytes, 25u * 12);
    EXPECT_EQ(figures.primitives, 1u);
}

TEST(MeasureFile, CountsSharedDataOnce) {
    GltfModel model = gridModel(4, 4);
    model.addMesh(0, 1);
    const FileFigures figures = figuresOf(model);
    EXPECT_EQ(figures.indexBytes, 96u * 2);
    EXPECT_EQ(figures.vertexBytes, 25u * 12);
    EXPECT_EQ(figures.primitives, 2u);
}

TEST(MeasureFile, CountsAccessorsInsideAGroupOnce) {
    GltfModel model = gridModel(2, 2);
    const int group = model.addIndices({0, 1, 3, 4, 65535, 4, 5, 7});
    const Json& groupAccessor = model.json["accessors"][static_cast<std::size_t>(group)];
    Json part = groupAccessor;
    part["count"] = 4;
    model.json["accessors"].push_back(part);
    model.primitive(0)["indices"] = group + 1;
    model.primitive(0)["mode"] = 5;
    model.json["extensionsUsed"] = {"EXT_mesh_primitive_restart"};
    model.json["meshes"][0]["extensions"]["EXT_mesh_primitive_restart"]["primitiveGroups"] = {
        {{"primitives", {0}}, {"indices", group}}};
    EXPECT_EQ(figuresOf(model).indexBytes, 8u * 2);
}

TEST(MeasureFile, CountsMorphTargetsAndSparseValues) {
    GltfModel model = gridModel(1, 1);
    const int offsets = model.addPositions(std::vector<float>(12, 0.5F));
    model.primitive(0)["targets"] = Json::array({{{"POSITION", offsets}}});
    EXPECT_EQ(figuresOf(model).vertexBytes, 2u * 48);
    const int indices = model.addView(std::string(1, '\1'));
    const int values = model.addView(std::string(12, '\0'));
    model.json["accessors"][static_cast<std::size_t>(offsets)]["sparse"] = {
        {"count", 1},
        {"indices", {{"bufferView", indices}, {"componentType", 5121}}},
        {"values", {{"bufferView", values}}}};
    EXPECT_EQ(figuresOf(model).vertexBytes, 2u * 48 + 13);
}

} // namespace
