#include "reference/ReferenceDecode.h"
#include "reference/ReferenceGraph.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>

namespace {

using meshes::Indices;

std::size_t borderEdges(const Indices& mesh) {
    reference::Graph graph;
    graph.addTriangles(mesh);
    EXPECT_TRUE(graph.claimedTriangles.empty());
    return static_cast<std::size_t>(std::count(graph.twin.begin(), graph.twin.end(), reference::none));
}

TEST(NamedMeshes, ClosedOnesHaveNoBorder) {
    for (const Indices& mesh : {meshes::tetrahedron(), meshes::octahedron(), meshes::icosahedron(), meshes::torus(4, 3),
                                meshes::sphere(7, 5), meshes::doubledOppositeWinding()}) {
        EXPECT_EQ(borderEdges(mesh), 0u);
    }
}

TEST(NamedMeshes, OpenOnesHaveTheBorderOfTheirShape) {
    EXPECT_EQ(borderEdges(meshes::strip(9)), 11u);
    EXPECT_EQ(borderEdges(meshes::openFan(5)), 7u);
    EXPECT_EQ(borderEdges(meshes::closedFan(5)), 5u);
    EXPECT_EQ(borderEdges(meshes::grid(4, 3)), 14u);
    EXPECT_EQ(borderEdges(meshes::cylinder(5, 3)), 10u);
    EXPECT_EQ(borderEdges(meshes::openSphere(6, 5)), 16u);
    EXPECT_EQ(borderEdges(meshes::pinchedVertex(3, 4)), 7u);
    EXPECT_EQ(borderEdges(meshes::moebius(5)), 12u); // 5 on the band's one border, twice 1 where the windings meet
    EXPECT_EQ(borderEdges(meshes::hub(4)), 12u);
    EXPECT_EQ(borderEdges(meshes::chain(4)), 12u);
}

TEST(MeshVariants, KeepTheTrianglesThatTheyOnlyRearrange) {
    const Indices mesh = meshes::torus(5, 4);
    EXPECT_NE(meshes::shuffled(mesh, 1), mesh);
    EXPECT_EQ(reference::canonical(meshes::shuffled(mesh, 1)), reference::canonical(mesh));
    EXPECT_NE(meshes::turned(mesh, 1), mesh);
    EXPECT_EQ(reference::canonical(meshes::turned(mesh, 1)), reference::canonical(mesh));
    EXPECT_EQ(borderEdges(meshes::relabelled(mesh, 1)), 0u);
}

TEST(MeshVariants, DoDamageWhereAsked) {
    const Indices mesh = meshes::torus(5, 4);
    EXPECT_EQ(meshes::flipped(mesh, 0, 1), mesh);
    EXPECT_EQ(borderEdges(meshes::flipped(mesh, 100, 1)), 0u);
    EXPECT_EQ(reference::withoutCollapsed(meshes::collapsed(mesh, 100, 1)), Indices{});
    EXPECT_EQ(meshes::doubled(mesh, 100, 1).size(), 2 * mesh.size());
    EXPECT_EQ(meshes::holed(mesh, 100, 1), Indices{});
}

TEST(MeshSuite, HoldsWholeMeshesUnderDifferentNames) {
    std::set<std::string> names;
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        EXPECT_TRUE(names.insert(mesh.name).second) << mesh.name;
        EXPECT_EQ(mesh.indices.size() % 3, 0u) << mesh.name;
        EXPECT_LE(mesh.indices.size() / 3, 3300u) << mesh.name;
    }
    EXPECT_GE(names.size(), 100u);
    EXPECT_EQ(meshes::family("Large").size(), 3u);
    EXPECT_THROW(meshes::family("large"), std::out_of_range);
}

TEST(MeshSuite, HasEveryKindOfDamage) {
    std::size_t splitOff = 0;
    std::size_t collapsed = 0;
    std::size_t doublyLinked = 0;
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        reference::Graph graph;
        graph.addTriangles(mesh.indices);
        splitOff += graph.claimedTriangles.size();
        collapsed += (mesh.indices.size() - reference::withoutCollapsed(mesh.indices).size()) / 3;
        reference::Graph paired(reference::EdgeRule::Pair);
        paired.addTriangles(mesh.indices);
        for (std::uint32_t h = 0; h < paired.twin.size(); ++h) {
            const std::uint32_t neighbour = paired.twinTriangle(h);
            if (neighbour != reference::none && paired.edgeTowards(h / 3, neighbour) != h) {
                ++doublyLinked;
            }
        }
    }
    EXPECT_GT(splitOff, 500u);
    EXPECT_GT(collapsed, 300u);
    EXPECT_GT(doublyLinked, 100u);
}

TEST(MeshSuite, IsTheSameEverywhere) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        for (unsigned int index : mesh.indices) {
            hash = (hash ^ index) * 1099511628211ULL;
        }
    }
    EXPECT_EQ(hash, 5983440457120545715ULL);
}

} // namespace
