#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/Strips.h>

#include "reference/ReferenceGraph.h"
#include "support/GraphComparison.h"
#include "support/LogCapture.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>

namespace reference {

std::ostream& operator<<(std::ostream& stream, const Parameters& parameters) {
    return stream << "iterations " << parameters.iterations << ", strips " << parameters.buildStrips << ", fans "
                  << parameters.buildFans << " from " << parameters.minFanTriangles << ", all strips "
                  << parameters.allStrips;
}

} // namespace reference

namespace {

using namespace vexa::mesh;
using namespace vexa::test;
using reference::EdgeRule;
using reference::Parameters;

using Draws = std::array<int, 3>;

Draws nextDraws() {
    return {std::rand(), std::rand(), std::rand()};
}

std::vector<Parameters> parameterSets() {
    std::vector<Parameters> sets;
    for (std::uint32_t iterations : {0u, 1u, 2u, 5u}) {
        for (bool allStrips : {false, true}) {
            for (bool buildStrips : {false, true}) {
                sets.push_back({iterations, buildStrips, false, 6, allStrips});
                for (std::uint32_t minFanTriangles : {0u, 3u, 5u, 6u}) {
                    sets.push_back({iterations, buildStrips, true, minFanTriangles, allStrips});
                }
            }
        }
    }
    return sets;
}

reference::Graph referenceGraph(const meshes::Indices& mesh, EdgeRule rule = EdgeRule::SplitOff) {
    reference::Graph graph(rule);
    graph.addTriangles(mesh);
    return graph;
}

std::uint32_t optimise(HalfEdgeGraph& graph, const Parameters& p) {
    return graph.calcOptPrim(p.iterations, p.buildStrips, p.buildFans, p.minFanTriangles, p.allStrips);
}

/// The records that the described optimiser writes, the percentage of the last one left out where it is not a number.
std::vector<std::string> expectedMessages(const reference::Graph& optimised, const Parameters& parameters) {
    std::vector<std::string> messages(optimised.invalidCount, "INVALID TRIANGLE IN VALID TRIANGLE BAG");
    for (const reference::Attempt& attempt : optimised.attempts) {
        std::ostringstream text;
        text << " cost/best/worst: " << attempt.total << "/" << attempt.best << "/" << attempt.worst;
        messages.push_back(text.str());
    }
    if (parameters.iterations > 1) {
        std::ostringstream text;
        text << "range: " << optimised.best << "/" << optimised.worst << " ";
        if (optimised.best != 0) {
            const int scaled = (optimised.worst - optimised.best) * 100;
            text << static_cast<double>(static_cast<float>(scaled) / static_cast<float>(optimised.best)) << "%";
        }
        messages.push_back(text.str());
    }
    return messages;
}

std::vector<std::string> withoutNan(std::vector<std::string> messages) {
    for (std::string& message : messages) {
        if (const auto position = message.find("nan%"); position != std::string::npos) {
            message.erase(message[position - 1] == '-' ? position - 1 : position);
        }
    }
    return messages;
}

/// Runs both on one mesh and parameter set and compares all that a caller can observe. Returns the drained reference.
reference::Graph expectSameOptimisation(HalfEdgeGraph& library, reference::Graph expected,
                                        const Parameters& parameters) {
    const GraphComparison comparison(library, expected);
    const std::uint32_t returned = optimise(library, parameters);
    const Draws draws = nextDraws();
    const std::uint32_t expectedReturned = expected.calcOptPrim(parameters);

    EXPECT_EQ(draws, nextDraws());
    EXPECT_EQ(returned, expectedReturned);
    EXPECT_EQ(comparison.differenceInResult(), "");
    EXPECT_EQ(differenceInPrimitives(library, expected), "");
    EXPECT_EQ(comparison.differenceInResult(), "");
    return expected;
}

void expectSamePrimitives(const meshes::Indices& mesh, const reference::Graph& filled, const Parameters& parameters) {
    reference::Graph expected = filled;
    const std::vector<IndexedPrimitive> primitives =
        buildPrimitives(mesh, {parameters.iterations, parameters.buildStrips, parameters.buildFans,
                               parameters.minFanTriangles, parameters.allStrips});
    expected.calcOptPrim(parameters);
    const std::vector<reference::Primitive> expectedPrimitives = expected.takePrimitives();
    ASSERT_EQ(primitives.size(), expectedPrimitives.size());
    for (std::size_t i = 0; i < primitives.size(); ++i) {
        ASSERT_EQ(primitives[i].type, expectedPrimitives[i].type) << "primitive " << i;
        ASSERT_EQ(differenceInIndices("indices", primitives[i].indices, expectedPrimitives[i].indices), "")
            << "primitive " << i;
    }
}

class StripDifferential : public ::testing::Test {
protected:
    using Check = std::function<void(const meshes::Indices&, const reference::Graph&, const Parameters&)>;

    /// Gives the check each mesh, the reference filled with it, and each parameter set. Stops at the first failure.
    static void forEachMeshAndParameters(EdgeRule rule, const Check& check) {
        for (const meshes::NamedMesh& mesh : meshes::suite()) {
            const reference::Graph filled = referenceGraph(mesh.indices, rule);
            for (const Parameters& parameters : parameterSets()) {
                check(mesh.indices, filled, parameters);
                ASSERT_FALSE(HasFailure()) << mesh.name << ": " << parameters;
            }
        }
    }

    const LogCapture quiet_{Severity::Fatal};
};

TEST_F(StripDifferential, FillingLinksAndListsAsTheReference) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        SCOPED_TRACE(mesh.name);
        const reference::Graph expected = referenceGraph(mesh.indices);
        HalfEdgeGraph oneByOne;
        for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
            oneByOne.addTriangle(mesh.indices[i], mesh.indices[i + 1], mesh.indices[i + 2]);
        }
        EXPECT_EQ(GraphComparison(oneByOne, expected).differenceInFilling(), "");
        HalfEdgeGraph atOnce;
        atOnce.addTriangles(mesh.indices.data(), mesh.indices.size());
        EXPECT_EQ(GraphComparison(atOnce, expected).differenceInFilling(), "");
    }
}

TEST_F(StripDifferential, FillingInPiecesMatchesFillingAtOnce) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        SCOPED_TRACE(mesh.name);
        HalfEdgeGraph graph;
        graph.reserve(0, 7, 0);
        const std::size_t cut = mesh.indices.size() / 6 * 3;
        graph.addTriangles(mesh.indices.data(), cut);
        graph.addTriangles(mesh.indices.data() + cut, mesh.indices.size() - cut);
        EXPECT_EQ(GraphComparison(graph, referenceGraph(mesh.indices)).differenceInFilling(), "");
    }
}

TEST_F(StripDifferential, GraphCutsAndReportsAsTheReference) {
    LogCapture log;
    forEachMeshAndParameters(EdgeRule::SplitOff, [&](const auto& mesh, const auto& filled, const auto& parameters) {
        HalfEdgeGraph graph;
        graph.addTriangles(mesh.data(), mesh.size());
        log.clear();
        const reference::Graph expected = expectSameOptimisation(graph, filled, parameters);
        EXPECT_EQ(withoutNan(log.messages()), expectedMessages(expected, parameters));
    });
}

TEST_F(StripDifferential, BuildPrimitivesCutsAsTheReference) {
    forEachMeshAndParameters(EdgeRule::Pair, expectSamePrimitives);
}

TEST_F(StripDifferential, BuildPrimitivesDoesNotDrawFromRand) {
    std::srand(4711);
    const Draws expected = nextDraws();
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        std::srand(4711);
        buildPrimitives(mesh.indices, {.iterations = 3, .buildFans = true});
        EXPECT_EQ(nextDraws(), expected) << mesh.name;
    }
}

TEST_F(StripDifferential, EdgeLinesMatchTheReference) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        HalfEdgeGraph graph;
        graph.addTriangles(mesh.indices.data(), mesh.indices.size());
        for (bool withShareFlag : {false, true}) {
            std::vector<unsigned int> lines{1, 2, 3};
            reference::Indices expected;
            EXPECT_EQ(graph.calcEgdeLines(lines, withShareFlag),
                      referenceGraph(mesh.indices).calcEgdeLines(expected, withShareFlag));
            EXPECT_EQ(differenceInIndices("lines", lines, expected), "") << mesh.name;
        }
    }
}

TEST_F(StripDifferential, PrimitivesOfChosenTypesMatchTheReference) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        SCOPED_TRACE(mesh.name);
        HalfEdgeGraph graph;
        graph.addTriangles(mesh.indices.data(), mesh.indices.size());
        reference::Graph expected = referenceGraph(mesh.indices);
        const GraphComparison comparison(graph, expected);
        const Parameters parameters{.iterations = 2, .buildFans = true, .minFanTriangles = 3};
        optimise(graph, parameters);
        expected.calcOptPrim(parameters);
        for (int type : {4, 5, 1, 6, 5, 4, 6, 0, 5, 2, 0}) {
            std::vector<unsigned int> indices{1, 2, 3};
            reference::Indices expectedIndices;
            ASSERT_EQ(graph.getPrimitive(indices, type), expected.getPrimitive(expectedIndices, type));
            ASSERT_EQ(differenceInIndices("indices", indices, expectedIndices), "");
            ASSERT_EQ(comparison.differenceInResult(), "");
        }
    }
}

TEST_F(StripDifferential, ClearedGraphStartsOver) {
    HalfEdgeGraph graph;
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        SCOPED_TRACE(mesh.name);
        graph.clear();
        graph.reserve(0, 64, 0);
        graph.addTriangles(mesh.indices.data(), mesh.indices.size());
        // Without triangles nothing has emptied the lists yet.
        if (!mesh.indices.empty()) {
            expectSameOptimisation(graph, referenceGraph(mesh.indices), {.iterations = 2, .buildFans = true});
        }
    }
}

/// Free triangles whose state says claimed, none of them next to a triangle from which a strip could enter it.
TEST(InvalidStates, AreReportedAndCutAsByTheReference) {
    LogCapture log;
    const meshes::Indices mesh = meshes::joined(meshes::joined(meshes::strip(3), meshes::shifted(meshes::pairs(4), 10)),
                                                meshes::shifted(meshes::scattered(4), 40));
    for (const Parameters& parameters : parameterSets()) {
        HalfEdgeGraph graph;
        reference::Graph expected = referenceGraph(mesh);
        std::vector<HalfEdgeGraph::Triangle*> triangles;
        for (std::size_t i = 0; i < mesh.size(); i += 3) {
            triangles.push_back(graph.addTriangle(mesh[i], mesh[i + 1], mesh[i + 2]));
        }
        for (std::size_t i = 1; i < triangles.size(); i += 4) {
            triangles[i]->state = -5;
            expected.state[i] = -5;
        }
        log.clear();
        expected = expectSameOptimisation(graph, expected, parameters);
        EXPECT_EQ(withoutNan(log.messages()), expectedMessages(expected, parameters)) << parameters;
    }
}

} // namespace
