#include "support/Meshes.h"

#include <vexa/mesh/detail/strips/PendingEdges.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <map>
#include <utility>

namespace {

using vexa::mesh::detail::HalfEdgeId;
using vexa::mesh::detail::noHalfEdge;
using vexa::mesh::detail::PendingEdges;

HalfEdgeId take(PendingEdges& pending, std::uint32_t from, std::uint32_t to) {
    return pending.take(from, to, pending.find(from, to));
}

TEST(PendingEdges, GivesEachHalfEdgeOnceAndInItsDirectionOnly) {
    PendingEdges pending(3);
    EXPECT_TRUE(pending.add(1, 2, 40));
    EXPECT_EQ(take(pending, 2, 1), noHalfEdge);
    EXPECT_EQ(take(pending, 1, 0), noHalfEdge);
    EXPECT_EQ(take(pending, 1, 2), 40u);
    EXPECT_EQ(take(pending, 1, 2), noHalfEdge);
}

TEST(PendingEdges, GivesTheEarliestOfSeveral) {
    PendingEdges pending(2);
    for (HalfEdgeId halfEdge = 0; halfEdge < 10; ++halfEdge) {
        ASSERT_TRUE(pending.add(0, 1, halfEdge));
    }
    for (HalfEdgeId halfEdge = 0; halfEdge < 10; ++halfEdge) {
        EXPECT_EQ(take(pending, 0, 1), halfEdge);
    }
    EXPECT_EQ(take(pending, 0, 1), noHalfEdge);
}

TEST(PendingEdges, GivesTheEarliestAlsoWhereALaterOneTookARoomInFrontOfIt) {
    PendingEdges pending(2);
    for (HalfEdgeId halfEdge = 0; halfEdge < 6; ++halfEdge) {
        ASSERT_TRUE(pending.add(0, halfEdge < 4 ? 0 : 1, halfEdge));
    }
    EXPECT_EQ(take(pending, 0, 0), 0u);
    ASSERT_TRUE(pending.add(0, 1, 6));
    EXPECT_EQ(take(pending, 0, 1), 4u);
    EXPECT_EQ(take(pending, 0, 1), 5u);
    EXPECT_EQ(take(pending, 0, 1), 6u);
}

TEST(PendingEdges, ForgetsAnEarlierLookUpOnceTheVertexGetsAList) {
    PendingEdges pending(1);
    for (HalfEdgeId halfEdge = 0; halfEdge < 4; ++halfEdge) {
        ASSERT_TRUE(pending.add(0, halfEdge, halfEdge));
    }
    const unsigned int found = pending.find(0, 3);
    ASSERT_TRUE(pending.add(0, 4, 4));
    EXPECT_EQ(pending.take(0, 3, found), 3u);
    EXPECT_EQ(take(pending, 0, 4), 4u);
}

TEST(PendingEdges, HasRoomForADozenAtAVertexAndRefusesAHundredth) {
    PendingEdges pending(2);
    for (HalfEdgeId halfEdge = 0; halfEdge < 12; ++halfEdge) {
        EXPECT_TRUE(pending.add(0, halfEdge, halfEdge));
    }
    bool isRefused = false;
    for (HalfEdgeId halfEdge = 12; halfEdge < 100; ++halfEdge) {
        isRefused = !pending.add(0, halfEdge, halfEdge);
    }
    EXPECT_TRUE(isRefused);
    EXPECT_TRUE(pending.add(1, 0, 100)) << "another vertex";
    EXPECT_EQ(take(pending, 0, 11), 11u);
}

TEST(PendingEdges, KeepsTheOrderOfEveryPairOfVerticesAsQueuesDo) {
    meshes::Random random(1);
    PendingEdges pending(6);
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::deque<HalfEdgeId>> queues;
    for (HalfEdgeId halfEdge = 0; halfEdge < 20000; ++halfEdge) {
        const std::uint32_t from = random.below(6);
        const std::uint32_t to = random.below(6);
        auto& queue = queues[{from, to}];
        if (queue.size() < 2 && random.chance(50)) {
            ASSERT_TRUE(pending.add(from, to, halfEdge));
            queue.push_back(halfEdge);
        } else {
            ASSERT_EQ(take(pending, from, to), queue.empty() ? noHalfEdge : queue.front());
            if (!queue.empty()) {
                queue.pop_front();
            }
        }
    }
}

} // namespace
