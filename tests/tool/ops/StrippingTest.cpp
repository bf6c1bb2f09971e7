#include "ops/Stripping.h"
#include "support/SmallModels.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using tool_test::Grid;
using tool_test::makeGrid;
using vexa::tool::StripSettings;
using vexa::tool::stripTriangles;

/// Triangles among few vertices, so that edges have any number of them.
std::vector<unsigned int> randomTriangles(unsigned int vertices, std::size_t count) {
    std::mt19937 random(5);
    std::vector<unsigned int> triangles;
    for (std::size_t i = 0; i < count; ++i) {
        const auto first = static_cast<unsigned int>(random() % vertices);
        const auto step = static_cast<unsigned int>(1 + random() % (vertices / 2 - 1));
        triangles.insert(triangles.end(), {first, (first + step) % vertices, (first + 2 * step) % vertices});
    }
    return triangles;
}

TEST(StripTriangles, ObservingPassesDoesNotChangeTheResult) {
    const Grid grid = makeGrid(20, 15);
    const std::vector<unsigned int> regular(grid.indices.begin(), grid.indices.end());
    for (const std::vector<unsigned int>& triangles :
         {regular, randomTriangles(50, 300), std::vector<unsigned int>()}) {
        StripSettings settings;
        settings.options.iterations = 7;
        settings.options.buildFans = true;
        settings.options.minFanTriangles = 5;
        settings.joining = vexa::tool::Joining::None;
        const auto alone = stripTriangles(vexa::mesh::TRIANGLES, triangles, settings);
        settings.options.onPass = [](const vexa::mesh::StripPass&) { return true; };
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
    settings.options.iterations = 9;
    std::vector<std::size_t> passes;
    settings.options.onPass = [&](const vexa::mesh::StripPass& pass) {
        EXPECT_EQ(pass.wanted, 9u);
        passes.push_back(pass.number);
        return true;
    };
    stripTriangles(vexa::mesh::TRIANGLES, {grid.indices.begin(), grid.indices.end()}, settings);
    EXPECT_EQ(passes, (std::vector<std::size_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

} // namespace
