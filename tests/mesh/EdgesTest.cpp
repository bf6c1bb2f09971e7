#include "support/Meshes.h"

#include <vexa/mesh/Edges.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>
#include <utility>

namespace vexa::mesh {

static bool operator==(const Edge& a, const Edge& b) {
    return a.vertices == b.vertices && a.triangleCount == b.triangleCount && a.opposites == b.opposites;
}

} // namespace vexa::mesh

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t none = 4294967295U;

/// The edges by a map, triangle by triangle.
std::vector<Edge> plainEdges(const meshes::Indices& triangles) {
    std::vector<Edge> edges;
    std::map<std::pair<unsigned int, unsigned int>, std::size_t> known;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned int a = triangles[i + k];
            const unsigned int b = triangles[i + (k + 1) % 3];
            const unsigned int c = triangles[i + (k + 2) % 3];
            if (a == b || b == c || c == a) {
                continue;
            }
            const auto [found, isNew] = known.try_emplace(std::minmax(a, b), edges.size());
            if (isNew) {
                edges.push_back({{std::min(a, b), std::max(a, b)}, 0, {none, none}});
            }
            Edge& edge = edges[found->second];
            if (edge.triangleCount < 2) {
                edge.opposites[edge.triangleCount] = c;
            }
            ++edge.triangleCount;
        }
    }
    return edges;
}

TEST(BuildEdges, ListsEdgesInTheOrderOfTheirFirstOccurrence) {
    const auto edges = buildEdges(meshes::Indices{5, 2, 3, 3, 2, 7});
    ASSERT_EQ(edges.size(), 5U);
    EXPECT_TRUE(edges[0] == (Edge{{2, 5}, 1, {3, none}}));
    EXPECT_TRUE(edges[1] == (Edge{{2, 3}, 2, {5, 7}}));
    EXPECT_TRUE(edges[2] == (Edge{{3, 5}, 1, {2, none}}));
    EXPECT_TRUE(edges[3] == (Edge{{2, 7}, 1, {3, none}}));
    EXPECT_TRUE(edges[4] == (Edge{{3, 7}, 1, {2, none}}));
}

TEST(BuildEdges, CountsEveryTriangleOfANonManifoldEdge) {
    const auto edges = buildEdges(meshes::book(7));
    const auto spine = std::find_if(edges.begin(), edges.end(), [](const Edge& edge) {
        return edge.vertices == std::array<std::uint32_t, 2>{0, 1};
    });
    ASSERT_NE(spine, edges.end());
    EXPECT_EQ(spine->triangleCount, 7U);
    EXPECT_EQ(edges.size(), 15U);
}

TEST(BuildEdges, CollapsedTrianglesHaveNone) {
    EXPECT_THAT(buildEdges(meshes::Indices{4, 4, 5, 1, 2, 1}), IsEmpty());
    EXPECT_THAT(buildEdges({}), IsEmpty());
}

TEST(BuildEdges, EqualThoseOfAPlainMap) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        EXPECT_TRUE(buildEdges(mesh.indices) == plainEdges(mesh.indices)) << mesh.name;
    }
}

TEST(BuildEdges, EqualThoseOfAPlainMapNextToHubsAndGaps) {
    const meshes::Indices hubs = meshes::joined(meshes::closedFan(500), meshes::shifted(meshes::closedFan(300), 90));
    for (const meshes::Indices& mesh :
         {hubs, meshes::relabelled(hubs, 3), meshes::shifted(hubs, 4'000'000'000U), meshes::soup(60, 2000, 5)}) {
        EXPECT_TRUE(buildEdges(mesh) == plainEdges(mesh));
    }
}

TEST(BuildEdges, AHubIsNotQuadratic) {
    // Vertex 0, the lower end of all spokes, is in a hundred thousand triangles.
    EXPECT_EQ(buildEdges(meshes::closedFan(100'000)).size(), 200'000U);
}

std::string messageOf(const meshes::Indices& triangles) {
    try {
        buildEdges(triangles);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return {};
}

TEST(BuildEdges, RefusesListsThatAreNotTriangles) {
    EXPECT_EQ(messageOf({0, 1, 2, 3}), "buildEdges: 4 indices are not a whole number of triangles");
    EXPECT_EQ(messageOf({0, 1, none}), "buildEdges: index 2 is 4294967295, which is reserved for primitive restart");
}

} // namespace
