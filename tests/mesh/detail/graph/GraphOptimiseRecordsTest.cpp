#include "reference/ReferenceGraph.h"
#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace {

using namespace graphs;
using vexa::test::LogCapture;
using vexa::test::LogRecord;
using vexa::test::Severity;

using Messages = std::vector<std::string>;

const std::string invalid = "INVALID TRIANGLE IN VALID TRIANGLE BAG";

Messages messagesOf(HalfEdgeGraph& graph, std::uint32_t iterations, bool buildStrips = true, bool buildFans = false,
                    bool allStrips = false) {
    const LogCapture capture;
    graph.calcOptPrim(iterations, buildStrips, buildFans, 6, allStrips);
    return capture.messages();
}

Messages messagesOf(const meshes::Indices& mesh, std::uint32_t iterations, bool buildStrips = true,
                    bool buildFans = false, bool allStrips = false) {
    FilledGraph graph(mesh);
    return messagesOf(graph, iterations, buildStrips, buildFans, allStrips);
}

/// The messages of a search whose passes are known.
Messages expectedMessages(const reference::Graph& graph) {
    Messages messages;
    std::ostringstream text;
    for (const auto& [total, best, worst] : graph.attempts) {
        text.str("");
        text << " cost/best/worst: " << total << "/" << best << "/" << worst;
        messages.push_back(text.str());
    }
    text.str("");
    text << "range: " << graph.best << "/" << graph.worst << " ";
    if (graph.best == 0) {
        text << "nan%";
    } else {
        const auto scaled = static_cast<float>((graph.worst - graph.best) * 100);
        text << static_cast<double>(scaled / static_cast<float>(graph.best)) << "%";
    }
    messages.push_back(text.str());
    return messages;
}

TEST(CalcOptPrimRecords, AreNotWrittenForASinglePass) {
    for (const bool allStrips : {false, true}) {
        EXPECT_EQ(messagesOf(meshes::grid(4, 4), 1, true, true, allStrips), Messages{});
        EXPECT_EQ(messagesOf(meshes::grid(4, 4), 1, false, true, allStrips), Messages{});
        EXPECT_EQ(messagesOf(meshes::grid(4, 4), 0, true, true, allStrips), Messages{});
    }
}

TEST(CalcOptPrimRecords, ReportEveryPassAndFinallyTheRange) {
    EXPECT_EQ(messagesOf(meshes::twoTriangles(), 3), (Messages{" cost/best/worst: 4/4/4", " cost/best/worst: 4/4/4",
                                                               " cost/best/worst: 4/4/4", "range: 4/4 0%"}));
}

TEST(CalcOptPrimRecords, CountFansStripsAndThreeIndicesPerLeftoverTriangle) {
    meshes::Indices mesh = meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::strip(4), 7));
    mesh = meshes::joined(mesh, meshes::shifted(meshes::scattered(2), 13));
    EXPECT_EQ(messagesOf(mesh, 2, true, true).front(), " cost/best/worst: 20/20/20"); // 8 + 6 + 3 * 2
}

TEST(CalcOptPrimRecords, LeaveSplitOffTrianglesOutOfTheCost) {
    EXPECT_EQ(messagesOf(meshes::book(5), 2).front(), " cost/best/worst: 4/4/4");
    EXPECT_EQ(messagesOf(meshes::book(5), 2, true, false, true).front(), " cost/best/worst: 13/13/13");
}

TEST(CalcOptPrimRecords, CarrySeverityFunctionAndFile) {
    const LogCapture capture;
    FilledGraph graph(meshes::scattered(1));
    triangles(graph)[0]->state = -2;
    graph.calcOptPrim(2, true, false, 6, true);
    const std::vector<LogRecord> records = capture.records();
    ASSERT_EQ(records.size(), 4u);
    const Severity severities[] = {Severity::Warning, Severity::Info, Severity::Info, Severity::Warning};
    const Messages messages = {invalid, " cost/best/worst: 3/3/3", " cost/best/worst: 3/3/3", "range: 3/3 0%"};
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i].severity, severities[i]);
        EXPECT_EQ(records[i].message, messages[i]);
        EXPECT_EQ(records[i].function,
                  "uint32_t vexa::mesh::HalfEdgeGraph::calcOptPrim(uint32_t, bool, bool, uint32_t, bool)");
        EXPECT_EQ(records[i].file, "vexa/mesh/HalfEdgeGraph");
        EXPECT_GT(records[i].line, 0);
    }
}

class CalcOptPrimRecordsOfMeshes : public testing::TestWithParam<std::string> {};

TEST_P(CalcOptPrimRecordsOfMeshes, ReportTheCostOfEveryPassAndTheRange) {
    for (const meshes::NamedMesh& mesh : meshes::family(GetParam())) {
        reference::Graph expected;
        expected.addTriangles(mesh.indices);
        expected.calcOptPrim({.iterations = 5, .buildFans = true});
        EXPECT_EQ(messagesOf(mesh.indices, 5, true, true), expectedMessages(expected)) << mesh.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Meshes, CalcOptPrimRecordsOfMeshes, testing::Values("Plain", "Knotted", "Variants"),
                         [](const auto& family) { return family.param; });

TEST(CalcOptPrimRecords, GiveThePercentageWithSixDigits) {
    EXPECT_EQ(messagesOf(meshes::torus(9, 7), 2).back(), "range: 144/148 2.77778%"); // 4 * 100 / 144
}

TEST(CalcOptPrimRecords, GiveNanPercentForAnEmptyGraph) {
    const Messages nothing = {" cost/best/worst: 0/0/0", " cost/best/worst: 0/0/0", "range: 0/0 nan%"};
    EXPECT_EQ(messagesOf(meshes::Indices{}, 2), nothing);
}

TEST(CalcOptPrimRecords, GiveNanPercentWhenNoStripsAreBuilt) {
    const Messages nothing = {"range: 0/0 nan%"};
    for (const bool allStrips : {false, true}) {
        EXPECT_EQ(messagesOf(meshes::grid(3, 3), 2, false, true, allStrips), nothing);
        EXPECT_EQ(messagesOf(meshes::closedFan(6), 7, false, true, allStrips), nothing);
    }
}

TEST(CalcOptPrimRecords, ReportEveryFreeTriangleWithANegativeStateBeforeThePasses) {
    for (const std::uint32_t iterations : {1U, 3U}) {
        FilledGraph graph(meshes::scattered(4));
        triangles(graph)[1]->state = -1;
        triangles(graph)[3]->state = -20;
        const Messages messages = messagesOf(graph, iterations);
        ASSERT_EQ(messages.size(), iterations == 1 ? 2u : 6u);
        EXPECT_EQ(messages[0], invalid);
        EXPECT_EQ(messages[1], invalid);
    }
}

TEST(CalcOptPrimRecords, DoNotReportNegativeStatesWhenNoStripsAreBuilt) {
    for (const auto& [iterations, buildStrips] : std::vector<std::pair<std::uint32_t, bool>>{{0, true}, {1, false}}) {
        FilledGraph graph(meshes::scattered(2));
        triangles(graph)[1]->state = -1;
        EXPECT_EQ(messagesOf(graph, iterations, buildStrips), Messages{});
    }
}

TEST(CalcOptPrimRecords, DoNotReportNegativeStatesOfClaimedTriangles) {
    EXPECT_EQ(messagesOf(meshes::book(4), 1), Messages{});
    EXPECT_EQ(messagesOf(meshes::book(4), 1, true, false, true), Messages{});
}

TEST(CalcOptPrimRecords, ChangeNothingWhenTheyAreRefused) {
    FilledGraph heard(meshes::torus(6, 5));
    FilledGraph unheard(meshes::torus(6, 5));
    messagesOf(heard, 3);
    const LogCapture capture(Severity::Fatal);
    unheard.calcOptPrim(3, true, false, 6, false);
    EXPECT_TRUE(capture.records().empty());
    EXPECT_EQ(describe(unheard), describe(heard));
}

TEST(CalcOptPrimRecords, LeaveTheGraphUnchangedWhenASinkThrows) {
    meshes::Indices mesh = meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::grid(4, 3), 7));
    mesh = meshes::joined(mesh, meshes::shifted(meshes::book(4), 40));
    for (const bool allStrips : {false, true}) {
        FilledGraph graph(mesh);
        triangles(graph)[8]->state = -3;
        const std::string before = describe(graph);
        constexpr std::size_t recordCount = 1 + 3 + 1;
        for (std::size_t n = 0; n < recordCount; ++n) {
            const LogCapture capture(Severity::Trace, n);
            EXPECT_THROW(graph.calcOptPrim(3, true, true, 6, allStrips), std::runtime_error);
            EXPECT_EQ(describe(graph), before) << n;
        }
        FilledGraph fresh(mesh);
        triangles(fresh)[8]->state = -3;
        EXPECT_EQ(messagesOf(graph, 3, true, true, allStrips).size(), recordCount);
        messagesOf(fresh, 3, true, true, allStrips);
        EXPECT_EQ(describe(graph), describe(fresh));
    }
}

TEST(CalcOptPrimRecords, KeepStoredPrimitivesWhenASinkThrows) {
    FilledGraph graph(meshes::joined(meshes::grid(3, 3), meshes::shifted(meshes::scattered(2), 16)));
    graph.calcOptPrim(1, true, true, 6, false);
    const std::string before = describe(graph);
    for (std::size_t n = 0; n < 3; ++n) {
        const LogCapture capture(Severity::Trace, n);
        EXPECT_THROW(graph.calcOptPrim(2, true, true, 6, false), std::runtime_error);
        EXPECT_EQ(describe(graph), before) << n;
    }
}

TEST(CalcOptPrimRecords, AreWrittenForMorePassesThanASignedNumberHolds) {
    for (const std::uint32_t iterations : {2147483648U, 2147483649U, 4294967295U}) {
        FilledGraph graph(meshes::twoTriangles());
        const LogCapture capture(Severity::Trace, 5);
        EXPECT_THROW(graph.calcOptPrim(iterations, true, false, 6, false), std::runtime_error);
        EXPECT_EQ(capture.messages(), Messages(5, " cost/best/worst: 4/4/4"));
    }
}

} // namespace
