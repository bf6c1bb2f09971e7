#include "support/Graphs.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <typeinfo>

namespace {

using namespace graphs;
using Pool = HalfEdgeGraph::TrianglePool;
using Chunk = Pool::Chunk;

template <class T, class U>
constexpr bool is = std::is_same_v<T, U>;

/// The offset of a member, also in a class without standard layout.
template <class T>
std::size_t offsetIn(const HalfEdgeGraph& graph, const T& member) {
    return static_cast<std::size_t>(reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&graph));
}

/// Whether a member function is virtual: its pointer then holds an odd offset into the table.
template <class Member>
bool isVirtual(Member member) {
    static_assert(sizeof(member) == 2 * sizeof(void*));
    std::ptrdiff_t words[2];
    std::memcpy(words, &member, sizeof(member));
    return words[0] % 2 != 0;
}

std::vector<const void*> buffersOf(const HalfEdgeGraph& graph) {
    std::vector<const void*> buffers;
    for (const auto& list : graph.vertexHalfEdges) {
        buffers.push_back(list.data());
    }
    return buffers;
}

std::vector<std::size_t> capacitiesOf(const HalfEdgeGraph& graph) {
    std::vector<std::size_t> capacities;
    for (const auto& list : graph.vertexHalfEdges) {
        capacities.push_back(list.capacity());
    }
    return capacities;
}

TEST(HalfEdgeGraphLayout, HalfEdgeMembersHaveFixedOffsets) {
    static_assert(std::is_standard_layout_v<HalfEdge> && sizeof(HalfEdge) == 32);
    static_assert(is<decltype(HalfEdge::vertex), std::uint32_t> && is<decltype(HalfEdge::triangle), Triangle*>);
    static_assert(is<decltype(HalfEdge::twin), HalfEdge*> && is<decltype(HalfEdge::next), HalfEdge*>);
    EXPECT_EQ(offsetof(HalfEdge, vertex), 0u);
    EXPECT_EQ(offsetof(HalfEdge, triangle), 8u);
    EXPECT_EQ(offsetof(HalfEdge, twin), 16u);
    EXPECT_EQ(offsetof(HalfEdge, next), 24u);
}

TEST(HalfEdgeGraphLayout, TriangleMembersHaveFixedOffsets) {
    static_assert(std::is_standard_layout_v<Triangle> && sizeof(Triangle) == 120);
    static_assert(is<decltype(Triangle::state), std::int32_t> && is<decltype(Triangle::next), Triangle*>);
    static_assert(is<decltype(Triangle::prev), Triangle*> && is<decltype(Triangle::halfEdge), HalfEdge[3]>);
    EXPECT_EQ(offsetof(Triangle, state), 0u);
    EXPECT_EQ(offsetof(Triangle, next), 8u);
    EXPECT_EQ(offsetof(Triangle, prev), 16u);
    EXPECT_EQ(offsetof(Triangle, halfEdge), 24u);
}

TEST(HalfEdgeGraphLayout, TriangleListMembersHaveFixedOffsets) {
    static_assert(std::is_standard_layout_v<TriangleList> && sizeof(TriangleList) == 16);
    static_assert(is<decltype(TriangleList::first), Triangle*> && is<decltype(TriangleList::last), Triangle*>);
    EXPECT_EQ(offsetof(TriangleList, first), 0u);
    EXPECT_EQ(offsetof(TriangleList, last), 8u);
}

TEST(HalfEdgeGraphLayout, PoolMembersHaveFixedOffsets) {
    static_assert(std::is_standard_layout_v<Pool> && sizeof(Pool) == 24);
    static_assert(is<decltype(Pool::chunkSize), std::uint32_t> && is<decltype(Pool::chunks), Chunk*>);
    static_assert(is<decltype(Pool::used), unsigned long>);
    EXPECT_EQ(offsetof(Pool, chunkSize), 0u);
    EXPECT_EQ(offsetof(Pool, chunks), 8u);
    EXPECT_EQ(offsetof(Pool, used), 16u);
}

TEST(HalfEdgeGraphLayout, ChunkMembersHaveFixedOffsets) {
    static_assert(std::is_standard_layout_v<Chunk> && sizeof(Chunk) == 24);
    static_assert(is<decltype(Chunk::next), Chunk*> && is<decltype(Chunk::triangles), Triangle*>);
    EXPECT_EQ(offsetof(Chunk, next), 8u);
    EXPECT_EQ(offsetof(Chunk, triangles), 16u);
}

TEST(HalfEdgeGraphLayout, GraphMembersHaveFixedOffsets) {
    using VertexLists = std::vector<std::vector<std::pair<std::uint32_t, HalfEdge*>>>;
    using Lists = std::vector<std::pair<std::uint32_t, TriangleList*>>;
    static_assert(is<decltype(HalfEdgeGraph::vertexHalfEdges), VertexLists>);
    static_assert(is<decltype(HalfEdgeGraph::strips), Lists> && is<decltype(HalfEdgeGraph::fans), Lists>);
    static_assert(is<decltype(HalfEdgeGraph::triangleLists), Lists>);
    const HalfEdgeGraph graph;
    EXPECT_EQ(offsetIn(graph, graph.vertexHalfEdges), 8u);
    EXPECT_EQ(offsetIn(graph, graph.pool), 8 + sizeof(VertexLists));
    EXPECT_EQ(offsetIn(graph, graph.freeTriangles), 32 + sizeof(VertexLists));
    EXPECT_EQ(offsetIn(graph, graph.claimedTriangles), 48 + sizeof(VertexLists));
    EXPECT_EQ(offsetIn(graph, graph.strips), 64 + sizeof(VertexLists));
    EXPECT_EQ(offsetIn(graph, graph.fans), 64 + sizeof(VertexLists) + sizeof(Lists));
    EXPECT_EQ(offsetIn(graph, graph.triangleLists), 64 + sizeof(VertexLists) + 2 * sizeof(Lists));
}

TEST(HalfEdgeGraphLayout, TheGraphHasNoBaseClass) {
    EXPECT_STREQ(typeid(typeid(HalfEdgeGraph)).name(), "N10__cxxabiv117__class_type_infoE");
}

TEST(HalfEdgeGraphLayout, OnlyTheDestructorIsVirtual) {
    static_assert(std::has_virtual_destructor_v<HalfEdgeGraph>);
    static_assert(!std::is_polymorphic_v<Triangle> && !std::is_polymorphic_v<Chunk>);
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::reserve));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::clear));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::addTriangle));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::addTriangles));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::calcOptPrim));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::calcStripCost));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::dropOutTriangle));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::getPrimitive));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::fillIndexFromStrip));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::fillIndexFromFan));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::calcEgdeLines));
    EXPECT_FALSE(isVirtual(&HalfEdgeGraph::verify));
}

TEST(HalfEdgeGraphLayout, ClaimedTrianglesHaveFixedStates) {
    EXPECT_EQ(Triangle::splitOff, -1);
    EXPECT_EQ(Triangle::inStrip, -10);
    EXPECT_EQ(Triangle::inFan, -20);
}

TEST(HalfEdgeGraph, CanNeitherBeCopiedNorMoved) {
    EXPECT_FALSE(std::is_copy_constructible_v<HalfEdgeGraph>);
    EXPECT_FALSE(std::is_copy_assignable_v<HalfEdgeGraph>);
    EXPECT_FALSE(std::is_move_constructible_v<HalfEdgeGraph>);
    EXPECT_FALSE(std::is_move_assignable_v<HalfEdgeGraph>);
}

TEST(HalfEdgeGraph, StartsEmpty) {
    const HalfEdgeGraph graph;
    EXPECT_TRUE(graph.vertexHalfEdges.empty());
    EXPECT_EQ(graph.pool.chunkSize, 2048u);
    EXPECT_EQ(graph.pool.chunks, nullptr);
    EXPECT_EQ(graph.pool.used, 0u);
    EXPECT_EQ(graph.freeTriangles.first, nullptr);
    EXPECT_EQ(graph.freeTriangles.last, nullptr);
    EXPECT_EQ(graph.claimedTriangles.first, nullptr);
    EXPECT_EQ(graph.claimedTriangles.last, nullptr);
    EXPECT_TRUE(graph.strips.empty() && graph.fans.empty() && graph.triangleLists.empty());
}

TEST(HalfEdgeGraph, RecordsStartEmpty) {
    const Triangle triangle;
    EXPECT_EQ(triangle.state, 0);
    EXPECT_EQ(triangle.next, nullptr);
    EXPECT_EQ(triangle.prev, nullptr);
    EXPECT_EQ(triangle.halfEdge[2].vertex, 0u);
    EXPECT_EQ(triangle.halfEdge[2].twin, nullptr);
    const Chunk chunk;
    EXPECT_EQ(chunk.capacity, 0u);
    EXPECT_EQ(chunk.next, nullptr);
    EXPECT_EQ(chunk.triangles, nullptr);
}

TEST(HalfEdgeGraphReserve, SizesTheListsAndSetsTheChunkSize) {
    HalfEdgeGraph graph;
    graph.reserve(3, 17, 6);
    EXPECT_EQ(graph.pool.chunkSize, 17u);
    EXPECT_EQ(graph.pool.chunks, nullptr);
    EXPECT_EQ(graph.vertexHalfEdges, (decltype(graph.vertexHalfEdges)(3)));
    EXPECT_EQ(capacitiesOf(graph), (std::vector<std::size_t>{6, 6, 6}));
}

TEST(HalfEdgeGraphReserve, WithoutEdgesPerVertexReservesNoCapacity) {
    HalfEdgeGraph graph;
    graph.reserve(3, 17, 0);
    EXPECT_EQ(graph.pool.chunkSize, 17u);
    EXPECT_EQ(capacitiesOf(graph), (std::vector<std::size_t>{0, 0, 0}));
}

TEST(HalfEdgeGraphReserve, WithoutVerticesLeavesNoList) {
    HalfEdgeGraph graph;
    graph.reserve(3, 17, 6);
    graph.reserve(0, 18, 6);
    EXPECT_EQ(graph.pool.chunkSize, 18u);
    EXPECT_TRUE(graph.vertexHalfEdges.empty());
}

TEST(HalfEdgeGraphReserve, StoresAChunkSizeOfZero) {
    HalfEdgeGraph graph;
    graph.reserve(0, 0, 0);
    EXPECT_EQ(graph.pool.chunkSize, 0u);
}

TEST(HalfEdgeGraphReserve, MovesEntriesToBuffersOfExactlyTheRequestedSize) {
    FilledGraph graph(meshes::closedFan(6));
    const std::string before = describe(graph);
    graph.reserve(7, 2048, 50);
    EXPECT_EQ(capacitiesOf(graph), std::vector<std::size_t>(7, 50));
    EXPECT_EQ(describe(graph), before);
}

TEST(HalfEdgeGraphReserve, LeavesListsWithEnoughCapacityAlone) {
    HalfEdgeGraph graph;
    graph.reserve(3, 2048, 6);
    graph.vertexHalfEdges[1].reserve(20);
    const std::vector<const void*> buffers = buffersOf(graph);
    graph.reserve(3, 2048, 6);
    EXPECT_EQ(buffersOf(graph), buffers);
    graph.reserve(3, 2048, 0);
    EXPECT_EQ(buffersOf(graph), buffers);
    graph.reserve(3, 2048, 7);
    EXPECT_EQ(capacitiesOf(graph), (std::vector<std::size_t>{7, 20, 7}));
    EXPECT_EQ(graph.vertexHalfEdges[1].data(), buffers[1]);
}

TEST(HalfEdgeGraphReserve, FreesListsThatAreCutOff) {
    HalfEdgeGraph graph;
    graph.reserve(3, 2048, 6);
    graph.reserve(1, 2048, 0);
    EXPECT_EQ(graph.vertexHalfEdges.size(), 1u);
    graph.reserve(3, 2048, 0);
    EXPECT_EQ(capacitiesOf(graph), (std::vector<std::size_t>{6, 0, 0}));
}

TEST(HalfEdgeGraphReserve, TouchesNoTriangle) {
    FilledGraph graph(meshes::strip(4));
    const std::vector<Triangle*> before = triangles(graph);
    graph.reserve(0, 5, 3);
    EXPECT_EQ(triangles(graph), before);
    EXPECT_EQ(states(graph), (std::vector<int>{1, 2, 2, 1}));
    EXPECT_EQ(numbers(graph, graph.freeTriangles), "0 1 2 3");
    EXPECT_EQ(before[0]->halfEdge[1].twin, &before[1]->halfEdge[0]);
}

TEST(HalfEdgeGraphReserve, LetsTheReservedListsFillWithoutGrowing) {
    HalfEdgeGraph graph;
    graph.reserve(7, 2048, 6);
    const std::vector<const void*> buffers = buffersOf(graph);
    const meshes::Indices fan = meshes::closedFan(6);
    for (std::size_t i = 0; i < fan.size(); i += 3) {
        graph.addTriangle(fan[i], fan[i + 1], fan[i + 2]);
    }
    EXPECT_EQ(buffersOf(graph), buffers);
    EXPECT_EQ(graph.vertexHalfEdges[0].size(), 6u);
}

TEST(HalfEdgeGraphClear, EmptiesAllButTheChunkSizeAndTheOuterBuffers) {
    FilledGraph graph(meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::strip(3), 7)));
    graph.addTriangle(20, 21, 22);
    graph.calcOptPrim(1, true, true, 6, false);
    ASSERT_TRUE(!graph.strips.empty() && !graph.fans.empty() && !graph.triangleLists.empty());
    graph.pool.chunkSize = 77;
    const auto capacities = [&graph] {
        return std::vector<std::size_t>{graph.vertexHalfEdges.capacity(), graph.strips.capacity(),
                                        graph.fans.capacity(), graph.triangleLists.capacity()};
    };
    const std::vector<std::size_t> before = capacities();
    graph.clear();
    EXPECT_TRUE(graph.vertexHalfEdges.empty());
    EXPECT_EQ(graph.pool.chunkSize, 77u);
    EXPECT_EQ(graph.pool.chunks, nullptr);
    EXPECT_EQ(graph.pool.used, 0u);
    EXPECT_TRUE(graph.strips.empty() && graph.fans.empty() && graph.triangleLists.empty());
    EXPECT_EQ(capacities(), before);
}

TEST(HalfEdgeGraphClear, FreesTheBuffersOfTheVertexLists) {
    HalfEdgeGraph graph;
    graph.reserve(3, 2048, 6);
    graph.clear();
    graph.reserve(3, 2048, 0);
    EXPECT_EQ(capacitiesOf(graph), (std::vector<std::size_t>{0, 0, 0}));
}

TEST(HalfEdgeGraphClear, KeepsTheChunkSizeOfReserve) {
    HalfEdgeGraph graph;
    graph.reserve(3, 17, 6);
    graph.clear();
    EXPECT_EQ(graph.pool.chunkSize, 17u);
}

TEST(HalfEdgeGraphClear, LeavesTheEndsOfFreeAndClaimedTriangles) {
    FilledGraph graph(meshes::book(4));
    const TriangleList free = graph.freeTriangles;
    const TriangleList claimed = graph.claimedTriangles;
    ASSERT_TRUE(free.first != nullptr && claimed.first != nullptr);
    graph.clear();
    EXPECT_EQ(graph.freeTriangles.first, free.first);
    EXPECT_EQ(graph.freeTriangles.last, free.last);
    EXPECT_EQ(graph.claimedTriangles.first, claimed.first);
    EXPECT_EQ(graph.claimedTriangles.last, claimed.last);
}

TEST(HalfEdgeGraphClear, IsHarmlessOnANewGraphAndTwice) {
    HalfEdgeGraph graph;
    const std::string empty = describe(graph);
    graph.clear();
    EXPECT_EQ(describe(graph), empty);
    graph.addTriangle(0, 1, 2);
    graph.clear();
    graph.clear();
    EXPECT_EQ(graph.pool.chunks, nullptr);
    EXPECT_TRUE(graph.vertexHalfEdges.empty());
}

TEST(HalfEdgeGraphDestructor, RunsThroughThePointerToTheGraph) {
    class Derived : public HalfEdgeGraph {
    public:
        explicit Derived(bool& isGone) : isGone_(isGone) {}
        ~Derived() override { isGone_ = true; }

    private:
        bool& isGone_;
    };
    bool isGone = false;
    const HalfEdgeGraph* const graph = new Derived(isGone);
    delete graph;
    EXPECT_TRUE(isGone);
}

} // namespace
