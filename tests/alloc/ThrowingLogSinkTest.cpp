#include "alloc/FailingNew.h"
#include "support/Buffers.h"
#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <vexa/mesh/Mesh.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

// The log sink throws at each record of every operation that logs, in turn: the operation throws the same, what it works
// on stays unchanged, and nothing leaks.

namespace {

using namespace vexa::mesh;
using graphs::FilledGraph;
using vexa::test::liveAllocations;
using vexa::test::LogCapture;
using vexa::test::Severity;

/// Runs an operation with the sink throwing at the n-th record; true when that made it throw.
bool throwsAtRecord(std::size_t n, const std::function<void()>& operation) {
    const LogCapture capture(Severity::Trace, n);
    try {
        operation();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "log sink");
        return true;
    }
    return false;
}

/// Lets the sink throw at each record of an operation in turn; returns the number of records.
std::size_t throwAtEveryRecord(const std::function<void()>& operation) {
    throwsAtRecord(0, operation); // what the logging core allocates once
    std::size_t count = 0;
    bool hasThrown = true;
    while (hasThrown) {
        const std::size_t before = liveAllocations();
        hasThrown = throwsAtRecord(count, operation);
        EXPECT_EQ(liveAllocations(), before) << "record " << count;
        count += hasThrown ? 1 : 0;
    }
    return count;
}

/// The same for an operation on a graph, which must stay as it is when the operation throws.
std::size_t throwAtEveryRecord(const meshes::Indices& mesh, const std::function<void(HalfEdgeGraph&)>& operation) {
    return throwAtEveryRecord([&] {
        FilledGraph graph(mesh);
        const std::string before = graphs::describe(graph);
        try {
            operation(graph);
        } catch (...) {
            EXPECT_EQ(graphs::describe(graph), before);
            throw;
        }
    });
}

meshes::Indices mixedMesh() {
    return meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::damaged(meshes::grid(5, 4), 2), 7));
}

TEST(ThrowingLogSink, LeavesAGraphUnoptimised) {
    for (const std::uint32_t iterations : {2U, 3U}) {
        for (const bool allStrips : {false, true}) {
            const auto optimise = [&](HalfEdgeGraph& graph) {
                std::srand(1); // NOLINT(cert-msc51-cpp): the same passes each time
                graph.calcOptPrim(iterations, true, true, 5, allStrips);
            };
            EXPECT_GT(throwAtEveryRecord(mixedMesh(), optimise), 0U);
        }
    }
}

TEST(ThrowingLogSink, StopsAVerification) {
    EXPECT_GT(throwAtEveryRecord(mixedMesh(), [](HalfEdgeGraph& graph) { graph.verify(true); }), 5U);
    const auto verifyDamaged = [] {
        FilledGraph graph(mixedMesh());
        graph.freeTriangles.first->state = -1;
        graph.freeTriangles.first->halfEdge[0].next = nullptr;
        graph.freeTriangles.first->halfEdge[1].triangle = nullptr;
        graph.freeTriangles.first->verify();
        graph.verify(true);
    };
    EXPECT_GT(throwAtEveryRecord(verifyDamaged), 5U);
}

TEST(ThrowingLogSink, LeavesTheIndicesOfAFanUnwritten) {
    const auto fill = [](HalfEdgeGraph& graph) {
        std::vector<unsigned int> indices{7};
        try {
            graph.fillIndexFromFan(indices, nullptr);
        } catch (...) {
            EXPECT_EQ(indices, std::vector<unsigned int>{7});
            throw;
        }
    };
    EXPECT_EQ(throwAtEveryRecord(mixedMesh(), fill), 1U);
}

TEST(ThrowingLogSink, StopsAComparisonOfMeshes) {
    const MeshPtr mesh = vexa::test::meshOf({vexa::test::zeros("a", 1)});
    const MeshPtr points = vexa::test::meshOf({vexa::test::zeros("a", 1)});
    points->setPrimitive(POINTS);
    for (const MeshPtr& other : {points, vexa::test::meshOf({}), vexa::test::meshOf({vexa::test::zeros("b", 1)}),
                                 vexa::test::meshOf({AttributeBuffer::createDefaultVec2f("a")}),
                                 vexa::test::meshOf({AttributeBuffer::createDefault(BYTE, 3, "a")})}) {
        EXPECT_EQ(throwAtEveryRecord([&] { Mesh::meshesAreCompatible(mesh, other, true); }), 1U);
        EXPECT_EQ(mesh.use_count(), 1);
    }
}

} // namespace
