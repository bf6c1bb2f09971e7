#include "io/import/Polygon.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace {

using vexa::tool::Point;
using vexa::tool::triangulatePolygon;

/// Twice the area, with its sign.
double doubleArea(const std::vector<Point>& points, const std::array<std::size_t, 3>& t) {
    return (points[t[1]][0] - points[t[0]][0]) * (points[t[2]][1] - points[t[0]][1]) -
           (points[t[1]][1] - points[t[0]][1]) * (points[t[2]][0] - points[t[0]][0]);
}

TEST(TriangulatePolygon, ConvexPolygonsBecomeFans) {
    const std::vector<Point> square{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    const auto triangles = triangulatePolygon(square);
    const std::vector<std::array<std::size_t, 3>> expected{{0, 1, 2}, {0, 2, 3}};
    EXPECT_EQ(triangles, expected);
}

TEST(TriangulatePolygon, ConcavePolygonsAreCoveredOnce) {
    // A comb, and the same the other way round.
    std::vector<Point> comb{{0, 0, 0}, {8, 0, 0}, {8, 5, 0}, {7, 1, 0}, {6, 5, 0}, {5, 1, 0},
                            {4, 5, 0}, {3, 1, 0}, {2, 5, 0}, {1, 1, 0}, {0, 5, 0}};
    for (const double sign : {1.0, -1.0}) {
        double sum = 0;
        for (const auto& triangle : triangulatePolygon(comb)) {
            const double area = sign * doubleArea(comb, triangle);
            EXPECT_GE(area, 0);
            sum += area;
        }
        EXPECT_EQ(sum, 2 * 24.0);
        std::reverse(comb.begin(), comb.end());
    }
}

TEST(TriangulatePolygon, CrossingEdgesStillGiveAllTriangles) {
    const std::vector<Point> bow{{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}};
    const auto triangles = triangulatePolygon(bow);
    EXPECT_EQ(triangles.size(), 3u);
    std::set<std::size_t> corners;
    for (const auto& triangle : triangles) {
        EXPECT_EQ(std::set<std::size_t>(triangle.begin(), triangle.end()).size(), 3u);
        corners.insert(triangle.begin(), triangle.end());
    }
    EXPECT_EQ(corners, (std::set<std::size_t>{0, 1, 2, 3, 4}));
}

TEST(TriangulatePolygon, CoversLargeConcaveOnesOnce) {
    std::vector<vexa::tool::Point> comb{{20'000, -1, 0}, {20'000, 5, 0}};
    for (int i = 20'000; i-- > 0;) {
        comb.push_back({i + 0.5, i % 2 == 0 ? 0.0 : 5.0, 0});
    }
    comb.push_back({0, -1, 0});
    double sum = 0;
    for (const auto& triangle : vexa::tool::triangulatePolygon(comb)) {
        const double area = doubleArea(comb, triangle);
        EXPECT_GE(area, 0);
        sum += area;
    }
    double expected = 0;
    for (std::size_t i = 0; i < comb.size(); ++i) {
        const auto& a = comb[i];
        const auto& b = comb[(i + 1) % comb.size()];
        expected += a[0] * b[1] - b[0] * a[1];
    }
    EXPECT_NEAR(sum, expected, 1e-3);
}

} // namespace
