#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/Strips.h>

#include "reference/ReferenceDecode.h"
#include "support/LogCapture.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace vexa::mesh;
using namespace vexa::test;
using meshes::Indices;

std::vector<StripOptions> optionsThatEmitEverything() {
    std::vector<StripOptions> all;
    for (std::uint32_t iterations : {0u, 1u, 2u, 5u}) {
        for (bool allStrips : {false, true}) {
            for (bool buildStrips : {false, true}) {
                const bool builds = iterations != 0 && buildStrips;
                for (std::uint32_t minFanTriangles : {0u, 3u, 5u, 6u}) {
                    if (builds || !allStrips) {
                        all.push_back({iterations, buildStrips, true, minFanTriangles, allStrips});
                    }
                }
                if (builds || !allStrips) {
                    all.push_back({iterations, buildStrips, false, 6, allStrips});
                }
            }
        }
    }
    return all;
}

std::string describe(const meshes::NamedMesh& mesh, const StripOptions& options) {
    return mesh.name + ": iterations " + std::to_string(options.iterations) + ", strips " +
           std::to_string(options.buildStrips) + ", fans " + std::to_string(options.buildFans) + " from " +
           std::to_string(options.minFanTriangles) + ", all strips " + std::to_string(options.allStrips);
}

void append(Indices& target, const Indices& source) {
    target.insert(target.end(), source.begin(), source.end());
}

Indices trianglesFromGraph(const Indices& mesh, const StripOptions& options) {
    HalfEdgeGraph graph;
    graph.addTriangles(mesh.data(), mesh.size());
    graph.calcOptPrim(options.iterations, options.buildStrips, options.buildFans, options.minFanTriangles,
                      options.allStrips);
    Indices triangles;
    Indices indices;
    while (const int type = graph.getPrimitive(indices, 0)) {
        append(triangles, reference::decode(type, indices));
    }
    return triangles;
}

Indices decoded(const std::vector<IndexedPrimitive>& primitives) {
    Indices triangles;
    for (const IndexedPrimitive& primitive : primitives) {
        append(triangles, reference::decode(primitive.type, primitive.indices));
    }
    return triangles;
}

/// The same with all strips joined into one.
Indices decodedJoined(const std::vector<IndexedPrimitive>& primitives, StripJoin join) {
    std::vector<IndexedPrimitive> strips;
    std::vector<IndexedPrimitive> others;
    for (const IndexedPrimitive& primitive : primitives) {
        (primitive.type == TRIANGLE_STRIP ? strips : others).push_back(primitive);
    }
    Indices triangles = decoded(others);
    append(triangles, reference::decode(reference::stripCode, joinStrips(strips, join)));
    return triangles;
}

class Decode : public ::testing::Test {
protected:
    const LogCapture quiet_{Severity::Fatal};
};

TEST_F(Decode, PrimitivesOfTheGraphHoldTheTrianglesOfTheMesh) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const Indices expected = reference::canonical(reference::withoutCollapsed(mesh.indices));
        for (const StripOptions& options : optionsThatEmitEverything()) {
            ASSERT_EQ(reference::canonical(trianglesFromGraph(mesh.indices, options)), expected)
                << describe(mesh, options);
        }
    }
}

TEST_F(Decode, BuiltPrimitivesHoldTheTrianglesOfTheMesh) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const Indices expected = reference::canonical(reference::withoutCollapsed(mesh.indices));
        for (const StripOptions& options : optionsThatEmitEverything()) {
            const auto primitives = buildPrimitives(mesh.indices, options);
            ASSERT_EQ(reference::canonical(decoded(primitives)), expected) << describe(mesh, options);
            for (StripJoin join : {StripJoin::Degenerate, StripJoin::Restart}) {
                ASSERT_EQ(reference::canonical(decodedJoined(primitives, join)), expected) << describe(mesh, options);
            }
        }
    }
}

TEST_F(Decode, AllStripsLeavesNoPlainTriangles) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        for (const IndexedPrimitive& primitive : buildPrimitives(mesh.indices, {.iterations = 2, .allStrips = true})) {
            ASSERT_EQ(primitive.type, TRIANGLE_STRIP) << mesh.name;
        }
    }
}

TEST_F(Decode, LibraryDecodesLikeTheReference) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        // Read as each type; restart indices split the list in the middle of triangles too.
        Indices cut = mesh.indices;
        for (std::size_t i = 7; i < cut.size(); i += 13) {
            cut[i] = reference::restartIndex;
        }
        for (PrimitiveType type : {TRIANGLES, TRIANGLE_STRIP, TRIANGLE_FAN}) {
            for (const Indices& indices : {mesh.indices, cut}) {
                ASSERT_EQ(reference::canonical(toTriangles(type, indices)),
                          reference::canonical(reference::decode(type, indices)))
                    << mesh.name;
            }
        }
    }
}

TEST_F(Decode, LibraryComparesLikeTheReference) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const Indices rearranged = meshes::turned(meshes::shuffled(mesh.indices, 1), 2);
        EXPECT_TRUE(sameTriangles(mesh.indices, rearranged)) << mesh.name;
        for (const Indices& other : {meshes::flipped(rearranged, 5, 3), meshes::doubled(rearranged, 5, 4),
                                     meshes::holed(rearranged, 5, 5), meshes::collapsed(rearranged, 5, 6)}) {
            EXPECT_EQ(sameTriangles(mesh.indices, other),
                      reference::canonical(mesh.indices) == reference::canonical(other))
                << mesh.name;
        }
    }
}

} // namespace
