#ifdef VEXAMESH_WITH_REPORT

#include "report/View.h"

#include <glm/gtc/matrix_transform.hpp>
#include <gtest/gtest.h>

namespace {

using namespace vexa::tool;
namespace mesh = vexa::mesh;

Picture pictureOf(const std::vector<unsigned int>& triangles, const std::vector<float>& positions,
                  const std::vector<glm::dmat4>& placements = {glm::dmat4(1)}) {
    const std::vector<mesh::IndexedPrimitive> parts{{mesh::TRIANGLES, triangles}};
    PictureBuilder builder;
    builder.add({"mesh",
                 triangles,
                 {{"Strips", parts}},
                 std::vector<bool>(triangles.size() / 3),
                 sortedEdges(triangles),
                 positions,
                 placements});
    return builder.finish();
}

const std::vector<float> corners{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};

TEST(HomeDirection, IsInFrontAndAboveForClosedModels) {
    const std::vector<float> octahedron{1, 0, 0, 0, 1, 0, 0, 0, 1, -1, 0, 0, 0, -1, 0, 0, 0, -1};
    const glm::dvec3 direction =
        homeDirection(pictureOf({0, 1, 2, 1, 3, 2, 3, 4, 2, 4, 0, 2, 1, 0, 5, 3, 1, 5, 4, 3, 5, 0, 4, 5}, octahedron));
    EXPECT_GT(direction.z, 0.7);
    EXPECT_GT(direction.y, 0);
    EXPECT_NEAR(glm::length(direction), 1, 1e-12);
}

TEST(HomeDirection, IsWhereAnOpenSurfaceShowsItsFront) {
    EXPECT_GT(homeDirection(pictureOf({0, 1, 2}, corners)).z, 0);
    EXPECT_LT(homeDirection(pictureOf({0, 2, 1}, corners)).z, 0);
    EXPECT_LT(homeDirection(pictureOf({0, 1, 3}, corners)).y, 0) << "a surface that faces down";
}

TEST(HomeDirection, IsOnTheSideOfTheDetails) {
    // A closed model from z = -1 to z = 1, with nine more triangles at one end.
    const auto directionFor = [](float end) {
        std::vector<float> positions{-1, 0, -end, 1, 0, -end, 0, 1, -end, 0, 0, end};
        std::vector<unsigned int> triangles{0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
        for (unsigned int i = 0; i < 9; ++i) {
            positions.insert(positions.end(), {0, 0.01F * static_cast<float>(i), end});
            triangles.insert(triangles.end(), {3, 4 + i, 4 + (i + 1) % 9});
        }
        return homeDirection(pictureOf(triangles, positions));
    };
    EXPECT_GT(directionFor(1).z, 0.7);
    EXPECT_LT(directionFor(-1).z, -0.7);
    EXPECT_GT(directionFor(-1).y, 0);
}

TEST(HomeDirection, IsTheUsualOneWithoutAnyArea) {
    EXPECT_GT(homeDirection(pictureOf({0, 1, 2}, {})).z, 0.7);
}

TEST(ForEachDrawnTriangle, VisitsEveryPlacement) {
    const glm::dmat4 moved = glm::translate(glm::dmat4(1), glm::dvec3(5, 0, 0));
    std::vector<double> found;
    forEachDrawnTriangle(pictureOf({0, 1, 2}, corners, {glm::dmat4(1), moved}),
                         [&](std::size_t triangle, const glm::dvec3* at) {
                             EXPECT_EQ(triangle, 0u);
                             found.push_back(at[1].x);
                         });
    EXPECT_EQ(found, (std::vector<double>{1, 6}));
}

} // namespace

#endif
