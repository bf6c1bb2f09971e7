#include "ops/StripFile.h"

#include "base/Errors.h"
#include "support/Documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using vexa::tool::Document;
using vexa::tool::Joining;
using vexa::tool::readBackStrips;
using vexa::tool::stripDocument;
using vexa::tool::StripOutcome;
using vexa::tool::StripSettings;
namespace mesh = vexa::mesh;

StripOutcome strip(const GltfModel& model, const StripSettings& settings = {}) {
    StripOutcome outcome = stripDocument(documentOf(model), settings, {});
    EXPECT_EQ(readBackStrips(outcome), "");
    return outcome;
}

Document outputOf(const StripOutcome& outcome) {
    return vexa::tool::loadDocument(outcome.file, "output.glb");
}

TEST(StripDocument, CountsEachMeshAndTheirTotal) {
    GltfModel model = gridModel(2, 2);
    const int positions = model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 5, 5, 5});
    model.addMesh(positions, model.addIndices({0, 1, 2, 1, 1, 2, 0, 2, 3}));
    const StripOutcome outcome = strip(model);
    ASSERT_EQ(outcome.meshes.size(), 2u);
    EXPECT_EQ(outcome.meshes[0].triangles, 8u);
    EXPECT_EQ(outcome.meshes[1].triangles, 2u);
    EXPECT_EQ(outcome.meshes[1].degenerate, 1u);
    EXPECT_EQ(outcome.total.name, "total");
    EXPECT_EQ(outcome.total.triangles, 10u);
    EXPECT_EQ(outcome.total.degenerate, 1u);
    EXPECT_EQ(outcome.total.indicesBefore, 24u + 9);
    EXPECT_EQ(outcome.total.bytesBefore, 2u * (24 + 9));
    EXPECT_EQ(outcome.total.indicesAfter, outcome.meshes[0].indicesAfter + outcome.meshes[1].indicesAfter);
    EXPECT_EQ(outcome.total.strips, outcome.meshes[0].strips + outcome.meshes[1].strips);
    EXPECT_TRUE(outcome.total.sameTriangles);
}

TEST(StripDocument, CountsTheIndicesOfTheOutput) {
    const StripOutcome outcome = strip(gridModel(3, 3));
    const Document output = outputOf(outcome);
    const auto& primitive = output.meshes.at(0).primitives.at(0);
    EXPECT_EQ(primitive.type, mesh::TRIANGLE_STRIP);
    EXPECT_EQ(outcome.total.indicesAfter, primitive.indices.size());
    EXPECT_EQ(outcome.total.bytesAfter, primitive.indices.size()) << "16 vertices need one byte each";
    EXPECT_EQ(outcome.total.primitivesAfter, 1u);
}

TEST(StripDocument, CountsIndicesThatMeshesShareOnceInTheTotal) {
    GltfModel model = gridModel(2, 2);
    model.addMesh(0, 1);
    const StripOutcome outcome = strip(model);
    EXPECT_EQ(outcome.meshes[0].indicesBefore, 24u);
    EXPECT_EQ(outcome.meshes[1].indicesBefore, 24u);
    EXPECT_EQ(outcome.total.indicesBefore, 24u);
    EXPECT_EQ(outcome.total.indicesAfter, outcome.meshes[0].indicesAfter);
    EXPECT_EQ(outcome.total.triangles, 16u);
}

TEST(StripDocument, ReportsEachMeshAsItIsDone) {
    GltfModel model = gridModel(2, 2);
    model.addMesh(0, 1);
    model.addMesh(0, 1);
    std::vector<std::pair<std::size_t, std::size_t>> calls;
    stripDocument(documentOf(model), {}, [&](std::size_t done, std::size_t all) { calls.emplace_back(done, all); });
    EXPECT_THAT(calls, ElementsAre(Pair(1, 3), Pair(2, 3), Pair(3, 3)));
}

TEST(StripDocument, KeepsThePartsOfPrimitivesWithTrianglesOnRequest) {
    GltfModel model = gridModel(2, 2);
    model.json["meshes"][0]["primitives"].push_back(model.primitive(0));
    model.primitive(0, 0)["mode"] = 1;
    EXPECT_TRUE(strip(model).cuts.empty());
    StripSettings settings;
    settings.keepParts = true;
    const StripOutcome outcome = strip(model, settings);
    ASSERT_EQ(outcome.cuts.size(), 1u);
    EXPECT_EQ(outcome.cuts[0].mesh, 0u);
    EXPECT_EQ(outcome.cuts[0].primitive, 1u);
    std::size_t triangles = 0;
    for (const mesh::IndexedPrimitive& part : outcome.cuts[0].parts) {
        triangles += mesh::toTriangles(part.type, part.indices).size() / 3;
    }
    EXPECT_EQ(triangles, 8u);
}

TEST(StripDocument, LeavesPrimitivesWithoutTrianglesAsTheyAre) {
    GltfModel model = gridModel(1, 1);
    model.addMesh(0, model.addIndices({1, 2, 2}));
    model.addMesh(0, model.addIndices({0, 3, 1}), 3);
    const Document output = outputOf(strip(model));
    EXPECT_EQ(output.meshes.at(1).primitives.at(0).type, mesh::TRIANGLES);
    EXPECT_THAT(output.meshes[1].primitives[0].indices, ElementsAre(1, 2, 2));
    EXPECT_EQ(output.meshes.at(2).primitives.at(0).type, mesh::LINE_STRIP);
    EXPECT_THAT(output.meshes[2].primitives[0].indices, ElementsAre(0, 3, 1));
}

TEST(StripDocument, CountsGroupsOfStripsAndTheirSeparators) {
    GltfModel model = gridModel(4, 4);
    StripSettings settings;
    settings.joining = Joining::RestartFallback;
    const StripOutcome outcome = strip(model, settings);
    EXPECT_EQ(outcome.groups, 1u);
    std::size_t indices = 0;
    const Document output = outputOf(outcome);
    for (const auto& primitive : output.meshes.at(0).primitives) {
        indices += primitive.indices.size();
    }
    EXPECT_GT(outcome.total.strips, 1u);
    EXPECT_EQ(outcome.total.indicesAfter, indices + outcome.total.strips - 1);
}

TEST(StripDocument, NamesTheFileInErrors) {
    GltfModel model = gridModel(2, 2);
    model.json["bufferViews"][0]["extensions"] = {{"ACME_packed", {{"buffer", 0}}}};
    try {
        stripDocument(documentOf(model, "models/car.glb"), {}, {});
        ADD_FAILURE() << "nothing was thrown";
    } catch (const vexa::tool::FileError& error) {
        EXPECT_THAT(error.what(), HasSubstr("models/car.glb: "));
    }
}

TEST(ReadBackStrips, ReportsOtherTriangles) {
    const Document document = documentOf(gridModel(2, 2));
    std::vector<unsigned int> triangles = document.meshes[0].primitives[0].indices;
    std::swap(triangles[0], triangles[1]);
    StripOutcome outcome = stripDocument(document, {}, {});
    outcome.expected.primitives[0].triangles = vexa::mesh::sumTriangles(vexa::mesh::TRIANGLES, triangles);
    EXPECT_EQ(readBackStrips(outcome), "its triangles would not be those of the input");
    EXPECT_FALSE(outcome.total.sameTriangles);
}

TEST(ReadBackStrips, ReportsAChangeOfAnythingElse) {
    StripOutcome outcome = stripDocument(documentOf(gridModel(2, 2)), {}, {});
    outcome.expected.content["materials"] = Json::array();
    EXPECT_THAT(readBackStrips(outcome), HasSubstr("besides the indices"));
}

TEST(StripWarnings, NameTheExtensionThatReadersMustKnow) {
    StripOutcome outcome = strip(gridModel(2, 2));
    EXPECT_THAT(stripWarnings(outcome), ElementsAre());
    outcome.groups = 1;
    EXPECT_THAT(stripWarnings(outcome), ElementsAre(HasSubstr("EXT_mesh_primitive_restart")));
    outcome.groups = 0;
    outcome.requiresRestart = true;
    EXPECT_THAT(stripWarnings(outcome), ElementsAre(HasSubstr("KHR_mesh_primitive_restart")));
}

TEST(StripDocument, IsTheSameInAnyNumberOfThreads) {
    GltfModel model = gridModel(9, 9);
    for (int side = 3; side < 8; ++side) {
        const Grid grid = makeGrid(side, 5);
        model.addMesh(model.addPositions(grid.positions), model.addIndices(grid.indices));
    }
    model.json["meshes"][0]["primitives"].push_back(model.primitive(3));
    for (const Joining joining : {Joining::Degenerate, Joining::RestartFallback}) {
        StripSettings settings;
        settings.joining = joining;
        settings.keepParts = true;
        const StripOutcome alone = strip(model, settings);
        settings.sharesThreads = true;
        for (const unsigned threads : {1U, 2U, 5U, 0U}) {
            settings.search.threads = threads;
            const StripOutcome shared = strip(model, settings);
            EXPECT_EQ(shared.file, alone.file) << threads << " threads";
            EXPECT_EQ(shared.total.minIndices, alone.total.minIndices);
            ASSERT_EQ(shared.cuts.size(), alone.cuts.size());
            for (std::size_t i = 0; i < alone.cuts.size(); ++i) {
                EXPECT_EQ(shared.cuts[i].mesh, alone.cuts[i].mesh);
                EXPECT_EQ(shared.cuts[i].parts.size(), alone.cuts[i].parts.size());
            }
        }
    }
}

TEST(StripDocument, ReportsEachPrimitiveThatIsDone) {
    GltfModel model = gridModel(9, 9);
    model.json["meshes"].push_back(model.json["meshes"][0]);
    model.json["meshes"].push_back(model.json["meshes"][0]);
    StripSettings settings;
    settings.sharesThreads = true;
    settings.search.threads = 3;
    std::vector<std::pair<std::size_t, std::size_t>> reported;
    stripDocument(documentOf(model), settings,
                  [&](std::size_t done, std::size_t all) { reported.emplace_back(done, all); });
    EXPECT_THAT(reported, ElementsAre(Pair(1, 3), Pair(2, 3), Pair(3, 3)));
}

} // namespace
