#include "reference/ReferenceDecode.h"
#include "reference/ReferenceShortestStrip.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/bound/Certificate.h>
#include <vexa/mesh/detail/strips/bound/CostSplit.h>

#include <string>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;
using reference::Joins;

constexpr EdgeCosts restartCosts(3 * costUnit / 2);

std::uint64_t certify(const StarLayout& layout, const std::vector<CostTable>& tables) {
    return certifyCost(layout, restartCosts, tables, 3);
}

CostTable randomTable(meshes::Random& random) {
    CostTable table;
    for (auto& row : table.rows) {
        for (std::int16_t& cost : row) {
            cost = static_cast<std::int16_t>(random.below(65536));
        }
    }
    return table;
}

TEST(CertifyCost, CountsAtLeastOneStripForEveryPart) {
    WorkTeam alone;
    const StarLayout layout = listStars(meshes::pairs(4), alone);
    EXPECT_EQ(certify(layout, std::vector<CostTable>(layout.tableCount())), 12u);
}

/// With every edge wholly at the first of its stars.
std::uint64_t certifyFirstSplit(const Indices& triangles) {
    WorkTeam alone;
    const StarLayout layout = listStars(triangles, alone);
    return certifyCost(layout, restartCosts, CostSplit<PlainMatrix>(layout, restartCosts, alone).tables(), 0);
}

TEST(CertifyCost, RoundsUp) {
    // The first corner's star has two sides of the triangle, one of which must stay unlinked without being the label.
    EXPECT_EQ(certifyFirstSplit(meshes::singleTriangle()), 2u);
}

TEST(CertifyCost, AddsWhatTheStarsCost) {
    // Around a vertex, labels agree if the number of triangles is a multiple of three.
    EXPECT_EQ(certifyFirstSplit(meshes::closedFan(6)), 0u);
    EXPECT_EQ(certifyFirstSplit(meshes::closedFan(7)), 1u);
}

TEST(CertifyCost, StaysBelowTheTruthWhateverTheTables) {
    meshes::Random random(3);
    for (std::uint32_t seed = 0; seed < 60; ++seed) {
        const Indices triangles = reference::withoutCollapsed(
            seed % 2 == 0 ? meshes::soup(5 + seed % 3, 6, seed) : meshes::damaged(meshes::grid(2, 2), seed));
        WorkTeam alone;
        const StarLayout layout = listStars(triangles, alone);
        std::vector<CostTable> tables(layout.tableCount());
        for (CostTable& table : tables) {
            table = randomTable(random);
        }
        const std::uint64_t least = reference::minIndexCount(triangles, Joins::Restart);
        EXPECT_LE(triangles.size() / 3 + certify(layout, tables) - 1, least) << "seed " << seed;
    }
}

} // namespace
