#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/Strips.h>

#include "reference/ReferenceGraph.h"
#include "support/GraphComparison.h"
#include "support/Graphs.h"
#include "support/LogCapture.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

namespace {

using namespace vexa::mesh;
using namespace vexa::test;
using reference::Parameters;

/// All triangles over the vertices 0 to 4 whose corners differ: 60, each winding and first corner apart.
std::vector<meshes::Indices> trianglesOverFiveVertices() {
    std::vector<meshes::Indices> triangles;
    for (unsigned int a = 0; a < 5; ++a) {
        for (unsigned int b = 0; b < 5; ++b) {
            for (unsigned int c = 0; c < 5; ++c) {
                if (a != b && b != c && c != a) {
                    triangles.push_back({a, b, c});
                }
            }
        }
    }
    return triangles;
}

void forEachTripleOfTriangles(const std::function<void(const meshes::Indices&)>& visit) {
    const std::vector<meshes::Indices> triangles = trianglesOverFiveVertices();
    for (const meshes::Indices& first : triangles) {
        for (const meshes::Indices& second : triangles) {
            const meshes::Indices pair = meshes::joined(first, second);
            for (const meshes::Indices& third : triangles) {
                visit(meshes::joined(pair, third));
            }
        }
    }
}

std::string describe(const meshes::Indices& mesh, const Parameters& p) {
    return ::testing::PrintToString(mesh) + " iterations " + std::to_string(p.iterations) + " strips " +
           std::to_string(p.buildStrips) + " fans " + std::to_string(p.buildFans) + " from " +
           std::to_string(p.minFanTriangles) + " all strips " + std::to_string(p.allStrips);
}

/// Fills and cuts one mesh with the graph and with buildPrimitives; the first difference from the reference, or "".
std::string differenceOnMesh(HalfEdgeGraph& graph, const meshes::Indices& mesh, const Parameters& p) {
    graph.clear();
    graph.addTriangles(mesh.data(), mesh.size());
    reference::Graph expected;
    expected.addTriangles(mesh);
    const GraphComparison comparison(graph, expected);
    if (std::string text = comparison.differenceInFilling(); !text.empty()) {
        return text;
    }
    const std::uint32_t returned =
        graph.calcOptPrim(p.iterations, p.buildStrips, p.buildFans, p.minFanTriangles, p.allStrips);
    const int draw = std::rand();
    if (returned != expected.calcOptPrim(p)) {
        return "another number is returned";
    }
    if (draw != std::rand()) {
        return "another number is drawn next";
    }
    if (std::string text = comparison.differenceInResult(); !text.empty()) {
        return text;
    }
    return differenceInPrimitives(graph, expected);
}

std::string differenceOnList(const meshes::Indices& mesh, const Parameters& p) {
    const auto primitives =
        buildPrimitives(mesh, {p.iterations, p.buildStrips, p.buildFans, p.minFanTriangles, p.allStrips});
    reference::Graph paired(reference::EdgeRule::Pair);
    paired.addTriangles(mesh);
    paired.calcOptPrim(p);
    const auto expected = paired.takePrimitives();
    if (primitives.size() != expected.size()) {
        return "another number of primitives";
    }
    for (std::size_t i = 0; i < primitives.size(); ++i) {
        if (primitives[i].type != expected[i].type || primitives[i].indices != expected[i].indices) {
            return "primitive " + std::to_string(i) + " is " + ::testing::PrintToString(primitives[i].indices) +
                   ", expected " + ::testing::PrintToString(expected[i].indices);
        }
    }
    return {};
}

TEST(EveryTripleOfTriangles, IsFilledAndCutByTheGraphAsByTheReference) {
    const LogCapture quiet(Severity::Fatal);
    HalfEdgeGraph graph;
    graph.reserve(5, 4, 8);
    forEachTripleOfTriangles([&](const meshes::Indices& mesh) {
        const Parameters parameters{.iterations = 2, .buildFans = true, .minFanTriangles = 2};
        ASSERT_EQ(differenceOnMesh(graph, mesh, parameters), "") << describe(mesh, parameters);
    });
}

TEST(EveryTripleOfTriangles, IsCutByBuildPrimitivesAsByTheReference) {
    forEachTripleOfTriangles([&](const meshes::Indices& mesh) {
        const Parameters parameters{.iterations = 1};
        ASSERT_EQ(differenceOnList(mesh, parameters), "") << describe(mesh, parameters);
    });
}

/// Random meshes of random size under random parameters, many of them tangled; more where `VEXA_RANDOM_MESHES` says so.
TEST(RandomMeshes, AreCutAsByTheReference) {
    const LogCapture quiet(Severity::Fatal);
    meshes::Random random(20);
    HalfEdgeGraph graph;
    const char* const wanted = std::getenv("VEXA_RANDOM_MESHES");
    const std::uint32_t rounds = wanted != nullptr ? static_cast<std::uint32_t>(std::stoul(wanted)) : 6000;
    for (std::uint32_t round = 0; round < rounds; ++round) {
        const unsigned int vertexCount = 3 + random.below(14);
        const unsigned int triangleCount = 1 + random.below(30);
        meshes::Indices mesh = meshes::soup(vertexCount, triangleCount, round);
        if (random.chance(50)) {
            mesh = meshes::damaged(meshes::grid(1 + random.below(6), 1 + random.below(6)), round);
        }
        const Parameters parameters{random.below(5), random.chance(90), random.chance(50), random.below(7),
                                    random.chance(40)};
        if (!mesh.empty()) {
            ASSERT_EQ(differenceOnMesh(graph, mesh, parameters), "") << describe(mesh, parameters);
        }
        ASSERT_EQ(differenceOnList(mesh, parameters), "") << describe(mesh, parameters);
    }
}

/// A small mesh in the graph and in the reference, whose records a test may damage in the same way.
struct FilledTwice {
    explicit FilledTwice(const meshes::Indices& mesh) : library(mesh), triangles(graphs::triangles(library)) {
        expected.addTriangles(mesh);
    }

    /// Removes the twin of a half-edge; the twin still points back to it.
    void forgetTwin(std::size_t halfEdge) {
        triangles[halfEdge / 3]->halfEdge[halfEdge % 3].twin = nullptr;
        expected.twin[halfEdge] = reference::none;
    }
    void setState(std::size_t triangle, int state) {
        triangles[triangle]->state = state;
        expected.state[triangle] = state;
    }
    /// Cuts both into strips, single triangles too; the first difference, or "".
    std::string differenceInPasses(std::uint32_t iterations) {
        const GraphComparison comparison(library, expected);
        const std::uint32_t cost = library.calcOptPrim(iterations, true, false, 6, true);
        if (cost != expected.calcOptPrim({.iterations = iterations, .allStrips = true})) {
            return "another number is returned";
        }
        return comparison.differenceInResult();
    }

    graphs::FilledGraph library;
    std::vector<graphs::Triangle*> triangles;
    reference::Graph expected;
};

TEST(RandomMeshes, WithLinksInOneDirectionAreCutAsByTheReference) {
    const LogCapture quiet(Severity::Fatal);
    meshes::Random random(21);
    for (int round = 0; round < 3000; ++round) {
        FilledTwice graphs(meshes::grid(1 + random.below(4), 1 + random.below(4)));
        for (std::size_t halfEdge = 0; halfEdge < graphs.expected.twin.size(); ++halfEdge) {
            if (random.chance(25)) {
                graphs.forgetTwin(halfEdge);
            }
        }
        ASSERT_EQ(graphs.differenceInPasses(2 + random.below(6)), "") << "round " << round;
    }
}

TEST(RandomMeshes, WithStatesThatDoNotFitTheirLinksAreCutAsByTheReference) {
    const LogCapture quiet(Severity::Fatal);
    meshes::Random random(22);
    for (int round = 0; round < 3000; ++round) {
        FilledTwice graphs(meshes::grid(1 + random.below(4), 1 + random.below(4)));
        for (std::size_t triangle = 0; triangle < graphs.triangles.size(); ++triangle) {
            if (random.chance(25)) {
                graphs.setState(triangle, static_cast<int>(random.below(4)));
            }
        }
        ASSERT_EQ(graphs.differenceInPasses(2 + random.below(6)), "") << "round " << round;
    }
}

} // namespace
