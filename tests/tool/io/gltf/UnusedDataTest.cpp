#include "io/gltf/UnusedData.h"

#include "support/SmallModels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using vexa::tool::UsedData;

/// Three accessors with a view each: positions, indices, and one that nothing uses.
Json documentWithUnusedAccessor() {
    GltfModel model = gridModel(1, 1);
    model.addIndices({0, 1, 2});
    return model.json;
}

TEST(RemoveUnused, RemovesOnlyWhatTheEditLeavesWithoutUse) {
    Json document = documentWithUnusedAccessor();
    const UsedData before(document);
    document["meshes"][0]["primitives"][0].erase("indices");
    EXPECT_THAT(before.removeUnused(document), ElementsAre(0, 1, 1));
    ASSERT_EQ(document["accessors"].size(), 2u);
    ASSERT_EQ(document["bufferViews"].size(), 2u);
    EXPECT_EQ(document["accessors"][1]["bufferView"], 1);
    EXPECT_EQ(document["accessors"][1]["count"], 3);
}

TEST(RemoveUnused, KeepsWhatTheEditAdds) {
    Json document = documentWithUnusedAccessor();
    const UsedData before(document);
    document["accessors"].push_back({{"count", 7}});
    before.removeUnused(document);
    EXPECT_EQ(document["accessors"].size(), 4u);
}

TEST(RemoveUnused, RenumbersAllReferences) {
    Json document = documentWithUnusedAccessor();
    const UsedData before(document);
    document["meshes"][0]["primitives"][0]["attributes"].erase("POSITION");
    document["skins"] = {{{"inverseBindMatrices", 2}}};
    document["images"] = {{{"bufferView", 2}}};
    document["meshes"][0]["primitives"][0]["extensions"]["CESIUM_primitive_outline"]["indices"] = 1U;
    before.removeUnused(document);
    const Json& primitive = document["meshes"][0]["primitives"][0];
    EXPECT_EQ(primitive["indices"], 0);
    EXPECT_EQ(primitive["extensions"]["CESIUM_primitive_outline"]["indices"], 0);
    EXPECT_EQ(document["skins"][0]["inverseBindMatrices"], 1);
    EXPECT_EQ(document["images"][0]["bufferView"], 1);
    EXPECT_EQ(document["accessors"][0]["bufferView"], 0);
}

TEST(RemoveUnused, KeepsViewsOfSparseAccessors) {
    Json document = documentWithUnusedAccessor();
    document["accessors"][0]["sparse"] = {{"indices", {{"bufferView", 1}}}, {"values", {{"bufferView", 2}}}};
    const UsedData before(document);
    document["meshes"][0]["primitives"][0].erase("indices");
    before.removeUnused(document);
    EXPECT_EQ(document["bufferViews"].size(), 3u);
}

TEST(RemoveUnused, RemovesNothingBesideAnUnknownExtension) {
    Json document = documentWithUnusedAccessor();
    const UsedData before(document);
    document["meshes"][0]["primitives"][0].erase("indices");
    document["extensions"]["ACME_a"] = Json::object();
    EXPECT_THAT(before.removeUnused(document), ElementsAre(0, 1, 2));
    EXPECT_EQ(document["accessors"].size(), 3u);
}

TEST(RemoveUnused, RemovesArraysThatBecomeEmpty) {
    Json document = gridModel(1, 1).json;
    const UsedData before(document);
    document.erase("meshes");
    before.removeUnused(document);
    EXPECT_FALSE(document.contains("accessors"));
    EXPECT_FALSE(document.contains("bufferViews"));
}

TEST(ForEachAccessorReference, VisitsMorphTargetsAndAnimations) {
    Json document = gridModel(1, 1).json;
    document["meshes"][0]["primitives"][0]["targets"] = {{{"POSITION", 5}}, {{"NORMAL", 6}}};
    document["animations"] = {{{"samplers", {{{"input", 7}, {"output", 8}}}}}};
    std::vector<std::size_t> visited;
    vexa::tool::forEachAccessorReference(
        document, [&](const Json& reference) { visited.push_back(reference.get<std::size_t>()); });
    EXPECT_THAT(visited, testing::UnorderedElementsAre(0, 1, 5, 6, 7, 8));
}

} // namespace
