#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/Strips.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/GreedyCounts.h>
#include <vexa/mesh/detail/strips/GreedyLinks.h>
#include <vexa/mesh/detail/strips/JoinOrder.h>
#include <vexa/mesh/detail/strips/StripPartition.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using namespace vexa::mesh;
using meshes::Indices;

struct Greedy {
    detail::CompactGraph graph;
    detail::StripSet strips;
    detail::StripPartition partition;

    explicit Greedy(const Indices& mesh)
        : graph(detail::pairEdges(mesh)), strips(detail::searchGreedily(graph, mesh)), partition(graph, mesh) {
        detail::linkStrips(partition, strips);
    }
    [[nodiscard]] bool isRegular() const {
        for (std::size_t i = 0; i < strips.size(); ++i) {
            if (strips[i].isIrregular) {
                return false;
            }
        }
        return true;
    }
};

void expectCounts(const Indices& mesh, StripJoin join, const std::string& name) {
    Greedy greedy(mesh);
    const detail::GreedyCounts counts = countGreedy(greedy.graph, mesh, greedy.strips, join);
    if (!greedy.isRegular() || greedy.partition.liveCount() == 0) {
        EXPECT_EQ(counts.joined, 0U) << name;
        EXPECT_EQ(counts.plain, 0U) << name;
        EXPECT_EQ(counts.fixed, 0U) << name;
        return;
    }
    EXPECT_EQ(counts.joined, countIndices(mesh, greedy.partition, join)) << name;
    const std::uint64_t plain = joinStrips(buildPrimitives(mesh, {.allStrips = true}), join).size();
    if (greedy.partition.liveCount() == mesh.size() / 3) {
        EXPECT_EQ(counts.plain, plain) << name;
    } else {
        EXPECT_LE(counts.plain, plain) << name;
    }
    if (join == StripJoin::Restart) {
        EXPECT_EQ(counts.fixed, greedy.partition.liveCount() + countExtraIndices(greedy.partition) - 1) << name;
    }
}

TEST(GreedyCounts, AreThoseOfTheWrittenStrips) {
    for (const auto& mesh : meshes::suite()) {
        expectCounts(mesh.indices, StripJoin::Restart, mesh.name);
        expectCounts(mesh.indices, StripJoin::Degenerate, mesh.name);
    }
}

std::vector<detail::StripTriangle> trianglesOf(const detail::StripSet& strips) {
    std::vector<detail::StripTriangle> triangles;
    for (std::size_t i = 0; i < strips.size(); ++i) {
        triangles.insert(triangles.end(), strips[i].triangles.begin(), strips[i].triangles.end());
    }
    return triangles;
}

TEST(SearchGreedily, EndsWithTheStripThatExceedsTheLimit) {
    for (const auto& mesh : {meshes::holed(meshes::sphere(40, 30), 5, 1), meshes::shuffled(meshes::torus(30, 20), 2)}) {
        const Greedy greedy(mesh);
        const auto all = trianglesOf(greedy.strips);
        const std::uint64_t count = countGreedy(greedy.graph, mesh, greedy.strips, StripJoin::Restart).fixed;
        const std::uint64_t excess = count + 1 - all.size();
        for (const std::uint64_t limit : {std::uint64_t{1}, excess / 3, excess - 3, excess, excess + 1}) {
            detail::CompactGraph graph = detail::pairEdges(mesh);
            const detail::StripSet strips = detail::searchGreedily(graph, mesh, {}, limit);
            const auto taken = trianglesOf(strips);
            EXPECT_EQ(taken, std::vector(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(taken.size())));
            const std::uint64_t needed = countGreedy(graph, mesh, strips, StripJoin::Restart).fixed;
            EXPECT_EQ(needed + 1 - taken.size() >= limit, limit <= excess) << limit;
            EXPECT_EQ(taken.size() == all.size(), limit >= excess) << limit;
        }
    }
}

TEST(GreedyCounts, LeaveOutIndicesForParity) {
    // Two triangles suit either parity; longer strips of an even number of indices may not.
    const Indices mesh = meshes::joined(meshes::pairs(1), meshes::shifted(meshes::strip(4), 10));
    const Greedy greedy(mesh);
    const auto counts = countGreedy(greedy.graph, mesh, greedy.strips, StripJoin::Restart);
    EXPECT_EQ(counts.fixed, 4U + 1 + 6);
    EXPECT_GE(counts.joined, counts.fixed);
}

} // namespace
