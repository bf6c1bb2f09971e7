#include "ops/VariantCopier.h"

#include "base/Errors.h"
#include "ops/Merging.h"
#include "support/Documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using vexa::tool::FileError;
using vexa::tool::Merger;

constexpr const char* variants = "KHR_materials_variants";

/// A grid that is painted with material 0, and with 1 in the variant of this name.
GltfModel paintedModel(const std::string& variant, const std::string& paint) {
    GltfModel model = gridModel(1, 1);
    model.json["extensionsUsed"] = {variants};
    model.json["extensions"][variants]["variants"] = Json::array({{{"name", "plain"}}, {{"name", variant}}});
    model.json["materials"] = Json::array({{{"name", "grey"}}, {{"name", paint}}});
    model.primitive(0)["material"] = 0;
    model.primitive(0)["extensions"][variants]["mappings"] =
        Json::array({{{"material", 1}, {"variants", {1}}, {"name", "as sold"}}});
    return model;
}

Json merged(const std::vector<GltfModel>& models) {
    Merger merger;
    for (const GltfModel& model : models) {
        merger.add(documentOf(model), glm::dmat4(1));
    }
    return vexa::tool::loadDocument(merger.finish(), "merged.glb").asset.json;
}

Json mappingsOf(const Json& json, std::size_t primitive) {
    return json["meshes"][0]["primitives"][primitive]["extensions"][variants]["mappings"];
}

TEST(VariantCopier, CopiesVariantsWithTheirMaterials) {
    const Json json = merged({paintedModel("red", "paint")});
    EXPECT_EQ(json["extensionsUsed"], Json({variants}));
    EXPECT_EQ(json["extensions"][variants]["variants"], Json::parse(R"([{"name":"plain"},{"name":"red"}])"));
    EXPECT_EQ(mappingsOf(json, 0), Json::parse(R"([{"material":0,"variants":[1],"name":"as sold"}])"));
    EXPECT_EQ(json["materials"][0]["name"], "paint");
    EXPECT_EQ(json["meshes"][0]["primitives"][0]["material"], 1);
}

TEST(VariantCopier, VariantsOfOneNameBecomeOne) {
    const Json json =
        merged({paintedModel("red", "paint"), paintedModel("blue", "other"), paintedModel("red", "paint")});
    EXPECT_EQ(json["extensions"][variants]["variants"],
              Json::parse(R"([{"name":"plain"},{"name":"red"},{"name":"blue"}])"));
    ASSERT_EQ(json["meshes"][0]["primitives"].size(), 2u);
    EXPECT_EQ(mappingsOf(json, 0)[0]["variants"], Json({1}));
    EXPECT_EQ(mappingsOf(json, 1)[0]["variants"], Json({2}));
}

TEST(VariantCopier, VariantsOfOneNameInOneDocumentStayApart) {
    const Json json = merged({paintedModel("plain", "paint"), paintedModel("plain", "paint")});
    EXPECT_EQ(json["extensions"][variants]["variants"].size(), 2u);
    EXPECT_EQ(mappingsOf(json, 0)[0]["variants"], Json({1}));
}

TEST(VariantCopier, PrimitivesOfOneMaterialAndOtherVariantsStayApart) {
    GltfModel model = paintedModel("red", "paint");
    model.addMesh(0, 1);
    model.primitive(1)["material"] = 0;
    const Json json = merged({model});
    ASSERT_EQ(json["meshes"][0]["primitives"].size(), 2u);
    EXPECT_FALSE(json["meshes"][0]["primitives"][1].contains("extensions"));
}

TEST(VariantCopier, RefusesReferencesToNothing) {
    GltfModel model = paintedModel("red", "paint");
    Json& mapping = model.primitive(0)["extensions"][variants]["mappings"][0];
    mapping["variants"] = {2};
    EXPECT_THROW(merged({model}), FileError);
    mapping = {{"material", 2}, {"variants", {0}}};
    EXPECT_THROW(merged({model}), FileError);
    mapping = 5;
    EXPECT_THROW(merged({model}), FileError);
    model.primitive(0)["extensions"][variants] = 5;
    EXPECT_THROW(merged({model}), FileError);
}

} // namespace
