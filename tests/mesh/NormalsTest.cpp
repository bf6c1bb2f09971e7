#include <vexa/mesh/Normals.h>

#include <vexa/mesh/Faults.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Triangles.h>
#include <vexa/mesh/Views.h>

#include "support/Meshes.h"

#include <glm/geometric.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace vexa::mesh;
using Indices = std::vector<unsigned int>;

std::vector<glm::vec3> vectorsOf(const MeshPtr& mesh, const char* name) {
    return toElements<glm::vec3>(*mesh->getAttributeBuffer(name));
}

/// A cube of six quads with shared corners, and as triangles.
MeshPtr cube() {
    std::vector<glm::vec3> corners;
    for (int i = 0; i < 8; ++i) {
        corners.emplace_back(i & 1, i >> 1 & 1, i >> 2);
    }
    const Indices triangles{0, 2, 1, 1, 2, 3, 4, 5, 6, 6, 5, 7, 0, 1, 4, 4, 1, 5,
                            2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 5, 3, 7};
    return makeMesh(TRIANGLES, triangles, {makeAttribute("position", corners)});
}

TEST(ComputeNormals, SmoothNormalsOfACubePointToItsCorners) {
    const MeshPtr mesh = computeNormals(*cube());
    const auto normals = vectorsOf(mesh, "normal");
    ASSERT_EQ(normals.size(), 8U);
    for (std::size_t i = 0; i < 8; ++i) {
        const glm::vec3 outward = glm::normalize(vectorsOf(mesh, "position")[i] - glm::vec3(0.5F));
        // By angle, it does not matter which diagonal cuts a quad.
        EXPECT_LT(glm::distance(normals[i], outward), 1e-6F);
    }
    EXPECT_EQ(toIndices(*mesh->getIndexBuffer()), toIndices(*cube()->getIndexBuffer()));
}

TEST(ComputeNormals, SharpEdgesSplitVertices) {
    const MeshPtr mesh = computeNormals(*cube(), {.creaseAngle = 0.5F});
    const auto normals = vectorsOf(mesh, "normal");
    const auto positions = vectorsOf(mesh, "position");
    ASSERT_EQ(normals.size(), 24U);
    for (std::size_t v = 0; v < 8; ++v) {
        EXPECT_EQ(positions[v], vectorsOf(cube(), "position")[v]);
    }
    for (const auto [a, b, c] : trianglesOf(*mesh)) {
        const glm::vec3 face = glm::normalize(glm::cross(positions[b] - positions[a], positions[c] - positions[a]));
        for (const unsigned int corner : {a, b, c}) {
            EXPECT_LT(glm::distance(normals[corner], face), 1e-6F);
        }
    }
    EXPECT_EQ(toTriangles(*mesh).size(), 36U);
}

TEST(ComputeNormals, AreaWeightsCountLargeTrianglesMore) {
    // A corner between a triangle of area 2 in the plane z = 0 and one of area 1/2 in the plane x = 0.
    const std::vector<glm::vec3> positions{{0, 0, 0}, {-4, 0, 0}, {0, -1, 0}, {0, 0, 1}};
    const MeshPtr mesh = makeMesh(TRIANGLES, Indices{0, 1, 2, 0, 2, 3}, {makeAttribute("position", positions)});
    const glm::vec3 byArea = vectorsOf(computeNormals(*mesh, {.weighting = NormalWeighting::Area}), "normal")[0];
    EXPECT_LT(glm::distance(byArea, glm::normalize(glm::vec3(-1, 0, 4))), 1e-6F);
    const glm::vec3 byAngle = vectorsOf(computeNormals(*mesh), "normal")[0];
    EXPECT_LT(glm::distance(byAngle, glm::normalize(glm::vec3(-1, 0, 1))), 1e-6F);
}

TEST(ComputeNormals, SeamsDoNotShow) {
    const std::vector<glm::vec3> positions{{0, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const MeshPtr mesh = makeMesh(TRIANGLES, Indices{0, 1, 2, 4, 3, 5}, {makeAttribute("position", positions)});
    for (const float creaseAngle : {2.0F, 4.0F}) {
        const auto normals = vectorsOf(computeNormals(*mesh, {.creaseAngle = creaseAngle}), "normal");
        ASSERT_EQ(normals.size(), 6U);
        EXPECT_EQ(normals[0], normals[3]);
        EXPECT_EQ(normals[1], normals[4]);
    }
}

TEST(ComputeNormals, MeshWithoutIndicesStaysSoUnlessVerticesAreSplit) {
    const auto corners = makeAttribute("position", std::vector<glm::vec3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    const MeshPtr result = computeNormals(*makeMesh(TRIANGLES, nullptr, {corners}));
    EXPECT_EQ(result->getIndexBuffer(), nullptr);
    EXPECT_EQ(vectorsOf(result, "normal"), std::vector<glm::vec3>(3, glm::vec3(0, 0, 1)));
}

TEST(ComputeNormals, ReplacesNormalsInPlaceAndCopiesOtherAttributes) {
    const MeshPtr input =
        makeMesh(TRIANGLE_STRIP, Indices{0, 1, 2},
                 {makeAttribute<glm::vec2>("normal", 3), makeAttribute("id", std::vector{7, 8, 9}),
                  makeAttribute("position", std::vector<glm::vec3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}})});
    const MeshPtr mesh = computeNormals(*input);
    EXPECT_EQ(mesh->getPrimitiveType(), TRIANGLE_STRIP);
    EXPECT_EQ(mesh->getAttributeBuffer(0)->getAttributeName(), "normal");
    EXPECT_EQ(vectorsOf(mesh, "normal")[2], glm::vec3(0, 0, 1));
    EXPECT_EQ(toElements<int>(*mesh->getAttributeBuffer("id"))[2], 9);
}

TEST(ComputeNormals, TrianglesWithoutAnAreaDoNotSplit) {
    const MeshPtr input =
        makeMesh(TRIANGLES, Indices{0, 1, 2, 0, 1, 3},
                 {makeAttribute("position", std::vector<glm::vec3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {2, 0, 0}})});
    const auto normals = vectorsOf(computeNormals(*input, {.creaseAngle = 0.1F}), "normal");
    ASSERT_EQ(normals.size(), 4U);
    EXPECT_EQ(normals[0], glm::vec3(0, 0, 1));
    EXPECT_EQ(normals[3], glm::vec3(0));
}

} // namespace
