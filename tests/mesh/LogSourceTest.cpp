#include "support/Buffers.h"
#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <vexa/mesh/Mesh.h>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

// The line of a log record is a line of the source that the record names.

namespace {

using namespace vexa::mesh;
using vexa::test::LogCapture;
using vexa::test::LogRecord;

/// The statement of a record in its source: the line that it gives and the three after it.
std::string statementOf(const LogRecord& record) {
    std::ifstream source(VEXA_SOURCE_DIR "/" + record.file + ".cpp");
    std::string statement;
    std::string line;
    for (int number = 1; number < record.line + 4 && std::getline(source, line); ++number) {
        if (number >= record.line) {
            statement += line;
        }
    }
    return statement;
}

void expectToStandInTheirSources(const std::vector<LogRecord>& records) {
    ASSERT_FALSE(records.empty());
    for (const LogRecord& record : records) {
        const std::string begin = '"' + record.message.substr(0, 7);
        EXPECT_NE(statementOf(record).find(begin), std::string::npos) << record.file << ":" << record.line << begin;
    }
}

TEST(LogSource, OfMeshComparisonsIsTheMesh) {
    const LogCapture capture;
    const MeshPtr mesh = vexa::test::meshOf({vexa::test::zeros("a", 1)});
    const MeshPtr points = vexa::test::meshOf({vexa::test::zeros("a", 1)});
    points->setPrimitive(POINTS);
    Mesh::meshesAreCompatible(mesh, points, true);
    Mesh::meshesAreCompatible(mesh, vexa::test::meshOf({}), true);
    Mesh::meshesAreCompatible(mesh, vexa::test::meshOf({vexa::test::zeros("b", 1)}), true);
    Mesh::meshesAreCompatible(mesh, vexa::test::meshOf({AttributeBuffer::createDefaultVec2f("a")}), true);
    Mesh::meshesAreCompatible(mesh, vexa::test::meshOf({AttributeBuffer::createDefault(BYTE, 3, "a")}), true);
    EXPECT_EQ(capture.records().size(), 5u);
    expectToStandInTheirSources(capture.records());
}

TEST(LogSource, OfGraphsIsTheGraph) {
    const LogCapture capture;
    graphs::FilledGraph graph(meshes::torus(4, 4));
    graph.freeTriangles.first->state = -1;
    graph.verify(true);
    graph.freeTriangles.first->halfEdge[0].next = nullptr;
    graph.freeTriangles.first->halfEdge[1].triangle = nullptr;
    graph.freeTriangles.first->halfEdge[2].vertex = graph.freeTriangles.first->halfEdge[1].vertex;
    graph.freeTriangles.first->verify();
    graphs::FilledGraph other(meshes::torus(4, 4));
    other.freeTriangles.first->state = -1;
    other.calcOptPrim(2, true, false, 6, false);
    std::vector<unsigned int> indices;
    other.fillIndexFromFan(indices, nullptr);
    EXPECT_GT(capture.records().size(), 10u);
    expectToStandInTheirSources(capture.records());
}

} // namespace
