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
    const glm::dvec3 direction = homeDirection(pictureOf({0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3}, corners));
    EXPECT_GT(direction.z, 0.7);
    EXPECT_GT(direction.y, 0);
    EXPECT_NEAR(glm::length(direction), 1, 1e-12);
}

TEST(HomeDirection, IsWhereAnOpenSurfaceShowsItsFront) {
    EXPECT_GT(homeDirection(pictureOf({0, 1, 2}, corners)).z, 0);
    EXPECT_LT(homeDirection(pictureOf({0, 2, 1}, corners)).z, 0);
    EXPECT_LT(homeDirection(pictureOf({0, 1, 3}, corners)).y, 0) << "a surface that faces down";
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
