#include "ops/StripForm.h"

#include "ops/StripFile.h"
#include "support/Documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using vexa::tool::ChosenForm;
using vexa::tool::Joining;
using vexa::tool::StripForm;
using vexa::tool::StripOutcome;
using vexa::tool::StripSettings;
namespace mesh = vexa::mesh;

constexpr std::array<Joining, 4> everyJoin{Joining::Degenerate, Joining::Restart, Joining::RestartFallback,
                                           Joining::None};

StripOutcome strip(const GltfModel& model, Joining joining = Joining::Degenerate, StripSettings settings = {}) {
    settings.joining = joining;
    StripOutcome outcome = vexa::tool::stripDocument(documentOf(model), settings, {});
    EXPECT_EQ(vexa::tool::readBackStrips(outcome), "");
    return outcome;
}

ChosenForm formOf(const StripOutcome& outcome) {
    return outcome.meshes.at(0).forms.at(0);
}

/// Quads of two triangles each on one edge, or single triangles, with vertices of their own.
GltfModel separateFaces(std::size_t count, bool areQuads, bool haveNormals) {
    GltfModel model;
    std::vector<float> positions;
    std::vector<float> normals;
    std::vector<std::uint16_t> indices;
    for (std::size_t i = 0; i < count; ++i) {
        const auto first = static_cast<std::uint16_t>(positions.size() / 3);
        const auto at = [&](unsigned int step) { return static_cast<std::uint16_t>(first + step); };
        const auto x = static_cast<float>(i);
        positions.insert(positions.end(), {x, 0, 0, x + 1, 0, 0, x, 1, 0, x + 1, 1, 0});
        normals.insert(normals.end(), {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1});
        indices.insert(indices.end(), {at(0), at(1), at(2)});
        if (areQuads) {
            indices.insert(indices.end(), {at(2), at(1), at(3)});
        }
    }
    model.addMesh(model.addPositions(positions), model.addIndices(indices));
    if (haveNormals) {
        model.primitive(0)["attributes"]["NORMAL"] = model.addAccessor(normals, 5126, "VEC3");
    }
    return model;
}

TEST(ChooseForm, WritesStripsWhereTheyAreSmallest) {
    for (const Joining joining : everyJoin) {
        const ChosenForm form = formOf(strip(gridModel(6, 6), joining));
        EXPECT_EQ(form.form, StripForm::Strips);
        EXPECT_EQ(form.why, "");
    }
}

TEST(ChooseForm, LeavesTrianglesThatShareNoCorners) {
    for (const Joining joining : {Joining::Degenerate, Joining::Restart}) {
        const StripOutcome outcome = strip(separateFaces(300, false, true), joining);
        EXPECT_EQ(formOf(outcome).form, StripForm::Unchanged);
        EXPECT_EQ(
            formOf(outcome).why,
            "no two triangles share corners: normals are per face; `--weld` joins positions (`--weld 0` equal ones)");
        EXPECT_EQ(outcome.total.bytesAfter, outcome.total.bytesBefore);
        EXPECT_EQ(outcome.total.leftOver, 300u);
    }
}

TEST(ChooseForm, NamesRepeatedPositionsWithoutNormals) {
    EXPECT_EQ(formOf(strip(separateFaces(300, false, false))).why,
              "no two triangles share corners: positions are repeated; `--weld` joins them");
}

TEST(ChooseForm, WritesAListInAnyJoinWhereNoEdgesAreShared) {
    for (const Joining joining : {Joining::RestartFallback, Joining::None}) {
        const StripOutcome outcome = strip(separateFaces(300, false, true), joining);
        EXPECT_EQ(formOf(outcome).form, StripForm::List);
        EXPECT_THAT(formOf(outcome).why, HasSubstr("no two triangles share corners"));
        EXPECT_EQ(outcome.total.primitivesAfter, 1u);
    }
}

TEST(ChooseForm, NarrowsTheIndicesOfUnchangedLists) {
    const StripOutcome outcome = strip(separateFaces(20, false, false));
    EXPECT_EQ(formOf(outcome).form, StripForm::Unchanged);
    EXPECT_EQ(outcome.total.bytesAfter, outcome.total.bytesBefore / 2);
}

TEST(ChooseForm, WritesAListBesidesStripsWhereItSavesMuch) {
    GltfModel model = gridModel(20, 20);
    const Grid grid = makeGrid(20, 20);
    std::vector<std::uint16_t> indices = grid.indices;
    // Triangles between far corners share no edges.
    for (int i = 0; i < 400; ++i) {
        const auto corner = static_cast<std::uint16_t>(i);
        indices.insert(indices.end(), {corner, static_cast<std::uint16_t>((i * 7 + 200) % 441),
                                       static_cast<std::uint16_t>((i * 31 + 5) % 441)});
    }
    model.primitive(0)["indices"] = model.addIndices(indices);
    for (const Joining joining : {Joining::Degenerate, Joining::Restart}) {
        const StripOutcome outcome = strip(model, joining);
        EXPECT_EQ(formOf(outcome).form, StripForm::StripsAndList);
        EXPECT_THAT(formOf(outcome).why, HasSubstr("would be in strips by themselves"));
        EXPECT_EQ(outcome.total.primitivesAfter, 2u);
        EXPECT_LT(outcome.total.bytesAfter, outcome.total.bytesBefore);
    }
}

TEST(ChooseForm, KeepsStripsThatAreBetter) {
    GltfModel model = gridModel(9, 7);
    const auto indices =
        mesh::buildStripBuffer(mesh::toTriangles(mesh::TRIANGLES, documentOf(model).meshes[0].primitives[0].indices),
                               {.effort = 3, .join = mesh::StripJoin::Degenerate});
    model.primitive(0)["indices"] = model.addIndices({indices.begin(), indices.end()});
    model.primitive(0)["mode"] = 5;
    StripSettings settings;
    settings.passes = {.iterations = 1};
    const StripOutcome outcome = strip(model, Joining::Degenerate, settings);
    EXPECT_EQ(formOf(outcome).form, StripForm::Unchanged);
    EXPECT_THAT(formOf(outcome).why, HasSubstr("strips would take"));
    EXPECT_EQ(outcome.total.indicesAfter, indices.size());
    EXPECT_EQ(outcome.total.bytesAfter, indices.size()) << "80 vertices need one byte each";
}

TEST(ChooseForm, ReplacesStripsThatAreWorseThanAList) {
    GltfModel model = separateFaces(60, false, false);
    std::vector<std::uint16_t> indices;
    for (std::uint16_t i = 0; i < 60; ++i) {
        const auto a = static_cast<std::uint16_t>(4 * i);
        const auto c = static_cast<std::uint16_t>(a + 2);
        indices.insert(indices.end(), {a, a, static_cast<std::uint16_t>(a + 1), c, c, c});
    }
    model.primitive(0)["indices"] = model.addIndices(indices);
    model.primitive(0)["mode"] = 5;
    const StripOutcome outcome = strip(model);
    EXPECT_EQ(formOf(outcome).form, StripForm::List);
    EXPECT_EQ(outcome.total.triangles, 60u);
    EXPECT_EQ(outcome.total.indicesAfter, 180u);
}

TEST(ChooseForm, LeavesPrimitivesWithoutIndicesAlone) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0}), -1);
    const StripOutcome outcome = strip(model);
    EXPECT_EQ(formOf(outcome).form, StripForm::Unchanged);
    EXPECT_EQ(outcome.after.indexBytes, 0u);
}

TEST(ChooseForm, LeavesIndicesThatLinesNeedToo) {
    GltfModel model = gridModel(6, 6);
    Json lines = model.primitive(0);
    lines["mode"] = 1;
    model.json["meshes"][0]["primitives"].push_back(lines);
    const StripOutcome outcome = strip(model);
    EXPECT_EQ(formOf(outcome).form, StripForm::Unchanged);
    EXPECT_EQ(formOf(outcome).why, "others use its indices in another way");
    EXPECT_EQ(outcome.after.indexBytes, outcome.before.indexBytes);
}

TEST(ChooseForm, WritesStripsInAnyCaseOnRequest) {
    StripSettings settings;
    settings.allStrips = true;
    const StripOutcome outcome = strip(separateFaces(300, false, true), Joining::Degenerate, settings);
    EXPECT_EQ(formOf(outcome).form, StripForm::Strips);
    EXPECT_EQ(outcome.total.strips, 300u);
    EXPECT_GT(outcome.total.bytesAfter, outcome.total.bytesBefore);
}

TEST(ChooseForm, ReplacesRestartIndicesThatTheJoinDoesNotPermit) {
    GltfModel model = gridModel(4, 4);
    model.primitive(0)["indices"] = model.addIndices({0, 1, 5, 6, 65535, 2, 3, 7, 8, 65535, 10, 11, 15});
    model.primitive(0)["mode"] = 5;
    model.json["extensionsUsed"] = {"KHR_mesh_primitive_restart"};
    model.json["extensionsRequired"] = {"KHR_mesh_primitive_restart"};
    for (const Joining joining : everyJoin) {
        const StripOutcome outcome = strip(model, joining);
        EXPECT_EQ(outcome.requiresRestart, joining == Joining::Restart);
    }
}

TEST(StripWarnings, NameManyPrimitivesAndAFileThatGrows) {
    const GltfModel model = separateFaces(1001, true, false);
    const StripOutcome outcome = strip(model, Joining::None);
    ASSERT_EQ(outcome.total.primitivesAfter, 1001u);
    EXPECT_GT(outcome.growth, 100'000u);
    const std::vector<std::string> warnings = stripWarnings(outcome);
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_THAT(warnings[0], HasSubstr("1001 primitives of triangles are a draw call each"));
    EXPECT_THAT(warnings[1], HasSubstr("make the file " + std::to_string(outcome.growth) + " bytes larger"));
    EXPECT_THAT(stripWarnings(strip(model)), testing::IsEmpty());
}

} // namespace
