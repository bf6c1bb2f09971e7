#include "support/Graphs.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace graphs;

/// A graph whose free triangles wait in buckets by their states.
class Buckets : public FilledGraph {
public:
    explicit Buckets(const meshes::Indices& mesh) : FilledGraph(mesh) {
        while (freeTriangles.first != nullptr) {
            Triangle& triangle = *freeTriangles.first;
            move(triangle, freeTriangles, lists[static_cast<std::size_t>(triangle.state)]);
        }
    }
    void dropOut(std::size_t number) { dropOutTriangle(*triangles(*this)[number], lists.data()); }
    Triangle& operator[](std::size_t number) { return *triangles(*this)[number]; }

    /// The buckets' triangles, for example "0 1 | 2 | | 3".
    [[nodiscard]] std::string waiting() const {
        std::string text = numbers(*this, lists[0]);
        for (std::size_t i = 1; i < lists.size(); ++i) {
            text += " | " + numbers(*this, lists[i]);
        }
        return text;
    }

    std::array<TriangleList, 4> lists;
};

TEST(DropOutTriangle, MarksTheTriangleAndUnlinksIt) {
    Buckets buckets(meshes::scattered(3));
    buckets.dropOut(1);
    EXPECT_EQ(states(buckets), (std::vector<int>{0, -10, 0}));
    EXPECT_EQ(buckets[1].next, nullptr);
    EXPECT_EQ(buckets[1].prev, nullptr);
    EXPECT_EQ(buckets.waiting(), "0 2 |  |  | ");
}

TEST(DropOutTriangle, UpdatesTheEndsOfItsBucket) {
    Buckets buckets(meshes::scattered(4));
    buckets.dropOut(0);
    EXPECT_EQ(buckets.waiting(), "1 2 3 |  |  | ");
    buckets.dropOut(3);
    EXPECT_EQ(buckets.waiting(), "1 2 |  |  | ");
    buckets.dropOut(2);
    buckets.dropOut(1);
    EXPECT_EQ(buckets.waiting(), " |  |  | ");
    EXPECT_EQ(buckets.lists[0].first, nullptr);
    EXPECT_EQ(buckets.lists[0].last, nullptr);
}

TEST(DropOutTriangle, MovesFreeNeighboursToTheEndOfTheBucketBelow) {
    Buckets buckets(meshes::strip(5)); // states 1 2 2 2 1
    ASSERT_EQ(buckets.waiting(), " | 0 4 | 1 2 3 | ");
    buckets.dropOut(2);
    EXPECT_EQ(buckets.waiting(), " | 0 4 1 3 |  | ");
    EXPECT_EQ(states(buckets), (std::vector<int>{1, 1, -10, 1, 1}));
    buckets.dropOut(1);
    EXPECT_EQ(buckets.waiting(), "0 | 4 3 |  | ");
}

TEST(DropOutTriangle, MovesTheNeighboursInTheOrderOfTheHalfEdges) {
    // Triangle 0 in the middle; its half-edges 0, 1, 2 lead to the triangles 3, 1 and 2.
    Buckets buckets({0, 1, 2, 2, 1, 4, 0, 2, 5, 1, 0, 3});
    ASSERT_EQ(buckets.waiting(), " | 1 2 3 |  | 0");
    buckets.dropOut(0);
    EXPECT_EQ(buckets.waiting(), "3 1 2 |  |  | ");
}

TEST(DropOutTriangle, LeavesNeighboursWithoutFreeNeighboursAlone) {
    Buckets buckets(meshes::strip(3));
    move(buckets[0], buckets.lists[1], buckets.lists[0]);
    buckets[0].state = 0;
    buckets.dropOut(1);
    EXPECT_EQ(states(buckets), (std::vector<int>{0, -10, 0}));
    EXPECT_EQ(buckets.waiting(), "0 2 |  |  | ");
}

TEST(DropOutTriangle, LeavesClaimedNeighboursAlone) {
    for (const int claimed : {-1, -10, -20}) {
        Buckets buckets(meshes::strip(3));
        TriangleList elsewhere;
        move(buckets[0], buckets.lists[1], elsewhere);
        buckets[0].state = claimed;
        buckets.dropOut(1);
        EXPECT_EQ(states(buckets), (std::vector<int>{claimed, -10, 0}));
        EXPECT_EQ(numbers(buckets, elsewhere), "0");
        EXPECT_EQ(buckets.waiting(), "2 |  |  | ");
    }
}

TEST(DropOutTriangle, LowersTheNeighbourOncePerSharedEdge) {
    Buckets buckets(meshes::doubledOppositeWinding());
    buckets.dropOut(0);
    EXPECT_EQ(states(buckets), (std::vector<int>{-10, 0}));
    EXPECT_EQ(buckets.waiting(), "1 |  |  | ");
}

TEST(DropOutTriangle, FindsATriangleOfNegativeStateInBucket3) {
    Buckets buckets(meshes::scattered(3));
    for (const std::size_t number : {0U, 1U, 2U}) {
        move(buckets[number], buckets.lists[0], buckets.lists[3]);
        buckets[number].state = -5;
    }
    buckets.dropOut(0);
    EXPECT_EQ(states(buckets), (std::vector<int>{-10, -5, -5}));
    EXPECT_EQ(buckets.waiting(), " |  |  | 1 2");
}

TEST(DropOutTriangle, FindsATriangleOfAStateAboveThreeInBucket3) {
    Buckets buckets(meshes::scattered(2));
    move(buckets[1], buckets.lists[0], buckets.lists[3]);
    buckets[1].state = 4;
    buckets.dropOut(1);
    EXPECT_EQ(buckets.waiting(), "0 |  |  | ");
}

TEST(DropOutTriangle, OneThatWasSplitOffOccupiesItsEdges) {
    Buckets buckets({0, 1, 2, 1, 0, 3, 0, 1, 4});
    Triangle& splitOff = *buckets.claimedTriangles.first;
    ASSERT_EQ(splitOff.state, Triangle::splitOff);
    move(splitOff, buckets.claimedTriangles, buckets.lists[3]);
    buckets.dropOutTriangle(splitOff, buckets.lists.data());
    EXPECT_EQ(splitOff.state, Triangle::inStrip);
    EXPECT_EQ(buckets.lists[3].first, nullptr);
}

} // namespace
