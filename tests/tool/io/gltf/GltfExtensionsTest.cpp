#include "io/gltf/GltfExtensions.h"

#include "base/Errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using vexa::tool::collectExtensionReferences;
using vexa::tool::Json;

/// The text of the `FormatError` that `checkExtensions` throws.
std::string faultOf(const char* document) {
    try {
        vexa::tool::checkExtensions(Json::parse(document));
    } catch (const vexa::tool::FormatError& error) {
        return error.what();
    }
    return "";
}

TEST(CheckExtensions, RefusesRequiredOnesThatAreUnknown) {
    EXPECT_EQ(faultOf(R"({"extensionsRequired":["KHR_mesh_quantization"],"extensionsUsed":["ACME_a"]})"), "");
    EXPECT_THAT(faultOf(R"({"extensionsRequired":["ACME_a"]})"), StartsWith("requires the extension ACME_a, which"));
}

TEST(CheckExtensions, RefusesNamesThatAreNotStrings) {
    EXPECT_EQ(faultOf(R"({"extensionsUsed":["KHR_xmp",1]})"), "extensionsUsed holds something that is not a string");
}

TEST(TakeExtension, RemovesTheLastOneWithItsParent) {
    Json object = Json::parse(R"({"extensions":{"A":{"x":1},"B":2}})");
    EXPECT_EQ(vexa::tool::takeExtension(object, "A").dump(), R"({"x":1})");
    EXPECT_TRUE(vexa::tool::takeExtension(object, "A").is_null());
    EXPECT_EQ(object.dump(), R"({"extensions":{"B":2}})");
    vexa::tool::takeExtension(object, "B");
    EXPECT_EQ(object.dump(), "{}");
}

TEST(FindExtension, IgnoresExtensionsThatAreNotAnObject) {
    EXPECT_EQ(vexa::tool::findExtension(Json::parse(R"({"extensions":["A"]})"), "A"), nullptr);
    const Json object = Json::parse(R"({"extensions":{"A":7}})");
    ASSERT_NE(vexa::tool::findExtension(object, "A"), nullptr);
    EXPECT_EQ(*vexa::tool::findExtension(object, "A"), 7);
}

TEST(SetListed, ListsOnceAndRemovesAnEmptyList) {
    Json document = Json::object();
    vexa::tool::setListed(document, "extensionsUsed", "A", true);
    vexa::tool::setListed(document, "extensionsUsed", "A", true);
    vexa::tool::setListed(document, "extensionsUsed", "B", true);
    EXPECT_EQ(document.dump(), R"({"extensionsUsed":["A","B"]})");
    vexa::tool::setListed(document, "extensionsUsed", "A", false);
    EXPECT_EQ(document.dump(), R"({"extensionsUsed":["B"]})");
    vexa::tool::setListed(document, "extensionsUsed", "B", false);
    EXPECT_EQ(document.dump(), "{}");
}

TEST(DropCompression, WarnsOnlyIfTheExtensionWasListed) {
    Json document = Json::parse(R"({"extensionsRequired":["A"],"extensionsUsed":["A","B"]})");
    std::vector<std::string> warnings;
    vexa::tool::dropCompression(document, "C", warnings);
    EXPECT_THAT(warnings, IsEmpty());
    vexa::tool::dropCompression(document, "A", warnings);
    EXPECT_THAT(warnings, ElementsAre("is compressed with A; files made of it are not"));
    EXPECT_EQ(document.dump(), R"({"extensionsUsed":["B"]})");
}

TEST(ExtensionReferences, OfKnownExtensionsAreAccessors) {
    const auto references = collectExtensionReferences(Json::parse(
        R"({"nodes":[{"extensions":{"EXT_mesh_gpu_instancing":{"attributes":{"TRANSLATION":3,"SCALE":5}}}}],
            "meshes":[{"primitives":[{"extensions":{"CESIUM_primitive_outline":{"indices":8}}}]}]})"));
    EXPECT_THAT(references.accessors, ElementsAre(3, 5, 8));
    EXPECT_THAT(references.anything, IsEmpty());
    EXPECT_FALSE(references.unknown);
}

TEST(ExtensionReferences, OfEdgeVisibilityAreAccessors) {
    const auto references = collectExtensionReferences(Json::parse(
        R"({"meshes":[{"primitives":[{"extensions":{"EXT_mesh_primitive_edge_visibility":{"visibility":3,"material":9,
            "silhouetteNormals":5,"lineStrings":[{"indices":7,"material":8}]}}}]}]})"));
    EXPECT_THAT(references.accessors, ElementsAre(3, 5, 7));
    EXPECT_FALSE(references.unknown);
}

TEST(ExtensionReferences, OfUnknownExtensionsMayBeAnyNumber) {
    const auto references = collectExtensionReferences(Json::parse(
        R"({"extensions":{"ACME_a":{"x":[4,{"y":7}],"z":-1}},"materials":[{"extensions":{"ACME_b":{"buffer":2}}}]})"));
    EXPECT_TRUE(references.unknown);
    EXPECT_THAT(references.anything, ElementsAre(2, 4, 7));
    EXPECT_THAT(references.bufferUsers, ElementsAre("ACME_b"));
}

TEST(ExtensionReferences, AreNotLookedForInExtras) {
    const auto references =
        collectExtensionReferences(Json::parse(R"({"extras":{"extensions":{"ACME_a":{"buffer":2}}}})"));
    EXPECT_FALSE(references.unknown);
    EXPECT_THAT(references.bufferUsers, IsEmpty());
}

TEST(RenumberExtensionAccessors, ChangesKnownReferencesOnly) {
    Json document = Json::parse(
        R"({"extensions":{"CESIUM_primitive_outline":{"indices":1},"ACME_a":{"indices":1},"EXT_mesh_gpu_instancing":{"attributes":{"A":9}}}})");
    vexa::tool::renumberExtensionAccessors(document, {10, 11});
    EXPECT_EQ(
        document.dump(),
        R"({"extensions":{"CESIUM_primitive_outline":{"indices":11},"ACME_a":{"indices":1},"EXT_mesh_gpu_instancing":{"attributes":{"A":9}}}})");
}

} // namespace
