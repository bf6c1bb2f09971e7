#include "ops/MaterialCopier.h"

#include "base/Errors.h"

#include <gtest/gtest.h>

namespace {

using vexa::tool::Asset;
using vexa::tool::AssetBuilder;
using vexa::tool::Bytes;
using vexa::tool::Document;
using vexa::tool::Json;
using vexa::tool::MaterialCopier;

/// A document that is never read from a file: materials need nothing but the JSON and the buffers.
Document documentWith(const std::string& json, Bytes buffer = {}) {
    Document document;
    document.asset.json = Json::parse(json);
    document.asset.buffers.push_back(std::move(buffer));
    return document;
}

class MaterialCopying : public testing::Test {
public:
    /// The JSON of the asset that was built.
    Json finish() {
        vexa::tool::NewPrimitive triangle;
        triangle.indices = {0, 1, 2};
        triangle.attributes = {{"POSITION", vexa::tool::floatValues("VEC3", std::vector<float>(9))}};
        builder.addMesh("", {triangle});
        asset = builder.finish();
        return asset.json;
    }

    AssetBuilder builder;
    MaterialCopier copier{builder};
    Asset asset;
};

TEST_F(MaterialCopying, GivesNothingForAMaterialTheDocumentDoesNotHave) {
    EXPECT_EQ(copier.copy(documentWith(R"({"materials":[{}]})"), 1), std::nullopt);
    EXPECT_EQ(copier.copy(documentWith("{}"), 0), std::nullopt);
    EXPECT_FALSE(finish().contains("materials"));
}

TEST_F(MaterialCopying, CopiesEqualMaterialsOnceAcrossDocuments) {
    const std::string red = R"({"name":"red","doubleSided":true})";
    EXPECT_EQ(copier.copy(documentWith(R"({"materials":[)" + red + "]}"), 0), 0u);
    EXPECT_EQ(copier.copy(documentWith(R"({"materials":[{"name":"blue"},)" + red + "]}"), 1), 0u);
    EXPECT_EQ(copier.copy(documentWith(R"({"materials":[{"name":"blue"}]})"), 0), 1u);
    EXPECT_EQ(finish()["materials"], Json::parse("[" + red + R"(,{"name":"blue"}])"));
}

TEST_F(MaterialCopying, BringsTexturesWithTheirSamplersAndImagesUnderNewNumbers) {
    copier.copy(documentWith(R"({"materials":[{"normalTexture":{"index":1,"scale":2}}],
        "textures":[{},{"source":2,"sampler":1}],
        "samplers":[{},{"wrapS":33071}],
        "images":[{"uri":"a.png"},{"uri":"b.png"},{"uri":"c.png"}]})"),
                0);
    const Json json = finish();
    EXPECT_EQ(json["materials"], Json::parse(R"([{"normalTexture":{"index":0,"scale":2}}])"));
    EXPECT_EQ(json["textures"], Json::parse(R"([{"source":0,"sampler":0}])"));
    EXPECT_EQ(json["samplers"], Json::parse(R"([{"wrapS":33071}])"));
    EXPECT_EQ(json["images"], Json::parse(R"([{"uri":"c.png"}])"));
}

TEST_F(MaterialCopying, CopiesSharedTexturesAndImagesOnce) {
    const Document document = documentWith(R"({"materials":[
        {"name":"a","emissiveTexture":{"index":0}},
        {"name":"b","pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicRoughnessTexture":{"index":1}}}],
        "textures":[{"source":0},{"source":0,"sampler":0}],"samplers":[{}],"images":[{"uri":"a.png"}]})");
    copier.copy(document, 0);
    copier.copy(document, 1);
    const Json json = finish();
    EXPECT_EQ(json["materials"].size(), 2u);
    EXPECT_EQ(json["textures"].size(), 2u);
    EXPECT_EQ(json["images"].size(), 1u);
}

TEST_F(MaterialCopying, FindsTexturesInExtensionsButNotInExtras) {
    copier.copy(documentWith(R"({"materials":[{
        "extensions":{"KHR_materials_clearcoat":{"clearcoatTexture":{"index":1}}},
        "extras":{"myTexture":{"index":7}}}],
        "textures":[{},{"source":0}],"images":[{"uri":"a.png"}]})"),
                0);
    const Json material = finish()["materials"][0];
    EXPECT_EQ(material["extensions"]["KHR_materials_clearcoat"]["clearcoatTexture"]["index"], 0);
    EXPECT_EQ(material["extras"]["myTexture"]["index"], 7);
}

TEST_F(MaterialCopying, CopiesTheImageOfATextureExtension) {
    copier.copy(documentWith(R"({"materials":[{"normalTexture":{"index":0}}],
        "textures":[{"extensions":{"KHR_texture_basisu":{"source":1}}}],
        "images":[{"uri":"a.png"},{"uri":"b.ktx2"}]})"),
                0);
    const Json json = finish();
    EXPECT_EQ(json["textures"][0]["extensions"]["KHR_texture_basisu"]["source"], 0);
    EXPECT_EQ(json["images"], Json::parse(R"([{"uri":"b.ktx2"}])"));
    EXPECT_EQ(json["extensionsUsed"], Json::parse(R"(["KHR_texture_basisu"])"));
}

TEST_F(MaterialCopying, ListsExtensionsAsUsedAndAsRequiredWhereTheyWere) {
    copier.copy(documentWith(R"({"extensionsUsed":["KHR_materials_ior","KHR_texture_transform","KHR_lights_punctual"],
        "extensionsRequired":["KHR_texture_transform"],
        "materials":[{"extensions":{"KHR_materials_ior":{}},
        "normalTexture":{"index":0,"extensions":{"KHR_texture_transform":{}}}}],"textures":[{}]})"),
                0);
    const Json json = finish();
    EXPECT_EQ(json["extensionsUsed"], Json::parse(R"(["KHR_materials_ior","KHR_texture_transform"])"));
    EXPECT_EQ(json["extensionsRequired"], Json::parse(R"(["KHR_texture_transform"])"));
}

TEST_F(MaterialCopying, StoresEqualImagesOfSeveralDocumentsOnce) {
    const std::string rest = R"("materials":[{"normalTexture":{"index":0}}],"textures":[{"source":0}],
        "images":[{"bufferView":0,"mimeType":"image/png"}]})";
    const Bytes picture{0x89, 'P', 'N', 'G'};
    copier.copy(documentWith(R"({"bufferViews":[{"buffer":0,"byteLength":4}],)" + rest, picture), 0);
    copier.copy(documentWith(R"({"bufferViews":[{"buffer":0,"byteOffset":2,"byteLength":4}],)" + rest,
                             {0, 0, 0x89, 'P', 'N', 'G'}),
                0);
    const Json json = finish();
    ASSERT_EQ(json["images"].size(), 1u);
    const Json& view = json["bufferViews"][json["images"][0]["bufferView"].get<std::size_t>()];
    const auto begin = asset.buffers.at(0).begin() + view["byteOffset"].get<std::ptrdiff_t>();
    EXPECT_EQ(Bytes(begin, begin + view["byteLength"].get<std::ptrdiff_t>()), picture);
}

TEST_F(MaterialCopying, RefusesDanglingReferences) {
    for (const char* json : {R"({"materials":[{"normalTexture":{"index":1}}],"textures":[{}]})",
                             R"({"materials":[{"normalTexture":{"index":0}}],"textures":[{"source":0}]})",
                             R"({"materials":[{"normalTexture":{"index":0}}],"textures":[{"sampler":0}]})",
                             R"({"materials":[{"normalTexture":{"index":"0"}}],"textures":[{}]})"}) {
        EXPECT_THROW(copier.copy(documentWith(json), 0), vexa::tool::FormatError) << json;
    }
}

} // namespace
