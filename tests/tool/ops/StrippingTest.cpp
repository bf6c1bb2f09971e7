#include "ops/Stripping.h"
#include "support/SmallModels.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace {

using tool_test::Grid;
using tool_test::makeGrid;
using tool_test::randomTriangles;
using vexa::tool::Joining;
using vexa::tool::StripSettings;
using vexa::tool::stripTriangles;

TEST(StripTriangles, ObservingPassesDoesNotChangeTheResult) {
    const Grid grid = makeGrid(20, 15);
    const std::vector<unsigned int> regular(grid.indices.begin(), grid.indices.end());
    for (const std::vector<unsigned int>& triangles :
         {regular, randomTriangles(50, 300), std::vector<unsigned int>()}) {
        StripSettings settings;
        settings.passes = {.iterations = 7, .buildFans = true, .minFanTriangles = 5};
        settings.joining = vexa::tool::Joining::None;
        const auto alone = stripTriangles(vexa::mesh::TRIANGLES, triangles, settings);
        settings.passes->onPass = [](const vexa::mesh::StripPass&) { return true; };
        const auto observed = stripTriangles(vexa::mesh::TRIANGLES, triangles, settings);
        ASSERT_EQ(observed.primitives.size(), alone.primitives.size());
        for (std::size_t i = 0; i < observed.primitives.size(); ++i) {
            EXPECT_EQ(observed.primitives[i].type, alone.primitives[i].type);
            EXPECT_EQ(observed.primitives[i].indices, alone.primitives[i].indices);
        }
    }
}

TEST(StripTriangles, ReportsEveryPass) {
    const Grid grid = makeGrid(5, 5);
    StripSettings settings;
    settings.passes = {.iterations = 9};
    std::vector<std::size_t> passes;
    settings.passes->onPass = [&](const vexa::mesh::StripPass& pass) {
        EXPECT_EQ(pass.wanted, 9u);
        passes.push_back(pass.number);
        return true;
    };
    stripTriangles(vexa::mesh::TRIANGLES, {grid.indices.begin(), grid.indices.end()}, settings);
    EXPECT_EQ(passes, (std::vector<std::size_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

std::vector<unsigned int> gridTriangles() {
    const Grid grid = makeGrid(9, 7);
    return {grid.indices.begin(), grid.indices.end()};
}

std::size_t countIndices(const vexa::tool::StripResult& result) {
    std::size_t count = 0;
    for (const auto& primitive : result.primitives) {
        count += primitive.indices.size();
    }
    return count;
}

TEST(StripTriangles, HigherEffortsGiveNoMoreIndices) {
    for (const Joining joining : {Joining::Degenerate, Joining::Restart}) {
        std::size_t before = 0;
        for (unsigned int effort = 0; effort <= 3; ++effort) {
            StripSettings settings;
            settings.search.effort = effort;
            settings.joining = joining;
            const std::size_t count = countIndices(stripTriangles(vexa::mesh::TRIANGLES, gridTriangles(), settings));
            EXPECT_TRUE(effort == 0 || count <= before) << effort;
            before = count;
        }
    }
}

TEST(StripTriangles, CountsTheStripsOfEveryJoin) {
    for (const Joining joining : {Joining::Degenerate, Joining::Restart, Joining::RestartFallback, Joining::None}) {
        StripSettings settings;
        settings.joining = joining;
        settings.keepParts = true;
        const auto result = stripTriangles(vexa::mesh::TRIANGLES, gridTriangles(), settings);
        EXPECT_EQ(result.strips, result.parts.size() - (result.leftOver > 0 ? 1 : 0));
        EXPECT_GT(result.strips, 1u);
        EXPECT_EQ(result.triangles, 126u);
    }
}

TEST(StripTriangles, LimitsTheLengthOfStripsInBothSearches) {
    for (const bool inPasses : {false, true}) {
        StripSettings settings;
        settings.joining = Joining::None;
        settings.search.maxTriangles = 4;
        if (inPasses) {
            settings.passes = {.iterations = 3};
        }
        for (const auto& primitive : stripTriangles(vexa::mesh::TRIANGLES, gridTriangles(), settings).primitives) {
            if (primitive.type == vexa::mesh::TRIANGLE_STRIP) {
                EXPECT_LE(vexa::mesh::toTriangles(primitive.type, primitive.indices).size(), 12u);
            }
        }
    }
}

TEST(MinStripIndices, IsBelowTheStripsOfEveryJoin) {
    for (const auto& triangles : {gridTriangles(), randomTriangles(50, 300), std::vector<unsigned int>{0, 1, 2}}) {
        for (const Joining joining : {Joining::Degenerate, Joining::Restart, Joining::None}) {
            StripSettings settings;
            settings.search.effort = 3;
            settings.allStrips = true;
            settings.joining = joining;
            settings.provesMin = true;
            const auto result = stripTriangles(vexa::mesh::TRIANGLES, triangles, settings);
            ASSERT_TRUE(result.minIndices);
            EXPECT_LE(*result.minIndices, countIndices(result));
            EXPECT_GT(*result.minIndices, triangles.size() / 3);
        }
    }
}

TEST(MinStripIndices, IsThreeForOneTriangleAndZeroForNone) {
    for (const Joining joining : {Joining::Degenerate, Joining::Restart, Joining::None}) {
        EXPECT_EQ(vexa::tool::minStripIndices({0, 1, 2}, joining), 3u);
        EXPECT_EQ(vexa::tool::minStripIndices({}, joining), 0u);
    }
}

TEST(StripTriangles, ReportsTheSearchAndTheBound) {
    StripSettings settings;
    settings.provesMin = true;
    std::set<std::string> works;
    settings.onProgress = [&](const char* work, double fraction) {
        EXPECT_GE(fraction, 0);
        EXPECT_LE(fraction, 1);
        works.insert(work);
    };
    stripTriangles(vexa::mesh::TRIANGLES, gridTriangles(), settings);
    EXPECT_EQ(works, (std::set<std::string>{"bound", "search"}));
}

} // namespace
