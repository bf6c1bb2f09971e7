#include <vexa/mesh/Edges.h>

#include <vexa/mesh/MakeMesh.h>

#include "support/Messages.h"

#include <glm/trigonometric.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::HasSubstr;
using Indices = std::vector<unsigned int>;

/// Two triangles along the edge 0-1 at an angle between their normals; the second one has corners of its own if asked to.
MeshPtr hinge(float angle, bool hasSeam = false, bool isTurned = false) {
    std::vector<glm::vec3> positions{{0, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {std::cos(angle), 0, std::sin(angle)}};
    Indices triangles{0, 1, 2, 1, 0, 3};
    if (hasSeam) {
        positions.insert(positions.end(), {{-0.0F, 0, 0}, {0, 1, 0}});
        triangles = {0, 1, 2, 5, 4, 3};
    }
    if (isTurned) {
        std::swap(triangles[3], triangles[4]);
    }
    return makeMesh(TRIANGLES, triangles, {makeAttribute("position", positions)});
}

EdgeClass firstClass(const MeshPtr& mesh, float creaseAngle = glm::radians(30.0F)) {
    return classifyEdges(*mesh, {.creaseAngle = creaseAngle}).at(0).classes;
}

TEST(ClassifyEdges, DistinguishesCreasesByTheAngle) {
    EXPECT_EQ(firstClass(hinge(0)), EdgeClass::Smooth);
    EXPECT_EQ(firstClass(hinge(glm::radians(29.9F))), EdgeClass::Smooth);
    EXPECT_EQ(firstClass(hinge(glm::radians(30.1F))), EdgeClass::Crease);
    EXPECT_EQ(firstClass(hinge(glm::radians(-30.1F))), EdgeClass::Crease);
    EXPECT_EQ(firstClass(hinge(glm::radians(170.0F)), 3), EdgeClass::Smooth);
}

TEST(ClassifyEdges, TurnsTrianglesOfOppositeWindingOver) {
    EXPECT_EQ(firstClass(hinge(0, false, true)), EdgeClass::Smooth);
    EXPECT_EQ(firstClass(hinge(1, true, true)), EdgeClass::Crease | EdgeClass::Seam);
}

TEST(ClassifyEdges, FindsSeamsBetweenEqualPositions) {
    const auto edges = classifyEdges(*hinge(0, true));
    ASSERT_EQ(edges.size(), 5U);
    EXPECT_EQ(edges[0].classes, EdgeClass::Seam);
    EXPECT_THAT(edges[0].vertices, ElementsAre(0, 1));
    EXPECT_EQ(edges[1].classes, EdgeClass::Border);
}

TEST(ClassifyEdges, FindsNonManifoldEdges) {
    const std::vector<glm::vec3> positions{{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}, {-1, 0, 0}};
    const MeshPtr mesh =
        makeMesh(TRIANGLES, Indices{0, 1, 2, 0, 1, 3, 1, 0, 4}, {makeAttribute("position", positions)});
    EXPECT_EQ(firstClass(mesh), EdgeClass::NonManifold);
}

TEST(ClassifyEdges, RefusesMeshesWithoutPositionsOrTriangles) {
    const MeshPtr mesh = makeMesh(TRIANGLES, nullptr, {makeAttribute<glm::vec2>("position", 3)});
    EXPECT_EQ(messageOf([&] { classifyEdges(*mesh); }),
              "classifyEdges: the mesh lacks an attribute \"position\" of three floats");
    mesh->setPrimitive(LINES);
    EXPECT_THAT(messageOf([&] { classifyEdges(*mesh); }), HasSubstr("LINES does not contain triangles"));
}

TEST(ToLines, TakesTheEdgesOfTheClasses) {
    const auto edges = classifyEdges(*hinge(1, true));
    EXPECT_THAT(toLines(edges, EdgeClass::Crease), ElementsAre(0, 1));
    EXPECT_EQ(toLines(edges, EdgeClass::Border | EdgeClass::Seam).size(), 10U);
    EXPECT_TRUE(toLines(edges, EdgeClass::Smooth).empty());
}

} // namespace
