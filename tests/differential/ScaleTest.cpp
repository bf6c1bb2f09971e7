#include "support/BuildKind.h"
#include "support/Graphs.h"
#include "support/LogCapture.h"
#include "support/Million.h"

#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <functional>
#include <pthread.h>
#include <stdexcept>

// Meshes large enough that recursion would overflow the stack and quadratic work would not finish.

namespace {

using namespace vexa::mesh;
using graphs::FilledGraph;
using meshes::Indices;
using vexa::test::LogCapture;
using vexa::test::Severity;

const unsigned int million = vexa::test::readMillion();
const unsigned int half = million / 2;

struct Call {
    std::function<void()> function;
    std::exception_ptr thrown;
};

void* run(void* argument) {
    Call& call = *static_cast<Call*>(argument);
    try {
        call.function();
    } catch (...) {
        call.thrown = std::current_exception();
    }
    return nullptr;
}

/// Runs a function on a stack of 256 KiB.
void onSmallStack(const std::function<void()>& function) {
    Call call{function, nullptr};
    pthread_attr_t attributes;
    pthread_t thread{};
    if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, 256 * 1024) != 0 ||
        pthread_create(&thread, &attributes, run, &call) != 0) {
        throw std::runtime_error("no thread");
    }
    pthread_attr_destroy(&attributes);
    pthread_join(thread, nullptr);
    if (call.thrown) {
        std::rethrow_exception(call.thrown);
    }
}

void addOneByOne(HalfEdgeGraph& graph, const Indices& mesh) {
    for (std::size_t i = 0; i < mesh.size(); i += 3) {
        graph.addTriangle(mesh[i], mesh[i + 1], mesh[i + 2]);
    }
}

/// A number for the oriented triangles of primitives, whatever their order. Sorting them would take most of the time.
class Checksum {
public:
    explicit Checksum(const Indices& mesh) { add(TRIANGLES, mesh); }
    Checksum() = default;

    void add(PrimitiveType type, const Indices& indices) {
        const Indices triangles = toTriangles(type, indices);
        for (std::size_t i = 0; i < triangles.size(); i += 3) {
            std::uint64_t turned[3];
            for (std::size_t corner = 0; corner < 3; ++corner) {
                turned[corner] = triangles[i + corner];
                turned[corner] = turned[corner] * 0x9e3779b97f4a7c15U + triangles[i + (corner + 1) % 3];
                turned[corner] = turned[corner] * 0x9e3779b97f4a7c15U + triangles[i + (corner + 2) % 3];
            }
            const std::uint64_t mixed = turned[0] * turned[1] + turned[1] * turned[2] + turned[2] * turned[0];
            sum_ += mixed ^ (mixed >> 29);
            ++count_;
        }
    }
    friend bool operator==(const Checksum&, const Checksum&) = default;

private:
    std::uint64_t sum_ = 0;
    std::size_t count_ = 0;
};

/// Takes all primitives out of a graph.
Checksum takeAll(HalfEdgeGraph& graph) {
    Checksum checksum;
    Indices indices;
    while (const int type = graph.getPrimitive(indices, 0)) {
        checksum.add(static_cast<PrimitiveType>(type), indices);
    }
    return checksum;
}

/// Runs every operation of the graph, and building strips in one call, on a mesh.
void expectEverythingWorks(const Indices& mesh, std::uint32_t iterations) {
    const LogCapture capture(Severity::Warning);
    onSmallStack([&] {
        const Checksum expected(mesh);
        HalfEdgeGraph graph;
        addOneByOne(graph, mesh);
        graph.clear();
        graph.addTriangles(mesh.data(), mesh.size());
        EXPECT_TRUE(graph.verify(false));
        Indices lines;
        EXPECT_GE(graph.calcEgdeLines(lines, true), mesh.size() / 6);
        graph.calcOptPrim(iterations, true, true, 5, true);
        EXPECT_EQ(takeAll(graph), expected);

        Checksum built;
        for (const auto& primitive : buildPrimitives(mesh, {.iterations = iterations, .buildFans = true})) {
            built.add(primitive.type, primitive.indices);
        }
        EXPECT_EQ(built, expected);
    });
}

TEST(Scale, HandlesAVertexWithAMillionTrianglesThatShareNoEdge) {
    expectEverythingWorks(meshes::hub(million), 1);
}

TEST(Scale, HandlesAVertexWithAMillionTrianglesAroundIt) {
    expectEverythingWorks(meshes::closedFan(million), 1);
    expectEverythingWorks(meshes::openFan(million), 1);
}

TEST(Scale, HandlesTwoVerticesWithAMillionTrianglesEach) {
    Indices mesh = meshes::closedFan(million);
    for (unsigned int i = 0; i < million; ++i) { // the other side of the rim
        mesh.insert(mesh.end(), {million + 1, 1 + (i + 1) % million, 1 + i});
    }
    expectEverythingWorks(mesh, 1);
}

TEST(Scale, HandlesAnEdgeWithAMillionTriangles) {
    expectEverythingWorks(meshes::book(million), 1);
}

TEST(Scale, HandlesAMillionCopiesOfATriangle) {
    Indices mesh;
    mesh.reserve(3UL * million);
    for (unsigned int i = 0; i < million; ++i) {
        mesh.insert(mesh.end(), {0, 1, 2});
    }
    expectEverythingWorks(mesh, 1);
}

TEST(Scale, HandlesAMillionCollapsedTrianglesAtAVertex) {
    Indices mesh;
    mesh.reserve(3UL * million);
    for (unsigned int i = 0; i < million; ++i) {
        mesh.insert(mesh.end(), {0, 0, 1 + i});
    }
    expectEverythingWorks(mesh, 1);
}

/// Fans around 0 and 1, and as many triangles on the edge between them.
Indices edgeBetweenHubs(unsigned int each) {
    Indices mesh;
    for (unsigned int i = 0; i < each; ++i) {
        mesh.insert(mesh.end(), {0, 2 + i, 3 + i});
        mesh.insert(mesh.end(), {1, 3 + each + i, 4 + each + i});
    }
    for (unsigned int i = 0; i < each; ++i) {
        mesh.insert(mesh.end(), {0, 1, 4 + 2 * each + i});
    }
    return mesh;
}

TEST(Scale, HandlesAnEdgeWithManyTrianglesBetweenVerticesWithMore) {
    expectEverythingWorks(edgeBetweenHubs(million / 10), 1);
}

TEST(Scale, HandlesAnEdgeWithManyTrianglesAfterAsManyCollapsedOnes) {
    Indices mesh;
    for (unsigned int i = 0; i < million / 8; ++i) {
        mesh.insert(mesh.end(), {0, 0, 1});
    }
    for (unsigned int i = 0; i < million / 8; ++i) {
        mesh.insert(mesh.end(), {0, 1, 2 + i});
    }
    expectEverythingWorks(mesh, 1);
}

TEST(Scale, HandlesAStripOfAMillionTriangles) {
    expectEverythingWorks(meshes::strip(million), 1);
    FilledGraph graph(meshes::strip(million));
    onSmallStack([&] { EXPECT_EQ(graph.calcOptPrim(1, true, false, 6, false), million + 2); });
    EXPECT_EQ(graph.strips.size(), 1u);
}

TEST(Scale, HandlesAMillionTrianglesThatShareNothing) {
    expectEverythingWorks(meshes::scattered(million), 1);
}

TEST(Scale, HandlesAMillionRandomTriangles) {
    expectEverythingWorks(meshes::soup(million / 4, million, 5), 1);
}

TEST(Scale, HandlesHundredsOfThousandsOfTrianglesOnAHundredVertices) {
    expectEverythingWorks(meshes::soup(100, half, 5), 1);
}

TEST(Scale, RunsSeveralPassesOverAGrid) {
    constexpr unsigned int side = vexa::test::isSlowBuild ? 70 : 500;
    expectEverythingWorks(meshes::grid(side, side), 3);
}

TEST(Scale, RunsSeveralPassesWithHundredsOfThousandsInABucket) {
    // The picks are from a bucket that holds half a million at first.
    expectEverythingWorks(meshes::scattered(half), 3);
}

TEST(Scale, RunsSeveralPassesOverStripsOfTwo) {
    expectEverythingWorks(meshes::pairs(half / 2), 3);
}

TEST(Scale, FreesAMillionChunks) {
    HalfEdgeGraph graph;
    graph.pool.chunkSize = 1;
    const Indices mesh = meshes::scattered(million);
    onSmallStack([&] {
        addOneByOne(graph, mesh);
        graph.clear();
        graph.addTriangles(mesh.data(), mesh.size());
        graph.clear();
        auto* const destroyed = new HalfEdgeGraph;
        destroyed->pool.chunkSize = 1;
        destroyed->addTriangles(mesh.data(), mesh.size());
        delete destroyed;
    });
    EXPECT_EQ(graph.pool.chunks, nullptr);
}

TEST(Scale, AddsLittleToALargeGraphManyTimes) {
    constexpr unsigned int side = vexa::test::isSlowBuild ? 100 : 700;
    constexpr unsigned int count = vexa::test::isSlowBuild ? 10000 : 400000;
    FilledGraph graph(meshes::grid(side, side));
    const auto vertexCount = static_cast<unsigned int>(graph.vertexHalfEdges.size());
    onSmallStack([&] {
        for (unsigned int i = 0; i < count; ++i) {
            const unsigned int isNew = i % 2; // half of them add vertices too
            const unsigned int corners[] = {i % vertexCount, isNew * (vertexCount + i), vertexCount - 1 - i % 7};
            graph.addTriangles(corners, 3);
        }
    });
    EXPECT_EQ(graphs::triangles(graph).size(), 2UL * side * side + count);
}

TEST(Scale, ReservesAFewMoreVerticesManyTimes) {
    HalfEdgeGraph graph;
    for (unsigned int i = 1; i <= million; ++i) {
        graph.reserve(i, 2048, 0);
    }
    EXPECT_EQ(graph.vertexHalfEdges.size(), million);
}

TEST(Scale, JoinsAMillionStrips) {
    const std::vector<IndexedPrimitive> strips(million, {TRIANGLE_STRIP, {0, 1, 2}});
    onSmallStack([&] {
        const Indices restarted = joinStrips(strips, StripJoin::Restart);
        EXPECT_EQ(restarted.size(), 4UL * million - 1);
        EXPECT_EQ(std::count(restarted.begin(), restarted.end(), 4294967295U), million - 1);
        const Indices degenerate = joinStrips(strips, StripJoin::Degenerate);
        EXPECT_EQ(degenerate.size(), 6UL * million - 3);
        EXPECT_TRUE(toTriangles(TRIANGLE_STRIP, degenerate) == toTriangles(TRIANGLE_STRIP, restarted));
    });
}

} // namespace
