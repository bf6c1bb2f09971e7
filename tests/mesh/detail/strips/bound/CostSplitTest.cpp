#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/LargeVector.h>
#include <vexa/mesh/detail/strips/bound/Certificate.h>
#include <vexa/mesh/detail/strips/bound/CostSplit.h>

namespace {

using namespace vexa::mesh::detail;

constexpr EdgeCosts restartCosts(3 * costUnit / 2);
constexpr std::uint32_t equalShares = 65536;

bool goOn(double) {
    return true;
}

template <class Matrix>
LargeVector<CostTable> tablesAfter(const StarLayout& layout, int sweeps, unsigned threads = 1) {
    WorkTeam team(threads);
    CostSplit<Matrix> split(layout, restartCosts, team);
    for (int i = 0; i < sweeps; ++i) {
        split.sweep(equalShares + equalShares / 3, goOn);
    }
    return split.tables();
}

bool haveSameCosts(const LargeVector<CostTable>& a, const LargeVector<CostTable>& b) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (unsigned row = 0; row < 3; ++row) {
            for (unsigned column = 0; column < 3; ++column) {
                if (a[i].at(row, column) != b.at(i).at(row, column)) {
                    return false;
                }
            }
        }
    }
    return a.size() == b.size();
}

TEST(CostSplit, BeginsWithAllCostsAtTheFirstStarOfEachEdge) {
    WorkTeam alone;
    const StarLayout layout = listStars(meshes::octahedron(), alone);
    const CostSplit<PlainMatrix> split(layout, restartCosts, alone);
    for (const CostTable& table : split.tables()) {
        EXPECT_EQ(table, restartCosts.inner);
    }
}

TEST(CostSplit, RaisesTheBoundWithEverySweep) {
    WorkTeam alone;
    const StarLayout layout = listStars(meshes::icosahedron(), alone);
    std::uint64_t last = 0;
    for (int sweeps = 0; sweeps < 12; ++sweeps) {
        const std::uint64_t bound = certifyCost(layout, restartCosts, tablesAfter<MinPlusMatrix>(layout, sweeps), 3);
        EXPECT_GE(bound, last) << sweeps << " sweeps";
        last = bound;
    }
    EXPECT_GT(last, 3u);
}

TEST(CostSplit, StopsWhenTheObserverSaysSo) {
    WorkTeam alone;
    const StarLayout layout = listStars(meshes::icosahedron(), alone);
    CostSplit<MinPlusMatrix> split(layout, restartCosts, alone);
    EXPECT_FALSE(split.sweep(equalShares, [](double) { return false; }));
    EXPECT_TRUE(haveSameCosts(split.tables(), tablesAfter<PlainMatrix>(layout, 0)));
}

TEST(CostSplit, CopesWithAVertexOfManyTriangles) {
    WorkTeam alone;
    const StarLayout layout = listStars(meshes::closedFan(3001), alone);
    const std::uint64_t bound = certifyCost(layout, restartCosts, tablesAfter<MinPlusMatrix>(layout, 4), 3);
    // All but two triangles of a fan turn around its centre, each but the last with a swap.
    EXPECT_EQ(bound, 3u + 2998u);
}

#if defined(__SSE2__)

TEST(CostSplit, VectorsGiveTheTablesOfPlainCode) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        WorkTeam alone;
        const StarLayout layout = listStars(mesh.indices, alone);
        EXPECT_TRUE(haveSameCosts(tablesAfter<SseMatrix>(layout, 3), tablesAfter<PlainMatrix>(layout, 3))) << mesh.name;
    }
}

#endif

TEST(CostSplit, DoesNotDependOnTheNumberOfThreads) {
    WorkTeam alone;
    for (const meshes::Indices& mesh :
         {meshes::sphere(250, 120), meshes::shuffled(meshes::damaged(meshes::torus(200, 100), 3), 4)}) {
        const StarLayout layout = listStars(mesh, alone);
        EXPECT_EQ(tablesAfter<MinPlusMatrix>(layout, 2, 1), tablesAfter<MinPlusMatrix>(layout, 2, 3));
    }
}

} // namespace
