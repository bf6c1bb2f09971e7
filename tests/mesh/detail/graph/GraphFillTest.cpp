#include "reference/ReferenceGraph.h"
#include "support/Graphs.h"
#include "support/Messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace {

using namespace graphs;
using VertexHalfEdge = HalfEdgeGraph::VertexHalfEdge;

/// The triangle over each edge, in order of the half-edges; -1 where there is none.
std::vector<int> neighbours(const HalfEdgeGraph& graph, std::size_t number) {
    const std::vector<Triangle*> all = triangles(graph);
    std::vector<int> found;
    for (const HalfEdge& halfEdge : all.at(number)->halfEdge) {
        found.push_back(-1);
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (halfEdge.twin != nullptr && halfEdge.twin->triangle == all[i]) {
                found.back() = static_cast<int>(i);
            }
        }
    }
    return found;
}

std::vector<std::uint64_t> chunkCapacities(const HalfEdgeGraph& graph) {
    std::vector<std::uint64_t> capacities;
    for (const auto* chunk = graph.pool.chunks; chunk != nullptr; chunk = chunk->next) {
        capacities.push_back(chunk->capacity);
    }
    return capacities;
}

/// Adds triangles that share nothing with others.
void addScattered(HalfEdgeGraph& graph, unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
        const auto first = static_cast<unsigned int>(graph.vertexHalfEdges.size());
        graph.addTriangle(first, first + 1, first + 2);
    }
}

TEST(AddTriangle, LinksItsHalfEdgesIntoACycleInTheOrderOfTheCorners) {
    HalfEdgeGraph graph;
    const Triangle* const triangle = graph.addTriangle(5, 3, 4);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(triangle->halfEdge[i].vertex, (std::vector<unsigned int>{5, 3, 4})[i]);
        EXPECT_EQ(triangle->halfEdge[i].triangle, triangle);
        EXPECT_EQ(triangle->halfEdge[i].twin, nullptr);
        EXPECT_EQ(triangle->halfEdge[i].next, &triangle->halfEdge[(i + 1) % 3]);
    }
}

TEST(AddTriangle, ReturnsTheTriangleAtTheEndOfTheFreeOnes) {
    HalfEdgeGraph graph;
    Triangle* const first = graph.addTriangle(0, 1, 2);
    EXPECT_EQ(graph.freeTriangles.first, first);
    EXPECT_EQ(graph.freeTriangles.last, first);
    Triangle* const second = graph.addTriangle(3, 4, 5);
    EXPECT_EQ(graph.freeTriangles.first, first);
    EXPECT_EQ(graph.freeTriangles.last, second);
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1");
}

TEST(AddTriangle, EntersEachHalfEdgeAtItsStartWithTheVertexAtItsOtherEnd) {
    HalfEdgeGraph graph;
    Triangle* const a = graph.addTriangle(3, 0, 2);
    Triangle* const b = graph.addTriangle(0, 3, 2);
    using List = std::vector<VertexHalfEdge>;
    EXPECT_EQ(graph.vertexHalfEdges, (std::vector<List>{{{2, &a->halfEdge[1]}, {3, &b->halfEdge[0]}},
                                                        {},
                                                        {{3, &a->halfEdge[2]}, {0, &b->halfEdge[2]}},
                                                        {{0, &a->halfEdge[0]}, {2, &b->halfEdge[1]}}}));
}

TEST(AddTriangle, EntersTheHalfEdgesOfOneVertexInTheirOrder) {
    HalfEdgeGraph graph;
    Triangle* const a = graph.addTriangle(0, 0, 0);
    using List = std::vector<VertexHalfEdge>;
    EXPECT_EQ(graph.vertexHalfEdges[0], (List{{0, &a->halfEdge[0]}, {0, &a->halfEdge[1]}, {0, &a->halfEdge[2]}}));
}

TEST(AddTriangle, GrowsTheVertexListsToTheLargestCorner) {
    HalfEdgeGraph graph;
    graph.addTriangle(1, 6, 2);
    EXPECT_EQ(graph.vertexHalfEdges.size(), 7u);
    graph.addTriangle(0, 1, 2);
    EXPECT_EQ(graph.vertexHalfEdges.size(), 7u);
}

TEST(AddTriangle, MakesOppositeHalfEdgesTwins) {
    HalfEdgeGraph graph;
    Triangle* const a = graph.addTriangle(0, 1, 2);
    EXPECT_EQ(a->state, 0);
    Triangle* const b = graph.addTriangle(3, 2, 1);
    EXPECT_EQ(a->halfEdge[1].twin, &b->halfEdge[1]);
    EXPECT_EQ(b->halfEdge[1].twin, &a->halfEdge[1]);
    EXPECT_EQ(neighbours(graph, 0), (std::vector<int>{-1, 1, -1}));
    EXPECT_EQ(neighbours(graph, 1), (std::vector<int>{-1, 0, -1}));
    EXPECT_EQ(states(graph), (std::vector<int>{1, 1}));
}

TEST(AddTriangle, FindsTwinsOverAllThreeEdges) {
    HalfEdgeGraph graph;
    graph.addTriangle(1, 0, 3);
    graph.addTriangle(2, 1, 4);
    graph.addTriangle(0, 2, 5);
    graph.addTriangle(0, 1, 2);
    EXPECT_EQ(neighbours(graph, 3), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(states(graph), (std::vector<int>{1, 1, 1, 3}));
}

TEST(AddTriangle, FindsTwinsFromEitherEndOfAnEdge) {
    // At one end the list is very long, at the other short: the shorter one is searched.
    for (const bool isStartLong : {true, false}) {
        HalfEdgeGraph graph;
        graph.addTriangle(0, 1, 2);
        for (unsigned int i = 0; i < 100; ++i) {
            graph.addTriangle(isStartLong ? 0 : 1, 10 + 2 * i, 11 + 2 * i);
        }
        graph.addTriangle(1, 0, 3);
        EXPECT_EQ(neighbours(graph, 101), (std::vector<int>{0, -1, -1}));
        EXPECT_EQ(states(graph).front(), 1);
    }
}

TEST(AddTriangle, LeavesHalfEdgesThatRunTheSameWayUnlinked) {
    FilledGraph graph({0, 1, 2, 0, 1, 3});
    EXPECT_EQ(states(graph), (std::vector<int>{0, 0}));
    EXPECT_EQ(neighbours(graph, 1), (std::vector<int>{-1, -1, -1}));
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1");
}

TEST(AddTriangle, CountsHalfEdgesThatRunTheSameWay) {
    const FilledGraph graph({0, 1, 2, 0, 1, 3, 1, 0, 4});
    EXPECT_EQ(states(graph), (std::vector<int>{0, 0, -1}));
    EXPECT_EQ(numbers(graph, graph.claimedTriangles), "2");
}

TEST(AddTriangle, SplitsOffTheThirdTriangleOnAnEdge) {
    HalfEdgeGraph graph;
    graph.addTriangle(0, 1, 2);
    graph.addTriangle(1, 0, 3);
    const Triangle* const third = graph.addTriangle(0, 1, 4);
    EXPECT_EQ(third->state, Triangle::splitOff);
    EXPECT_EQ(neighbours(graph, 2), (std::vector<int>{-1, -1, -1}));
    EXPECT_EQ(neighbours(graph, 0), (std::vector<int>{1, -1, -1}));
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1");
    EXPECT_EQ(numbers(graph, graph.claimedTriangles), "2");
    EXPECT_EQ(graph.vertexHalfEdges[0].back().second, &third->halfEdge[0]);
    EXPECT_EQ(graph.vertexHalfEdges[4].front().second, &third->halfEdge[2]);
}

TEST(AddTriangle, SplitsOffForAnyOfTheThreeEdges) {
    for (std::size_t turn = 0; turn < 3; ++turn) {
        const unsigned int corners[] = {0, 1, 4, 0, 1};
        FilledGraph graph({0, 1, 2, 1, 0, 3});
        graph.addTriangle(corners[turn], corners[turn + 1], corners[turn + 2]);
        EXPECT_EQ(states(graph), (std::vector<int>{1, 1, -1}));
    }
}

TEST(AddTriangle, LeavesASplitOffTriangleUnlinkedOnItsOtherEdges) {
    // 0-1 has two triangles, 1-4 one that would have been a neighbour.
    const FilledGraph graph({0, 1, 2, 1, 0, 3, 4, 1, 5, 0, 1, 4});
    EXPECT_EQ(states(graph), (std::vector<int>{1, 1, 0, -1}));
    EXPECT_EQ(neighbours(graph, 2), (std::vector<int>{-1, -1, -1}));
    EXPECT_EQ(neighbours(graph, 3), (std::vector<int>{-1, -1, -1}));
}

TEST(AddTriangle, AppendsSplitOffTrianglesInTheirOrder) {
    const FilledGraph graph(meshes::book(5));
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1");
    EXPECT_EQ(numbers(graph, graph.claimedTriangles), "2 3 4");
}

TEST(AddTriangle, NeverLinksToASplitOffTriangle) {
    FilledGraph graph(meshes::book(3));
    graph.addTriangle(4, 1, 6); // shares 1-4 with the one split off
    EXPECT_EQ(states(graph), (std::vector<int>{1, 1, -1, 0}));
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1 3");
}

TEST(AddTriangle, DoesNotCountSplitOffTriangles) {
    FilledGraph graph(meshes::book(4)); // split off: 2 on 1-4 and 0-4, 3 on 0-5 and 1-5
    graph.addTriangle(4, 1, 6);
    graph.addTriangle(1, 4, 7);
    EXPECT_EQ(states(graph), (std::vector<int>{1, 1, -1, -1, 1, 1}));
    EXPECT_EQ(neighbours(graph, 5), (std::vector<int>{4, -1, -1}));
}

TEST(AddTriangle, LinksACollapsedTriangleToNothing) {
    for (const meshes::Indices& corners : std::vector<meshes::Indices>{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}}) {
        FilledGraph graph({0, 1, 2});
        const Triangle* const collapsed = graph.addTriangle(corners[0], corners[1], corners[2]);
        EXPECT_EQ(collapsed->state, 0);
        EXPECT_EQ(neighbours(graph, 0), (std::vector<int>{-1, -1, -1}));
        EXPECT_EQ(neighbours(graph, 1), (std::vector<int>{-1, -1, -1}));
        EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1");
    }
}

TEST(AddTriangle, KeepsACollapsedTriangleFreeOnAFullEdge) {
    FilledGraph graph({0, 1, 2, 1, 0, 3});
    EXPECT_EQ(graph.addTriangle(0, 1, 1)->state, 0);
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1 2");
}

TEST(AddTriangle, NeitherLinksToNorCountsCollapsedTriangles) {
    const FilledGraph graph({0, 1, 1, 1, 0, 0, 0, 1, 0, 0, 1, 2, 1, 0, 3});
    EXPECT_EQ(states(graph), (std::vector<int>{0, 0, 0, 1, 1}));
    EXPECT_EQ(neighbours(graph, 4), (std::vector<int>{3, -1, -1}));
    EXPECT_EQ(graph.claimedTriangles.first, nullptr);
}

TEST(AddTriangle, LinksOppositeDoublesOverAllThreeEdges) {
    const FilledGraph graph(meshes::doubledOppositeWinding());
    EXPECT_EQ(neighbours(graph, 0), (std::vector<int>{1, 1, 1}));
    EXPECT_EQ(neighbours(graph, 1), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(states(graph), (std::vector<int>{3, 3}));
    const std::vector<Triangle*> all = triangles(graph);
    EXPECT_EQ(all[0]->halfEdge[0].twin, &all[1]->halfEdge[2]);
}

TEST(AddTriangle, SplitsOffTheThirdCopyOfATriangle) {
    const FilledGraph graph({0, 1, 2, 0, 1, 2, 0, 1, 2});
    EXPECT_EQ(states(graph), (std::vector<int>{0, 0, -1}));
}

TEST(AddTriangle, RefusesTheRestartIndexAtAnyCorner) {
    for (std::size_t place = 0; place < 3; ++place) {
        FilledGraph graph(meshes::strip(2));
        const std::string before = describe(graph);
        unsigned int corners[] = {7, 8, 9};
        corners[place] = 4294967295U;
        EXPECT_EQ(messageOf([&] { graph.addTriangle(corners[0], corners[1], corners[2]); }),
                  "HalfEdgeGraph::addTriangle: index " + std::to_string(place) +
                      " is 4294967295, which is reserved for primitive restart");
        EXPECT_EQ(describe(graph), before);
    }
}

TEST(TrianglePool, HandsOutTheTrianglesOfAChunkInTheirOrder) {
    HalfEdgeGraph graph;
    const Triangle* const first = graph.addTriangle(0, 1, 2);
    EXPECT_EQ(first, graph.pool.chunks->triangles);
    EXPECT_EQ(graph.addTriangle(3, 4, 5), first + 1);
    EXPECT_EQ(graph.pool.used, 2u);
    EXPECT_EQ(chunkCapacities(graph), std::vector<std::uint64_t>{2048});
}

TEST(TrianglePool, TakesANewChunkWhenTheNewestIsFull) {
    HalfEdgeGraph graph;
    graph.pool.chunkSize = 2;
    addScattered(graph, 2);
    EXPECT_EQ(chunkCapacities(graph), std::vector<std::uint64_t>{2});
    EXPECT_EQ(graph.pool.used, 2u);
    addScattered(graph, 1);
    EXPECT_EQ(chunkCapacities(graph), (std::vector<std::uint64_t>{2, 2}));
    EXPECT_EQ(graph.pool.used, 1u);
    EXPECT_EQ(triangles(graph).back(), graph.pool.chunks->triangles);
}

TEST(TrianglePool, ChunksKeepTheirSizeWhenTheChunkSizeChanges) {
    HalfEdgeGraph graph;
    graph.pool.chunkSize = 3;
    addScattered(graph, 1);
    graph.pool.chunkSize = 1;
    addScattered(graph, 2); // two more fit into the first chunk
    EXPECT_EQ(chunkCapacities(graph), std::vector<std::uint64_t>{3});
    EXPECT_EQ(graph.pool.used, 3u);
    addScattered(graph, 1);
    graph.pool.chunkSize = 5;
    addScattered(graph, 1);
    EXPECT_EQ(chunkCapacities(graph), (std::vector<std::uint64_t>{5, 1, 3}));
    EXPECT_EQ(graph.pool.used, 1u);
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1 2 3 4");
}

TEST(TrianglePool, ServesAChunkSizeOfZeroAs2048) {
    for (const bool inBulk : {false, true}) {
        HalfEdgeGraph graph;
        graph.pool.chunkSize = 0;
        const meshes::Indices mesh = meshes::scattered(2049);
        if (inBulk) {
            graph.addTriangles(mesh.data(), mesh.size());
        } else {
            addScattered(graph, 2049);
        }
        EXPECT_EQ(graph.pool.chunkSize, 0u);
        EXPECT_EQ(chunkCapacities(graph), (std::vector<std::uint64_t>{2048, 2048}));
        EXPECT_EQ(graph.pool.used, 1u);
    }
}

TEST(TrianglePool, TakesNoChunkBeforeItIsNeeded) {
    HalfEdgeGraph graph;
    graph.pool.chunkSize = 2;
    const meshes::Indices mesh = meshes::scattered(4);
    graph.addTriangles(mesh.data(), mesh.size());
    EXPECT_EQ(chunkCapacities(graph), (std::vector<std::uint64_t>{2, 2}));
    EXPECT_EQ(graph.pool.used, 2u);
}

TEST(TrianglePool, KeepsTrianglesWhereTheyAre) {
    HalfEdgeGraph graph;
    graph.pool.chunkSize = 1;
    const Triangle* const first = graph.addTriangle(0, 1, 2);
    addScattered(graph, 100);
    EXPECT_EQ(triangles(graph).front(), first);
    EXPECT_EQ(first->halfEdge[2].vertex, 2u);
}

class AddTriangles : public testing::TestWithParam<std::string> {};

TEST_P(AddTriangles, MatchesSingleCalls) {
    for (const meshes::NamedMesh& mesh : meshes::family(GetParam())) {
        HalfEdgeGraph single;
        HalfEdgeGraph bulk;
        single.pool.chunkSize = bulk.pool.chunkSize = 100;
        for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
            single.addTriangle(mesh.indices[i], mesh.indices[i + 1], mesh.indices[i + 2]);
        }
        bulk.addTriangles(mesh.indices.data(), mesh.indices.size());
        EXPECT_EQ(describe(single), describe(bulk)) << mesh.name;
    }
}

/// So many triangles at each of the vertices 0 to `vertexCount - 1`, which share nothing but these.
meshes::Indices crowdAt(unsigned int vertexCount, unsigned int each) {
    meshes::Indices crowd;
    for (unsigned int i = 0; i < each * vertexCount; ++i) {
        crowd.insert(crowd.end(), {i / each, vertexCount + 2 * i, vertexCount + 2 * i + 1});
    }
    return crowd;
}

void expectLinkedAlike(const Triangle& actual, const Triangle& expected) {
    EXPECT_EQ(actual.state, expected.state);
    for (std::size_t i = 0; i < 3; ++i) {
        const HalfEdge* const twin = actual.halfEdge[i].twin;
        const HalfEdge* const expectedTwin = expected.halfEdge[i].twin;
        ASSERT_EQ(twin == nullptr, expectedTwin == nullptr);
        if (twin != nullptr) {
            EXPECT_EQ(twin->vertex, expectedTwin->vertex);
            EXPECT_EQ(twin->next->next->vertex, expectedTwin->next->next->vertex);
        }
    }
}

TEST(AddTrianglesAtCrowdedVertices, LinksTheSameAsWithoutTheCrowd) {
    for (const char* family : {"Plain", "Knotted", "Soups", "Variants"}) {
        for (const meshes::NamedMesh& mesh : meshes::family(family)) {
            if (mesh.indices.size() > 600) {
                continue;
            }
            SCOPED_TRACE(mesh.name);
            const FilledGraph alone(mesh.indices);
            const meshes::Indices crowd = crowdAt(static_cast<unsigned int>(alone.vertexHalfEdges.size()), 100);
            HalfEdgeGraph crowded;
            crowded.addTriangles(crowd.data(), crowd.size());
            crowded.addTriangles(mesh.indices.data(), mesh.indices.size());
            const std::vector<Triangle*> expected = triangles(alone);
            const std::vector<Triangle*> all = triangles(crowded);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                expectLinkedAlike(*all[crowd.size() / 3 + i], *expected[i]);
            }
        }
    }
}

TEST_P(AddTriangles, InBatchesMatchesOneCall) {
    meshes::Random random(7);
    for (const meshes::NamedMesh& mesh : meshes::family(GetParam())) {
        const FilledGraph whole(mesh.indices);
        HalfEdgeGraph inBatches;
        for (std::size_t begin = 0; begin < mesh.indices.size();) {
            const std::size_t rest = (mesh.indices.size() - begin) / 3;
            const std::size_t count = std::min<std::size_t>(rest, random.below(40));
            inBatches.addTriangles(mesh.indices.data() + begin, 3 * count);
            begin += 3 * count;
        }
        EXPECT_EQ(describe(inBatches), describe(whole)) << mesh.name;
    }
}

TEST_P(AddTriangles, MatchesThePlainReference) {
    for (const meshes::NamedMesh& mesh : meshes::family(GetParam())) {
        const FilledGraph graph(mesh.indices);
        reference::Graph expected;
        expected.addTriangles(mesh.indices);
        EXPECT_EQ(states(graph), expected.state) << mesh.name;
        EXPECT_EQ(numbers(graph, graph.freeTriangles), text(expected.freeTriangles)) << mesh.name;
        EXPECT_EQ(numbers(graph, graph.claimedTriangles), text(expected.claimedTriangles)) << mesh.name;
        const std::vector<Triangle*> all = triangles(graph);
        for (std::size_t i = 0; i < expected.twin.size(); ++i) {
            const std::uint32_t twin = expected.twin[i];
            ASSERT_EQ(all[i / 3]->halfEdge[i % 3].twin,
                      twin == reference::none ? nullptr : &all[twin / 3]->halfEdge[twin % 3])
                << mesh.name << ", half-edge " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Meshes, AddTriangles, testing::Values("Plain", "Knotted", "Soups", "Variants", "Large"),
                         [](const auto& family) { return family.param; });

TEST(AddTrianglesOfNothing, ChangesNothing) {
    FilledGraph graph(meshes::strip(3));
    const std::string before = describe(graph);
    graph.addTriangles(nullptr, 0);
    EXPECT_EQ(describe(graph), before);
}

TEST(AddTrianglesOfNothing, ForgetsTrianglesFreedWithThePool) {
    FilledGraph graph(meshes::book(3));
    graph.clear();
    graph.addTriangles(nullptr, 0);
    EXPECT_EQ(graph.calcOptPrim(1, true, true, 1, false), 0u);
    EXPECT_EQ(describe(graph), describe(HalfEdgeGraph()));
}

TEST(AddTrianglesErrors, RefuseACountThatIsNotAMultipleOfThree) {
    for (const unsigned long count : {1UL, 2UL, 4UL, 5UL}) {
        FilledGraph graph(meshes::strip(3));
        const std::string before = describe(graph);
        const meshes::Indices mesh = meshes::strip(2);
        EXPECT_EQ(messageOf([&] { graph.addTriangles(mesh.data(), count); }),
                  "HalfEdgeGraph::addTriangles: " + std::to_string(count) +
                      " indices are not a whole number of triangles");
        EXPECT_EQ(describe(graph), before);
    }
}

TEST(AddTrianglesErrors, RefuseACountWithoutReadingTheIndices) {
    HalfEdgeGraph graph;
    EXPECT_THROW(graph.addTriangles(nullptr, 1), std::invalid_argument);
}

TEST(AddTrianglesErrors, RefuseTheRestartIndexAnywhere) {
    for (std::size_t place = 0; place < 9; ++place) {
        FilledGraph graph(meshes::strip(2));
        const std::string before = describe(graph);
        meshes::Indices mesh = meshes::strip(3);
        mesh[place] = 4294967295U;
        EXPECT_EQ(messageOf([&] { graph.addTriangles(mesh.data(), mesh.size()); }),
                  "HalfEdgeGraph::addTriangles: index " + std::to_string(place) +
                      " is 4294967295, which is reserved for primitive restart");
        EXPECT_EQ(describe(graph), before);
    }
}

TEST(FillAfterClear, MatchesANewGraph) {
    const meshes::Indices mesh = meshes::joined(meshes::book(4), meshes::shifted(meshes::strip(5), 3));
    for (const bool inBulk : {false, true}) {
        FilledGraph graph(meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::book(3), 4)));
        graph.calcOptPrim(1, true, true, 6, false);
        graph.clear();
        for (std::size_t i = 0; !inBulk && i < mesh.size(); i += 3) {
            graph.addTriangle(mesh[i], mesh[i + 1], mesh[i + 2]);
        }
        if (inBulk) {
            graph.addTriangles(mesh.data(), mesh.size());
        }
        EXPECT_EQ(describe(graph), describe(FilledGraph(mesh)));
    }
}

TEST(FillAfterClear, EmptiesBothListsEvenIfOnlyOneIsFilledAgain) {
    FilledGraph graph(meshes::book(3));
    graph.clear();
    graph.addTriangle(0, 1, 2);
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0");
    EXPECT_EQ(graph.claimedTriangles.first, nullptr);
    EXPECT_EQ(graph.claimedTriangles.last, nullptr);
}

TEST(FillAfterClear, KeepsTheStaleEndsWhenTheInsertionIsRefused) {
    FilledGraph graph(meshes::book(3));
    graph.clear();
    const Triangle* const stale = graph.freeTriangles.first;
    EXPECT_THROW(graph.addTriangle(0, 1, 4294967295U), std::invalid_argument);
    EXPECT_EQ(graph.freeTriangles.first, stale);
    EXPECT_TRUE(graph.vertexHalfEdges.empty());
}

TEST(FillAnEmptyChunk, MatchesANewGraph) {
    const meshes::Indices mesh = meshes::joined(meshes::book(4), meshes::shifted(meshes::strip(5), 3));
    FilledGraph graph(meshes::strip(3));
    const auto* const chunk = graph.pool.chunks;
    graph.vertexHalfEdges.clear();
    graph.freeTriangles = {};
    graph.pool.used = 0;
    graph.addTriangles(mesh.data(), mesh.size());
    EXPECT_EQ(graph.pool.chunks, chunk);
    EXPECT_EQ(describe(graph), describe(FilledGraph(mesh)));
}

TEST(FillAnEmptyChunk, MatchesANewGraphForManifoldMeshes) {
    FilledGraph graph(meshes::strip(3));
    graph.vertexHalfEdges.clear();
    graph.freeTriangles = {};
    graph.pool.used = 0;
    const meshes::Indices mesh = meshes::grid(4, 3);
    graph.addTriangles(mesh.data(), mesh.size());
    EXPECT_EQ(describe(graph), describe(FilledGraph(mesh)));
}

TEST(FillAnEmptyChunk, KeepsTheTrianglesOfOlderChunks) {
    for (const bool inBulk : {false, true}) {
        FilledGraph graph(meshes::singleTriangle());
        auto chunk = std::make_unique<HalfEdgeGraph::TrianglePool::Chunk>();
        chunk->triangles = new Triangle[4];
        chunk->capacity = 4;
        chunk->next = graph.pool.chunks;
        graph.pool.chunks = chunk.release();
        graph.pool.used = 0;
        const meshes::Indices next = {2, 1, 3};
        if (inBulk) {
            graph.addTriangles(next.data(), next.size());
        } else {
            graph.addTriangle(next[0], next[1], next[2]);
        }
        Triangle* const first = graph.freeTriangles.first;
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first->halfEdge[0].vertex, 0u);
        ASSERT_NE(first->next, nullptr);
        EXPECT_EQ(first->next, graph.freeTriangles.last);
        EXPECT_EQ(first->halfEdge[1].twin, &first->next->halfEdge[0]);
    }
}

TEST(FillAfterReserve, InBulkFillsTheReservedListsWithoutGrowing) {
    HalfEdgeGraph graph;
    graph.reserve(9, 2048, 6);
    const VertexHalfEdge* const buffer = graph.vertexHalfEdges[0].data();
    const meshes::Indices mesh = meshes::closedFan(6);
    graph.addTriangles(mesh.data(), mesh.size());
    EXPECT_EQ(graph.vertexHalfEdges[0].data(), buffer);
    EXPECT_EQ(graph.vertexHalfEdges[0].size(), 6u);
    EXPECT_EQ(graph.vertexHalfEdges.size(), 9u);
}

TEST(FillAfterReserve, StartsFromTheReservedLists) {
    HalfEdgeGraph graph;
    graph.reserve(10, 4, 6);
    graph.addTriangle(0, 1, 2);
    EXPECT_EQ(graph.vertexHalfEdges.size(), 10u);
    EXPECT_EQ(chunkCapacities(graph), std::vector<std::uint64_t>{4});
    graph.addTriangle(0, 1, 12);
    EXPECT_EQ(graph.vertexHalfEdges.size(), 13u);
}

} // namespace
