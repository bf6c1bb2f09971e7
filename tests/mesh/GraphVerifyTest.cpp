#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>

namespace {

using namespace graphs;
using vexa::test::LogCapture;
using vexa::test::LogRecord;
using vexa::test::Severity;

using Messages = std::vector<std::string>;

const std::string linkedTwice = "HalfEdgeGraph::Triangle::verify: Neighbor linked more than once";
const std::string isCollapsed = "HalfEdgeGraph::Triangle::verify: Invalid collapsed Triangle";
const std::string wrongTriangle = "HalfEdgeGraph::Triangle::verify: Invalid halfEdge->triangle pointer";
const std::string wrongNext = "HalfEdgeGraph::Triangle::verify: Edge next link error";

/// A valid triangle without neighbours, for a test to damage.
class SoundTriangle : public Triangle {
public:
    explicit SoundTriangle(unsigned int v0 = 0, unsigned int v1 = 1, unsigned int v2 = 2) {
        const std::array<unsigned int, 3> corners = {v0, v1, v2};
        for (std::size_t i = 0; i < 3; ++i) {
            halfEdge[i] = {corners[i], this, nullptr, &halfEdge[(i + 1) % 3]};
        }
    }
};

/// The messages of verify; checks its result.
Messages findings(const Triangle& triangle) {
    const LogCapture capture;
    const bool isSound = triangle.verify();
    EXPECT_EQ(isSound, capture.records().empty());
    return capture.messages();
}

Messages report(const HalfEdgeGraph& graph, bool verbose = false) {
    const LogCapture capture;
    EXPECT_TRUE(graph.verify(verbose));
    return capture.messages();
}

TEST(TriangleVerify, AcceptsAValidTriangle) {
    EXPECT_EQ(findings(SoundTriangle()), Messages{});
    FilledGraph graph(meshes::tetrahedron());
    EXPECT_EQ(findings(*triangles(graph)[0]), Messages{});
}

TEST(TriangleVerify, FindsANeighbourAcrossTwoEdges) {
    for (std::size_t lone = 0; lone < 3; ++lone) {
        SoundTriangle triangle;
        SoundTriangle neighbour(2, 1, 0);
        triangle.halfEdge[(lone + 1) % 3].twin = &neighbour.halfEdge[0];
        triangle.halfEdge[(lone + 2) % 3].twin = &neighbour.halfEdge[1];
        EXPECT_EQ(findings(triangle), Messages{linkedTwice});
    }
}

TEST(TriangleVerify, FindsANeighbourAcrossAllEdgesOnce) {
    FilledGraph graph(meshes::doubledOppositeWinding());
    EXPECT_EQ(findings(*triangles(graph)[0]), Messages{linkedTwice});
}

TEST(TriangleVerify, AcceptsThreeDifferentNeighboursAndNone) {
    SoundTriangle triangle;
    SoundTriangle neighbours[3];
    for (std::size_t i = 0; i < 3; ++i) {
        triangle.halfEdge[i].twin = &neighbours[i].halfEdge[0];
        EXPECT_EQ(findings(triangle), Messages{});
    }
}

TEST(TriangleVerify, FindsTwoEqualCorners) {
    EXPECT_EQ(findings(SoundTriangle(4, 4, 9)), Messages{isCollapsed});
    EXPECT_EQ(findings(SoundTriangle(9, 4, 4)), Messages{isCollapsed});
    EXPECT_EQ(findings(SoundTriangle(4, 9, 4)), Messages{isCollapsed});
    EXPECT_EQ(findings(SoundTriangle(4, 4, 4)), Messages{isCollapsed});
}

TEST(TriangleVerify, FindsAHalfEdgeOfAnotherTriangleOnce) {
    SoundTriangle other;
    for (std::size_t i = 0; i < 3; ++i) {
        SoundTriangle triangle;
        triangle.halfEdge[i].triangle = &other;
        EXPECT_EQ(findings(triangle), Messages{wrongTriangle});
        triangle.halfEdge[(i + 1) % 3].triangle = nullptr;
        EXPECT_EQ(findings(triangle), Messages{wrongTriangle});
    }
}

TEST(TriangleVerify, FindsABrokenCycleOnce) {
    for (std::size_t i = 0; i < 3; ++i) {
        SoundTriangle triangle;
        triangle.halfEdge[i].next = &triangle.halfEdge[i];
        EXPECT_EQ(findings(triangle), Messages{wrongNext});
        triangle.halfEdge[(i + 1) % 3].next = nullptr;
        EXPECT_EQ(findings(triangle), Messages{wrongNext});
    }
    SoundTriangle backwards;
    for (std::size_t i = 0; i < 3; ++i) {
        backwards.halfEdge[i].next = &backwards.halfEdge[(i + 2) % 3];
    }
    EXPECT_EQ(findings(backwards), Messages{wrongNext});
}

TEST(TriangleVerify, RunsAllChecksInOrder) {
    SoundTriangle triangle(4, 4, 9);
    SoundTriangle other;
    triangle.halfEdge[0].twin = triangle.halfEdge[1].twin = &other.halfEdge[0];
    triangle.halfEdge[2].triangle = &other;
    triangle.halfEdge[1].next = nullptr;
    EXPECT_EQ(findings(triangle), (Messages{linkedTwice, isCollapsed, wrongTriangle, wrongNext}));
}

TEST(TriangleVerify, ReturnsTheSameWhenItsRecordsAreRefused) {
    const LogCapture capture(Severity::Warning);
    EXPECT_TRUE(SoundTriangle().verify());
    EXPECT_FALSE(SoundTriangle(4, 4, 9).verify());
    EXPECT_TRUE(capture.records().empty());
}

TEST(TriangleVerify, WritesInfoRecordsUnderItsOwnName) {
    const LogCapture capture;
    SoundTriangle triangle(4, 4, 9);
    triangle.halfEdge[0].twin = triangle.halfEdge[1].twin = &triangle.halfEdge[0];
    triangle.halfEdge[2].triangle = nullptr;
    triangle.halfEdge[1].next = nullptr;
    triangle.verify();
    ASSERT_EQ(capture.records().size(), 4u);
    for (const LogRecord& record : capture.records()) {
        EXPECT_EQ(record.severity, Severity::Info);
        EXPECT_EQ(record.function, "bool vexa::mesh::HalfEdgeGraph::Triangle::verify()");
        EXPECT_EQ(record.file, "vexa/mesh/HalfEdgeGraph");
        EXPECT_GT(record.line, 0);
    }
}

TEST(TriangleVerify, PropagatesExceptionsOfTheSink) {
    const LogCapture capture(Severity::Trace, 0);
    EXPECT_THROW(SoundTriangle(4, 4, 9).verify(), std::runtime_error);
}

TEST(GraphVerify, ReportsOnAnEmptyGraph) {
    EXPECT_EQ(report(HalfEdgeGraph()),
              (Messages{"HEG: linked triangle count 0", "HEG: invalid triangle 0", "HEG: nonmanifold split: 0",
                        "HEG: triangle state: 0/0/0/0", "HEG: HalfEdgeCount: 0"}));
    EXPECT_EQ(report(HalfEdgeGraph(), true), report(HalfEdgeGraph()));
}

TEST(GraphVerify, CountsTheHalfEdgesOfVertices) {
    HalfEdgeGraph graph;
    graph.vertexHalfEdges = {{}, {{0, nullptr}, {0, nullptr}}, {{0, nullptr}, {0, nullptr}}, {{0, nullptr}, {}, {}}};
    EXPECT_EQ(report(graph),
              (Messages{"HEG: linked triangle count 0", "HEG: invalid triangle 0", "HEG: nonmanifold split: 0",
                        "HEG: triangle state: 0/0/0/0", "HEG: Connection: 0/1 ", "HEG: Connection: 2/2 ",
                        "HEG: Connection: 3/1 ", "HEG: HalfEdgeCount: 7"}));
}

TEST(GraphVerify, ListsConnectionsFromTheFewestToTheMost) {
    FilledGraph graph(meshes::closedFan(12)); // the centre, with 12, comes first
    const Messages messages = report(graph);
    EXPECT_EQ(Messages(messages.begin() + 4, messages.end()),
              (Messages{"HEG: Connection: 2/12 ", "HEG: Connection: 12/1 ", "HEG: HalfEdgeCount: 36"}));
}

TEST(GraphVerify, CountsTheStatesOfFreeTriangles) {
    // Each of the four states occurs a different number of times.
    meshes::Indices mesh = meshes::joined(meshes::scattered(5), meshes::shifted(meshes::strip(5), 15));
    mesh = meshes::joined(mesh, meshes::shifted({0, 1, 2, 1, 0, 3, 2, 1, 4, 0, 2, 5}, 22));
    EXPECT_EQ(report(FilledGraph(mesh))[3], "HEG: triangle state: 5/5/3/1");
}

TEST(GraphVerify, CountsSplitOffTriangles) {
    const Messages messages = report(FilledGraph(meshes::book(5)));
    EXPECT_EQ(messages[0], "HEG: linked triangle count 2");
    EXPECT_EQ(messages[2], "HEG: nonmanifold split: 3");
    EXPECT_EQ(messages[3], "HEG: triangle state: 0/2/0/0");
}

TEST(GraphVerify, CountsInvalidTrianglesSeparatelyFromTheStates) {
    const FilledGraph graph({4, 4, 9, 0, 1, 2});
    EXPECT_EQ(report(graph),
              (Messages{isCollapsed, "HEG: linked triangle count 2", "HEG: invalid triangle 1",
                        "HEG: nonmanifold split: 0", "HEG: triangle state: 1/0/0/0", "HEG: Connection: 0/5 ",
                        "HEG: Connection: 1/4 ", "HEG: Connection: 2/1 ", "HEG: HalfEdgeCount: 6"}));
}

TEST(GraphVerify, ChecksFreeTrianglesOnly) {
    FilledGraph graph(meshes::book(3));
    triangles(graph)[2]->halfEdge[0].next = nullptr; // split off
    EXPECT_EQ(report(graph).front(), "HEG: linked triangle count 2");
}

TEST(GraphVerify, LeavesOutStatesBeyondTheTable) {
    for (const int state : {-2147483647 - 1, -20, -1, 4, 2147483647}) {
        FilledGraph graph(meshes::scattered(2));
        triangles(graph)[1]->state = state;
        const Messages messages = report(graph);
        EXPECT_EQ(messages[0], "HEG: linked triangle count 2");
        EXPECT_EQ(messages[1], "HEG: invalid triangle 0");
        EXPECT_EQ(messages[3], "HEG: triangle state: 1/0/0/0");
    }
}

TEST(GraphVerify, ListsTrianglesAndTwinsWhenVerbose) {
    FilledGraph graph({0, 1, 2, 2, 4, 4});
    EXPECT_EQ(
        report(graph, true),
        (Messages{"HEG: Triangle: %d %d %d: 0 1 2 VALID", isCollapsed, "HEG: Triangle: %d %d %d: 2 4 4 INVALID",
                  "HEG: linked triangle count 2", "HEG: invalid triangle 1", "HEG: nonmanifold split: 0",
                  "HEG: triangle state: 1/0/0/0", "HEG: HalfEdge twin", "HEG: HalfEdge twin", "HEG: HalfEdge twin",
                  "HEG: HalfEdge twin", "HEG: HalfEdge twin", "HEG: HalfEdge twin", "HEG: Connection: 0/1 ",
                  "HEG: Connection: 1/2 ", "HEG: Connection: 2/2 ", "HEG: HalfEdgeCount: 6"}));
}

TEST(GraphVerify, PrintsVerticesUnsigned) {
    FilledGraph graph(meshes::singleTriangle());
    triangles(graph)[0]->halfEdge[1].vertex = 4294967294U;
    EXPECT_EQ(report(graph, true).front(), "HEG: Triangle: %d %d %d: 0 4294967294 2 VALID");
}

TEST(GraphVerify, WritesInfoRecordsUnderItsOwnName) {
    const LogCapture capture;
    const FilledGraph graph(meshes::twoTriangles());
    EXPECT_TRUE(graph.verify(true));
    ASSERT_EQ(capture.records().size(), 2u + 4 + 6 + 2 + 1);
    for (const LogRecord& record : capture.records()) {
        EXPECT_EQ(record.severity, Severity::Info);
        EXPECT_EQ(record.function, "bool vexa::mesh::HalfEdgeGraph::verify(bool)");
        EXPECT_EQ(record.file, "vexa/mesh/HalfEdgeGraph");
        EXPECT_GT(record.line, 0);
    }
}

TEST(GraphVerify, ChangesNothing) {
    const LogCapture capture;
    FilledGraph graph(meshes::damaged(meshes::grid(4, 4), 5));
    const std::string before = describe(graph);
    EXPECT_TRUE(graph.verify(true));
    EXPECT_EQ(describe(graph), before);
}

TEST(GraphVerify, ReportsAfterThePrimitivesAreTaken) {
    FilledGraph graph(meshes::strip(4));
    graph.calcOptPrim(1, true, false, 6, false);
    EXPECT_EQ(report(graph)[0], "HEG: linked triangle count 0");
    EXPECT_EQ(report(graph)[2], "HEG: nonmanifold split: 0");
    takePrimitives(graph);
    EXPECT_EQ(report(graph)[2], "HEG: nonmanifold split: 4");
    EXPECT_EQ(report(graph).back(), "HEG: HalfEdgeCount: 12");
}

TEST(GraphVerify, ReturnsTheSameWhenItsRecordsAreRefused) {
    const LogCapture capture(Severity::Fatal);
    EXPECT_TRUE(FilledGraph({4, 4, 9}).verify(true));
    EXPECT_TRUE(capture.records().empty());
}

TEST(GraphVerify, PropagatesExceptionsOfTheSink) {
    const FilledGraph graph({4, 4, 9, 0, 1, 2});
    const std::size_t recordCount = report(graph, true).size();
    for (std::size_t n = 0; n < recordCount; ++n) {
        const LogCapture capture(Severity::Trace, n);
        EXPECT_THROW(graph.verify(true), std::runtime_error);
    }
}

} // namespace
