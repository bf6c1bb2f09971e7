#include "reference/ReferenceGraph.h"
#include "support/Meshes.h"
#include "support/UnreadableIndices.h"

#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/TriangleList.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using vexa::mesh::detail::CompactGraph;
using vexa::mesh::detail::HalfEdgeId;
using vexa::mesh::detail::halfEdgeOf;
using vexa::mesh::detail::isCollapsed;
using vexa::mesh::detail::pairEdges;
using vexa::mesh::detail::pairInOrder;
using vexa::mesh::detail::pairManifoldEdges;
using vexa::mesh::detail::placeOf;
using vexa::mesh::detail::triangleOf;

/// Triangles with an edge from vertex 0 to each of the vertices 2 to 71, too many for a list that is searched entry by
/// entry, in front of them one with an edge from 1 to 71: the list of vertex 1, which follows that of vertex 0 in
/// memory, starts with the same vertex with which the list of vertex 0 ends.
meshes::Indices crowdedVertex() {
    meshes::Indices mesh = {1, 71, 200};
    for (unsigned int vertex = 2; vertex <= 71; ++vertex) {
        mesh.insert(mesh.end(), {0, vertex, 100 + vertex});
    }
    return mesh;
}

/// Pairs by a queue for each edge and direction; the first half-edge whose twin differs, or the first triangle whose state
/// or mark does, or "".
std::string differenceFromQueues(const CompactGraph& graph, const meshes::Indices& mesh) {
    std::map<std::pair<unsigned int, unsigned int>, std::deque<HalfEdgeId>> waiting;
    std::vector<HalfEdgeId> twins(4 * mesh.size() / 3, graph.border());
    for (std::uint32_t triangle = 0; triangle < mesh.size() / 3; ++triangle) {
        const unsigned int* const corners = &mesh[std::size_t{3} * triangle];
        for (std::uint32_t place = 0; place < 3 && !isCollapsed(corners); ++place) {
            const unsigned int from = corners[place];
            const unsigned int to = corners[(place + 1) % 3];
            const HalfEdgeId halfEdge = halfEdgeOf(triangle, place);
            if (auto& opposite = waiting[{to, from}]; !opposite.empty()) {
                twins[halfEdge] = opposite.front();
                twins[opposite.front()] = halfEdge;
                opposite.pop_front();
            } else {
                waiting[{from, to}].push_back(halfEdge);
            }
        }
    }
    for (std::uint32_t triangle = 0; triangle < graph.count(); ++triangle) {
        std::set<std::uint32_t> neighbours;
        int count = 0;
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId twin = twins[halfEdgeOf(triangle, place)];
            if (graph[triangle].twin[place] != twin) {
                return "half-edge " + std::to_string(place) + " of triangle " + std::to_string(triangle);
            }
            if (!graph.isSentinel(twin)) {
                ++count;
                neighbours.insert(triangleOf(twin));
            }
        }
        if (graph[triangle].state != count ||
            graph[triangle].isIrregular != (neighbours.size() != static_cast<std::size_t>(count))) {
            return "triangle " + std::to_string(triangle);
        }
    }
    return {};
}

TEST(PairEdges, LinksAsQueuesOfEachEdgeDo) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        EXPECT_EQ(differenceFromQueues(pairEdges(mesh.indices), mesh.indices), "") << mesh.name;
        const meshes::Indices shuffled = meshes::shuffled(mesh.indices, 1);
        EXPECT_EQ(differenceFromQueues(pairEdges(shuffled), shuffled), "") << mesh.name << ", shuffled";
    }
}

TEST(PairEdges, LinksManyTrianglesOnTheEdgesOfFewVertices) {
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        const meshes::Indices mesh = meshes::soup(4 + seed / 2, 100, seed);
        EXPECT_EQ(differenceFromQueues(pairEdges(mesh), mesh), "") << "seed " << seed;
    }
}

TEST(PairEdges, LinksTrianglesAroundAVertexInAnyOrder) {
    for (const unsigned int count : {5U, 20U, 60U, 200U, 1000U}) {
        for (std::uint32_t seed = 0; seed < 5; ++seed) {
            const meshes::Indices mesh =
                meshes::shuffled(meshes::joined(meshes::closedFan(count), meshes::book(9)), seed);
            EXPECT_EQ(differenceFromQueues(pairEdges(mesh), mesh), "") << count << " triangles, seed " << seed;
        }
    }
}

TEST(PairEdges, SearchesNoFurtherThanTheEndOfALongList) {
    const meshes::Indices mesh = meshes::joined(crowdedVertex(), {71, 0, 3, 71, 0, 4});
    const CompactGraph graph = pairEdges(mesh);
    ASSERT_EQ(graph.count(), 73u);
    EXPECT_EQ(graph[70].state, 1); // 0 71 171 and 71 0 3
    EXPECT_EQ(graph[71].state, 1);
    EXPECT_EQ(graph[72].state, 0);
    EXPECT_EQ(graph[0].state, 0);
}

TEST(PairEdges, SearchesNoFurtherThanTheEndOfAShortList) {
    for (unsigned int length = 0; length <= 8; ++length) {
        meshes::Indices mesh;
        for (unsigned int i = 0; i < length; ++i) {
            mesh.insert(mesh.end(), {0, 10 + i, 100 + i});
        }
        // The list of vertex 1, which follows that of vertex 0, starts with the edge to 71.
        mesh.insert(mesh.end(), {1, 71, 200, 71, 0, 3, 71, 1, 4});
        const CompactGraph graph = pairEdges(mesh);
        EXPECT_EQ(graph[length].state, 1) << length;
        EXPECT_EQ(graph[length + 1].state, 0) << length;
        EXPECT_EQ(graph[length + 2].state, 1) << length;
    }
}

TEST(PairEdges, LinksEachEdgeOfAListOfAnyLength) {
    for (unsigned int length = 1; length <= 70; ++length) {
        meshes::Indices mesh;
        for (unsigned int i = 0; i < length; ++i) {
            mesh.insert(mesh.end(), {0, 1 + i, 100 + i});
        }
        for (unsigned int i = length; i-- > 0;) {
            mesh.insert(mesh.end(), {1 + i, 0, 200 + i});
        }
        const CompactGraph graph = pairEdges(mesh);
        for (unsigned int i = 0; i < length; ++i) {
            EXPECT_EQ(triangleOf(graph[i].twin[0]), 2 * length - 1 - i) << length;
        }
    }
}

TEST(PairManifoldEdges, AcceptsTwoHalfEdgesThatRunTheSameWayAtTheEndOfALongList) {
    const auto graph = pairManifoldEdges(meshes::joined(crowdedVertex(), {0, 71, 201}));
    ASSERT_TRUE(graph.has_value());
    EXPECT_EQ((*graph)[70].state, 0);
    EXPECT_EQ((*graph)[71].state, 0);
}

TEST(PairManifoldEdges, GivesNothingForThreeHalfEdgesThatRunTheSameWay) {
    EXPECT_FALSE(pairManifoldEdges(meshes::Indices{0, 1, 2, 0, 1, 3, 0, 1, 4}).has_value());
    EXPECT_FALSE(pairManifoldEdges(meshes::Indices{1, 0, 2, 1, 0, 3, 1, 0, 4}).has_value());
    EXPECT_FALSE(pairManifoldEdges(meshes::joined(crowdedVertex(), {0, 71, 201, 0, 71, 202})).has_value());
}

/// The states and, per half-edge, the numbers that the twins have in the reference; the first difference, or "".
std::string differenceFromReference(const CompactGraph& graph, const meshes::Indices& mesh) {
    reference::Graph expected;
    expected.addTriangles(mesh);
    for (std::uint32_t triangle = 0; triangle < graph.count(); ++triangle) {
        if (graph[triangle].state != expected.state[triangle]) {
            return "state of triangle " + std::to_string(triangle);
        }
        for (std::uint32_t place = 0; place < 3; ++place) {
            const auto twin = graph[triangle].twin[place];
            const std::uint32_t number =
                graph.isSentinel(twin) ? reference::none : 3 * triangleOf(twin) + placeOf(twin);
            if (number != expected.twin[3 * triangle + place]) {
                return "twin of half-edge " + std::to_string(place) + " of triangle " + std::to_string(triangle);
            }
        }
    }
    return {};
}

TEST(PairInOrder, LinksAndSplitsOffAsTheReference) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const auto graph = pairInOrder(mesh.indices);
        ASSERT_TRUE(graph.has_value());
        EXPECT_EQ(differenceFromReference(*graph, mesh.indices), "") << mesh.name;
    }
}

TEST(PairInOrder, LinksAndSplitsOffAtCrowdedVertices) {
    // Many half-edges at 0 and 1, and on the edge between them, in either direction and on collapsed triangles.
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        meshes::Indices mesh = meshes::joined(crowdedVertex(), meshes::shifted(crowdedVertex(), 1));
        mesh = meshes::joined(mesh, meshes::soup(4, 60, seed));
        mesh = meshes::shuffled(meshes::turned(meshes::flipped(mesh, 30, seed), seed), seed);
        EXPECT_EQ(differenceFromReference(*pairInOrder(mesh), mesh), "") << "seed " << seed;
    }
}

TEST(PairInOrder, LinksAndSplitsOffManyTrianglesOfFewVertices) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        const meshes::Indices mesh = meshes::soup(4 + seed / 4, 20 + seed % 4 * 30, seed);
        EXPECT_EQ(differenceFromReference(*pairInOrder(mesh), mesh), "") << "seed " << seed;
    }
}

TEST(PairInOrder, SplitsOffWhereAClosedSurfaceHasATriangleTooMany) {
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        const meshes::Indices mesh = meshes::joined(meshes::torus(12, 9), meshes::soup(108, 1 + seed % 5, seed));
        EXPECT_EQ(differenceFromReference(*pairInOrder(mesh), mesh), "") << "seed " << seed;
        const meshes::Indices shuffled = meshes::shuffled(mesh, seed);
        EXPECT_EQ(differenceFromReference(*pairInOrder(shuffled), shuffled), "") << "seed " << seed << ", shuffled";
    }
}

TEST(PairInOrder, SplitsOffEveryTriangleOfASecondCopy) {
    for (const meshes::Indices& mesh :
         {meshes::torus(7, 5), meshes::icosahedron(), meshes::flipped(meshes::torus(5, 4), 50, 1)}) {
        const meshes::Indices twice = meshes::joined(mesh, mesh);
        EXPECT_EQ(differenceFromReference(*pairInOrder(twice), twice), "");
        EXPECT_FALSE(pairManifoldEdges(twice).has_value());
    }
}

TEST(PairManifoldEdges, LinksEveryEdgeOfAClosedSurface) {
    const meshes::Indices mesh = meshes::shuffled(meshes::torus(60, 40), 1);
    const auto graph = pairManifoldEdges(mesh);
    ASSERT_TRUE(graph.has_value());
    EXPECT_EQ(differenceFromQueues(*graph, mesh), "");
}

TEST(PairManifoldEdges, GivesNothingForATriangleTooManyInALargeMesh) {
    const meshes::Indices mesh = meshes::shuffled(meshes::torus(60, 40), 1);
    const meshes::Indices first(mesh.begin(), mesh.begin() + 3);
    const meshes::Indices flipped = {first[1], first[0], 7};
    EXPECT_FALSE(pairManifoldEdges(meshes::joined(mesh, first)).has_value());
    EXPECT_FALSE(pairManifoldEdges(meshes::joined(mesh, flipped)).has_value());
    EXPECT_FALSE(pairManifoldEdges(meshes::joined(first, mesh)).has_value());
}

TEST(PairInOrder, LinksAsManyTrianglesAsAllowed) {
    const meshes::Indices mesh = meshes::strip(4);
    const auto graph = pairInOrder(mesh, 4);
    ASSERT_TRUE(graph.has_value());
    EXPECT_EQ(differenceFromReference(*graph, mesh), "");
}

TEST(PairInOrder, GivesNothingForMoreTrianglesThanAllowed) {
    EXPECT_FALSE(pairInOrder(meshes::strip(4), 3).has_value());
}

TEST(PairInOrder, GivesNothingForMoreTrianglesThanIdsCanName) {
    if (sizeof(void*) == 4) {
        GTEST_SKIP() << "no list is that long";
    }
    const vexa::test::UnreadableIndices triangles(3 * (CompactGraph::maxCount + 1));
    EXPECT_FALSE(pairInOrder(triangles.get()).has_value());
}

} // namespace
