#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace graphs;
using vexa::test::LogCapture;

/// A triangle with three neighbours that have no others. With a state of 1 it is the first to start a strip.
const meshes::Indices star = {0, 1, 2, 1, 0, 3, 2, 1, 4, 0, 2, 5};

std::uint32_t cutOnce(HalfEdgeGraph& graph, bool allStrips = false) {
    return graph.calcOptPrim(1, true, false, 6, allStrips);
}

std::uint32_t cutOften(HalfEdgeGraph& graph, std::uint32_t iterations, bool allStrips = false) {
    const LogCapture capture;
    return graph.calcOptPrim(iterations, true, false, 6, allStrips);
}

std::string stripsOf(const HalfEdgeGraph& graph) {
    return numbers(graph, graph.strips);
}

std::string batchesOf(const HalfEdgeGraph& graph) {
    return numbers(graph, graph.triangleLists);
}

void expectNothingLeft(const HalfEdgeGraph& graph) {
    EXPECT_EQ(graph.freeTriangles.first, nullptr);
    EXPECT_EQ(graph.freeTriangles.last, nullptr);
    EXPECT_EQ(graph.claimedTriangles.first, nullptr);
    EXPECT_EQ(graph.claimedTriangles.last, nullptr);
}

TEST(CalcOptPrim, StoresNothingForAnEmptyGraph) {
    for (const std::uint32_t iterations : {0U, 1U, 3U}) {
        const LogCapture capture;
        HalfEdgeGraph graph;
        EXPECT_EQ(graph.calcOptPrim(iterations, true, true, 0, true), 0u);
        EXPECT_EQ(graph.calcOptPrim(iterations, true, true, 0, false), 0u);
        EXPECT_EQ(describe(graph), describe(HalfEdgeGraph()));
    }
}

TEST(CalcOptPrim, CutsAStripWithoutSwaps) {
    FilledGraph graph(meshes::strip(4));
    EXPECT_EQ(cutOnce(graph), 6u);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1 2 3)");
    EXPECT_EQ(states(graph), std::vector<int>(4, Triangle::inStrip));
    EXPECT_TRUE(graph.triangleLists.empty() && graph.fans.empty());
    expectNothingLeft(graph);
    EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"5: 0 1 2 3 4 5"});
}

TEST(CalcOptPrim, PaysForSwaps) {
    FilledGraph graph(meshes::openFan(4)); // every turn to the same side: one goes without a swap
    EXPECT_EQ(cutOnce(graph), 7u);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1 2 3)");
}

TEST(CalcOptPrim, CutsAPairForFourIndices) {
    FilledGraph graph(meshes::twoTriangles());
    EXPECT_EQ(cutOnce(graph), 4u);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1)");
}

TEST(CalcOptPrim, StartsWithTheFirstTriangleOfTheLowestBucket) {
    FilledGraph graph({2, 1, 3, 2, 3, 4, 0, 1, 2}); // the one in the middle comes first
    EXPECT_EQ(states(graph), (std::vector<int>{2, 1, 1}));
    EXPECT_EQ(cutOnce(graph), 6u);
    EXPECT_EQ(stripsOf(graph), "(0: 1 0 2)");
}

TEST(CalcOptPrim, ContinuesTowardsTheTriangleThatLeadsOn) {
    FilledGraph graph(meshes::tetrahedron());
    EXPECT_EQ(cutOnce(graph), 6u);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1 2 3)");
}

TEST(CalcOptPrim, LeavesOverTheLastEdgeWhenNoneLeadsOn) {
    FilledGraph graph(star);
    triangles(graph)[0]->state = 1;
    EXPECT_EQ(cutOnce(graph), 4u + 6);
    EXPECT_EQ(stripsOf(graph), "(0: 0 3)");
    EXPECT_EQ(batchesOf(graph), "(0: 1 2)");
}

TEST(CalcOptPrim, LeavesAtOnceOverAnEdgeThatLeadsOn) {
    FilledGraph graph(meshes::joined(star, {2, 4, 6}));
    triangles(graph)[0]->state = 1;
    EXPECT_EQ(cutOnce(graph), 5u + 6);
    EXPECT_EQ(stripsOf(graph), "(0: 0 2 4)");
    EXPECT_EQ(batchesOf(graph), "(0: 1 3)");
}

TEST(CalcOptPrim, LooksAheadOnlyToTheSideOfTheFirstTurn) {
    FilledGraph graph(meshes::joined(star, {4, 1, 6})); // the neighbour leads on, but to the other side
    triangles(graph)[0]->state = 1;
    EXPECT_EQ(cutOnce(graph), 4u + 4 + 3);
    EXPECT_EQ(stripsOf(graph), "(0: 0 3) (0: 4 2)");
    EXPECT_EQ(batchesOf(graph), "(0: 1)");
}

TEST(CalcOptPrim, LooksAheadWhileTheFirstTriangleIsStillFree) {
    // The first neighbour leads back to the start, which counts as leading on.
    FilledGraph graph(meshes::scattered(3));
    const std::vector<Triangle*> all = triangles(graph);
    link(all[0]->halfEdge[0], all[1]->halfEdge[0]);
    link(all[0]->halfEdge[1], all[1]->halfEdge[2]);
    link(all[0]->halfEdge[2], all[2]->halfEdge[0]);
    all[0]->state = 1;
    all[1]->state = 2;
    all[2]->state = 1;
    EXPECT_EQ(cutOnce(graph), 4u + 3);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1)");
    EXPECT_EQ(batchesOf(graph), "(0: 2)");
}

TEST(CalcOptPrim, LeavesTrianglesWithoutNeighboursToTheBatch) {
    FilledGraph graph(meshes::joined(meshes::scattered(2), meshes::shifted(meshes::twoTriangles(), 6)));
    EXPECT_EQ(cutOnce(graph), 4u + 6);
    EXPECT_EQ(stripsOf(graph), "(0: 2 3)");
    EXPECT_EQ(batchesOf(graph), "(0: 0 1)");
    EXPECT_EQ(states(graph), (std::vector<int>{0, 0, -10, -10}));
    expectNothingLeft(graph);
}

TEST(CalcOptPrim, AppendsTrianglesThatLoseTheirLastNeighbourToTheBatch) {
    FilledGraph graph(meshes::joined(star, meshes::shifted(meshes::scattered(1), 6)));
    triangles(graph)[0]->state = 1;
    cutOnce(graph);
    EXPECT_EQ(batchesOf(graph), "(0: 4 1 2)");
    EXPECT_EQ(states(graph), (std::vector<int>{-10, 0, 0, -10, 0}));
}

TEST(CalcOptPrim, PutsSplitOffTrianglesAtTheEndOfTheBatch) {
    FilledGraph graph(meshes::joined(meshes::book(4), meshes::shifted(meshes::scattered(1), 6)));
    EXPECT_EQ(cutOnce(graph), 4u + 9);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1)");
    EXPECT_EQ(batchesOf(graph), "(0: 4 2 3)");
    EXPECT_EQ(states(graph), (std::vector<int>{-10, -10, -1, -1, 0}));
    expectNothingLeft(graph);
}

TEST(CalcOptPrim, MakesABatchOfSplitOffTrianglesAlone) {
    FilledGraph graph(meshes::book(3));
    EXPECT_EQ(cutOnce(graph), 4u + 3);
    EXPECT_EQ(batchesOf(graph), "(0: 2)");
}

TEST(CalcOptPrimAllStrips, StartsWithTrianglesWithoutNeighbours) {
    FilledGraph graph(meshes::joined(meshes::twoTriangles(), meshes::shifted(meshes::scattered(1), 4)));
    EXPECT_EQ(cutOnce(graph, true), 3u + 4);
    EXPECT_EQ(stripsOf(graph), "(0: 2) (0: 0 1)");
    EXPECT_TRUE(graph.triangleLists.empty());
    EXPECT_EQ(states(graph), std::vector<int>(3, Triangle::inStrip));
}

TEST(CalcOptPrimAllStrips, MakesStripsOfSplitOffTriangles) {
    FilledGraph graph(meshes::joined(meshes::book(4), meshes::shifted(meshes::scattered(1), 6)));
    EXPECT_EQ(cutOnce(graph, true), 9u + 4);
    EXPECT_EQ(stripsOf(graph), "(0: 4) (0: 2) (0: 3) (0: 0 1)");
    EXPECT_TRUE(graph.triangleLists.empty());
    expectNothingLeft(graph);
}

TEST(CalcOptPrimAllStrips, MakesStripsOfSplitOffTrianglesInSeveralPassesToo) {
    FilledGraph graph(meshes::book(4));
    EXPECT_EQ(cutOften(graph, 3, true), 6u + 4);
    EXPECT_EQ(graph.strips.size(), 3u);
    EXPECT_EQ(states(graph), std::vector<int>(4, Triangle::inStrip));
    expectNothingLeft(graph);
}

TEST(CalcOptPrimAllStrips, CutsClaimedTrianglesThatWereHandedOutBefore) {
    FilledGraph graph(meshes::strip(3));
    cutOnce(graph);
    takePrimitives(graph);
    ASSERT_EQ(numbers(graph, graph.claimedTriangles), "0 1 2");
    // They all start in bucket 0, where each is a strip of its own.
    EXPECT_EQ(cutOnce(graph, true), 9u);
    EXPECT_EQ(stripsOf(graph), "(0: 0) (0: 1) (0: 2)");
    expectNothingLeft(graph);
}

TEST(CalcOptPrimAllStrips, PutsClaimedTrianglesAfterTheFreeOnes) {
    FilledGraph graph(meshes::joined(meshes::book(3), meshes::shifted(meshes::scattered(1), 5)));
    cutOnce(graph, true);
    EXPECT_EQ(stripsOf(graph), "(0: 3) (0: 2) (0: 0 1)");
}

TEST(CalcOptPrimWithoutStrips, PutsEveryTriangleIntoTheBatch) {
    for (const auto& [iterations, buildStrips] : std::vector<std::pair<std::uint32_t, bool>>{{0, true}, {1, false}}) {
        FilledGraph graph(meshes::joined(meshes::book(4), meshes::shifted(meshes::strip(3), 6)));
        EXPECT_EQ(graph.calcOptPrim(iterations, buildStrips, false, 6, false), 3u * 7);
        EXPECT_TRUE(graph.strips.empty() && graph.fans.empty());
        EXPECT_EQ(batchesOf(graph), "(0: 0 1 4 5 6 2 3)");
        EXPECT_EQ(states(graph), (std::vector<int>{1, 1, -1, -1, 1, 2, 1}));
        expectNothingLeft(graph);
    }
}

TEST(CalcOptPrimWithoutStrips, CountsTheFansToo) {
    FilledGraph graph(meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::book(3), 7)));
    EXPECT_EQ(graph.calcOptPrim(0, true, true, 6, false), 8u + 9);
    EXPECT_EQ(numbers(graph, graph.fans), "(0: 0 1 2 3 4 5)");
    EXPECT_EQ(batchesOf(graph), "(0: 6 7 8)");
}

TEST(CalcOptPrimWithoutStrips, LosesTheTrianglesWhenAllAreToBeStrips) {
    for (const auto& [iterations, buildStrips] : std::vector<std::pair<std::uint32_t, bool>>{{0, true}, {1, false}}) {
        FilledGraph graph(meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::book(3), 7)));
        EXPECT_EQ(graph.calcOptPrim(iterations, buildStrips, true, 6, true), 8u);
        EXPECT_TRUE(graph.strips.empty() && graph.triangleLists.empty());
        EXPECT_EQ(graph.fans.size(), 1u);
        expectNothingLeft(graph);
        EXPECT_EQ(states(graph), (std::vector<int>{-20, -20, -20, -20, -20, -20, 1, 1, 0}));
        EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"6: 0 1 2 3 4 5 6 1"});
    }
}

TEST(CalcOptPrimReversed, StoresAStripThatIsCheaperFromItsEnd) {
    FilledGraph graph({0, 3, 4, 0, 2, 3, 0, 1, 2});
    EXPECT_EQ(cutOften(graph, 2), 5u);
    EXPECT_EQ(stripsOf(graph), "(1: 0 1 2)");
    EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"5: 1 2 0 3 4"});
}

TEST(CalcOptPrimReversed, KeepsTheDirectionInASinglePass) {
    FilledGraph graph({0, 3, 4, 0, 2, 3, 0, 1, 2});
    EXPECT_EQ(cutOnce(graph), 6u);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1 2)");
    EXPECT_EQ(takePrimitives(graph), std::vector<std::string>{"5: 4 0 3 0 2 1"});
}

TEST(CalcOptPrimReversed, KeepsTheDirectionWhenBothEndsCostTheSame) {
    for (const unsigned int n : {2U, 4U, 6U}) {
        FilledGraph graph(meshes::strip(n));
        EXPECT_EQ(cutOften(graph, 2), n + 2);
        ASSERT_EQ(graph.strips.size(), 1u);
        EXPECT_EQ(graph.strips.front().first, 0u);
    }
}

TEST(CalcOptPrimReversed, KeepsTheDirectionOfASingleTriangle) {
    FilledGraph graph(meshes::singleTriangle());
    EXPECT_EQ(cutOften(graph, 2, true), 3u);
    EXPECT_EQ(stripsOf(graph), "(0: 0)");
}

TEST(CalcOptPrimUndo, CountsNeighboursInStripsButNotInFans) {
    // Pass 1 leaves triangle 0 to the batch; what counts as a neighbour of it afterwards starts a strip in pass 2.
    for (const auto& [state, strips, cost] : std::vector<std::tuple<int, std::string, std::uint32_t>>{
             {-1, "(0: 0)", 6}, {-10, "(0: 0)", 6}, {-11, "", 6}, {-20, "", 6}}) {
        FilledGraph graph(meshes::twoTriangles());
        Triangle& claimed = *triangles(graph)[1];
        move(claimed, graph.freeTriangles, graph.claimedTriangles);
        claimed.state = state;
        triangles(graph)[0]->state = 0;
        EXPECT_EQ(cutOften(graph, 2), cost);
        EXPECT_EQ(stripsOf(graph), strips) << state;
        EXPECT_EQ(batchesOf(graph), strips.empty() ? "(0: 0 1)" : "(0: 1)");
    }
}

TEST(CalcOptPrimUndo, LeavesFansUnchanged) {
    FilledGraph graph(meshes::joined(meshes::closedFan(6), {2, 1, 7})); // one more outside the rim
    const LogCapture capture;
    EXPECT_EQ(graph.calcOptPrim(3, true, true, 6, false), 8u + 3);
    EXPECT_EQ(numbers(graph, graph.fans), "(0: 0 1 2 3 4 5)");
    EXPECT_TRUE(graph.strips.empty());
    EXPECT_EQ(batchesOf(graph), "(0: 6)");
}

TEST(CalcOptPrimUndo, ReturnsTrianglesInTheOrderInWhichTheyWereTaken) {
    constexpr std::size_t count = 50;
    FilledGraph graph(meshes::scattered(count));
    cutOften(graph, 2, true);

    meshes::Indices bucket(count);
    for (unsigned int i = 0; i < count; ++i) {
        bucket[i] = i;
    }
    std::srand(1);
    const auto seed = static_cast<unsigned int>(std::rand());
    for (int pass = 0; pass < 2; ++pass) {
        std::srand(seed);
        meshes::Indices taken;
        while (!bucket.empty()) {
            const auto last = static_cast<float>(bucket.size() - 1);
            const auto position = static_cast<int>(last * static_cast<float>(std::rand()) * 4.656613e-10f);
            taken.push_back(bucket[static_cast<std::size_t>(position)]);
            bucket.erase(bucket.begin() + position);
        }
        bucket = taken;
    }
    std::string expected;
    for (const unsigned int number : bucket) {
        expected += (expected.empty() ? "(0: " : " (0: ") + std::to_string(number) + ")";
    }
    EXPECT_EQ(stripsOf(graph), expected);
}

TEST(CalcOptPrimRandom, IsReseededWhateverTheParameters) {
    std::srand(1);
    const int first = std::rand();
    for (const auto& [iterations, buildStrips] : std::vector<std::pair<std::uint32_t, bool>>{{0, true}, {1, false}}) {
        std::srand(99);
        FilledGraph graph(meshes::strip(3));
        graph.calcOptPrim(iterations, buildStrips, false, 6, false);
        EXPECT_EQ(std::rand(), first);
    }
}

TEST(CalcOptPrimRandom, IsNotDrawnFromInASinglePass) {
    std::srand(1);
    const int first = std::rand();
    FilledGraph graph(meshes::joined(meshes::strip(3), meshes::shifted(meshes::scattered(2), 5)));
    cutOnce(graph, true);
    EXPECT_EQ(std::rand(), first);
}

TEST(CalcOptPrimRandom, IsDrawnOncePerStripEvenForABucketOfOne) {
    FilledGraph graph(meshes::singleTriangle());
    cutOften(graph, 2, true);
    const int next = std::rand();
    std::srand(1);
    std::srand(static_cast<unsigned int>(std::rand())); // the best seed, which is the first one
    std::rand();                                        // the start of the only strip
    EXPECT_EQ(next, std::rand());
}

TEST(CalcOptPrimRandom, DrawsOneSeedPerPass) {
    // Without anything to cut, each pass draws its seed from the sequence of the one before.
    HalfEdgeGraph graph;
    cutOften(graph, 4);
    const int next = std::rand();
    // All cost 0, and a lowest cost of 0 counts as none yet: the last seed is replayed.
    std::srand(1);
    unsigned int seed = 1;
    for (int pass = 0; pass < 3; ++pass) {
        seed = static_cast<unsigned int>(std::rand());
        std::srand(seed);
    }
    std::srand(seed);
    EXPECT_EQ(next, std::rand());
}

TEST(CalcOptPrimNegativeState, StartsAStripFromBucket3) {
    const LogCapture capture;
    FilledGraph graph(meshes::scattered(3));
    triangles(graph)[1]->state = -5;
    EXPECT_EQ(cutOnce(graph), 3u + 6);
    EXPECT_EQ(stripsOf(graph), "(0: 1)");
    EXPECT_EQ(batchesOf(graph), "(0: 0 2)");
    EXPECT_EQ(states(graph), (std::vector<int>{0, -10, 0}));
}

TEST(CalcOptPrimNegativeState, IsNotANeighbourForAStrip) {
    const LogCapture capture;
    for (const int state : {-1, -5, -10, -20, -2147483647 - 1}) {
        FilledGraph graph(meshes::twoTriangles());
        triangles(graph)[1]->state = state;
        EXPECT_EQ(cutOnce(graph), 6u);
        EXPECT_EQ(stripsOf(graph), "(0: 0) (0: 1)");
    }
}

TEST(CalcOptPrimNegativeState, IsCorrectedByTheFirstPass) {
    FilledGraph graph(meshes::joined(meshes::twoTriangles(), meshes::shifted(meshes::scattered(1), 4)));
    triangles(graph)[1]->state = -5;
    triangles(graph)[2]->state = -7;
    EXPECT_EQ(cutOften(graph, 2), 4u + 3);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1)");
    EXPECT_EQ(batchesOf(graph), "(0: 2)");
}

TEST(CalcOptPrimNegativeState, StaysWhenNoStripsAreBuilt) {
    FilledGraph graph(meshes::scattered(2));
    triangles(graph)[1]->state = -5;
    EXPECT_EQ(graph.calcOptPrim(0, true, false, 6, false), 6u);
    EXPECT_EQ(states(graph), (std::vector<int>{0, -5}));
    EXPECT_EQ(batchesOf(graph), "(0: 0 1)");
}

TEST(CalcOptPrimWrongState, EndsTheStripAtANullTwin) {
    FilledGraph graph(meshes::twoTriangles());
    triangles(graph)[1]->state = 2; // promises one neighbour too many
    EXPECT_EQ(cutOnce(graph), 6u);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1)");
    expectNothingLeft(graph);
}

TEST(CalcOptPrimWrongState, EndsTheStripAtANullTwinInSeveralPassesToo) {
    FilledGraph graph(meshes::twoTriangles());
    triangles(graph)[1]->state = 2;
    EXPECT_EQ(cutOften(graph, 2), 4u);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1)");
}

TEST(CalcOptPrimWrongState, EndsTheStripAtATriangleOfAnotherStrip) {
    FilledGraph graph(meshes::strip(3));
    cutOnce(graph);
    // Triangle 3 joins on to the strip and promises a neighbour there.
    graph.addTriangle(4, 3, 5)->state = 2;
    graph.addTriangle(4, 5, 6)->state = 1;
    triangles(graph)[2]->state = Triangle::inStrip;
    cutOnce(graph);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1 2) (0: 4 3)");
}

TEST(CalcOptPrimAgain, KeepsStoredPrimitivesInASinglePass) {
    FilledGraph graph(meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::strip(3), 7)));
    graph.addTriangle(20, 21, 22);
    EXPECT_EQ(graph.calcOptPrim(1, true, true, 6, false), 8u + 5 + 3);
    const std::string before = describe(graph);
    EXPECT_EQ(graph.calcOptPrim(1, true, true, 6, false), 0u);
    EXPECT_EQ(graph.calcOptPrim(0, true, true, 6, true), 0u);
    EXPECT_EQ(describe(graph), before);
}

TEST(CalcOptPrimAgain, TakesStoredStripsApartInSeveralPasses) {
    FilledGraph graph(meshes::joined(meshes::closedFan(6), meshes::shifted(meshes::strip(3), 7)));
    graph.addTriangle(20, 21, 22);
    graph.calcOptPrim(1, true, true, 6, false);
    const LogCapture capture;
    EXPECT_EQ(graph.calcOptPrim(2, true, false, 6, false), 5u);
    EXPECT_EQ(capture.messages(),
              (std::vector<std::string>{" cost/best/worst: 0/0/0", " cost/best/worst: 5/5/5", "range: 5/5 0%"}));
    EXPECT_EQ(graph.strips.size(), 1u);
    EXPECT_EQ(graph.fans.size(), 1u);
    EXPECT_EQ(batchesOf(graph), "(0: 9)");
}

TEST(CalcOptPrimAgain, KeepsStoredStripsWhenNoneAreBuilt) {
    FilledGraph graph(meshes::strip(3));
    cutOnce(graph);
    const LogCapture capture;
    EXPECT_EQ(graph.calcOptPrim(3, false, false, 6, false), 0u);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1 2)");
}

TEST(CalcOptPrimAgain, AppendsToStoredPrimitives) {
    FilledGraph graph(meshes::joined(meshes::twoTriangles(), meshes::shifted(meshes::scattered(1), 4)));
    cutOnce(graph);
    const meshes::Indices more = meshes::shifted(meshes::joined(meshes::twoTriangles(), {4, 5, 6}), 7);
    graph.addTriangles(more.data(), more.size());
    EXPECT_EQ(cutOnce(graph), 4u + 3);
    EXPECT_EQ(stripsOf(graph), "(0: 0 1) (0: 3 4)");
    EXPECT_EQ(batchesOf(graph), "(0: 2) (0: 5)");
}

TEST(CalcOptPrimAfterClear, MatchesANewGraph) {
    const meshes::Indices mesh = meshes::torus(6, 5);
    FilledGraph fresh(mesh);
    const std::uint32_t cost = cutOften(fresh, 3);
    FilledGraph reused(meshes::damaged(mesh, 3));
    cutOften(reused, 2, true);
    reused.clear();
    reused.addTriangles(mesh.data(), mesh.size());
    EXPECT_EQ(cutOften(reused, 3), cost);
    EXPECT_EQ(describe(reused), describe(fresh));
}

} // namespace
