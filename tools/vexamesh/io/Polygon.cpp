#include "io/Polygon.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vexa::tool {

namespace {

using Point2 = std::array<double, 2>;

/// Seen along the axis that is most across the polygon, and so that it winds counter-clockwise.
std::vector<Point2> project(std::span<const Point> corners) {
    Point normal{};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Point& a = corners[i];
        const Point& b = corners[(i + 1) % corners.size()];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const std::size_t u = (axis + 1) % 3;
            const std::size_t v = (axis + 2) % 3;
            normal[axis] += (a[u] - b[u]) * (a[v] + b[v]);
        }
    }
    std::size_t across = 0;
    for (std::size_t axis = 1; axis < 3; ++axis) {
        across = std::abs(normal[axis]) > std::abs(normal[across]) ? axis : across;
    }
    std::size_t u = (across + 1) % 3;
    std::size_t v = (across + 2) % 3;
    if (normal[across] < 0) {
        std::swap(u, v);
    }
    std::vector<Point2> flat;
    for (const Point& corner : corners) {
        flat.push_back({corner[u], corner[v]});
    }
    return flat;
}

/// Twice the area of a triangle, positive when it winds counter-clockwise.
double area(const Point2& a, const Point2& b, const Point2& c) {
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

class EarClipper {
public:
    explicit EarClipper(std::span<const Point> corners) : flat_(project(corners)), left_(corners.size()) {
        std::iota(left_.begin(), left_.end(), std::size_t{0});
    }

    std::vector<std::array<std::size_t, 3>> run() {
        std::vector<std::array<std::size_t, 3>> triangles;
        while (left_.size() >= 3) {
            const std::size_t ear = findEar();
            triangles.push_back({at(ear + left_.size() - 1), at(ear), at(ear + 1)});
            left_.erase(left_.begin() + static_cast<std::ptrdiff_t>(ear));
        }
        return triangles;
    }

private:
    [[nodiscard]] std::size_t at(std::size_t position) const { return left_[position % left_.size()]; }

    /// Looks for a proper ear, then for one without an area, and takes any corner when the edges cross.
    std::size_t findEar() {
        for (const bool flatAllowed : {false, true}) {
            for (std::size_t i = 1; i <= left_.size() && budget_ > 0; ++i) {
                if (isEar(i % left_.size(), flatAllowed)) {
                    return i % left_.size();
                }
            }
        }
        return 1;
    }

    bool isEar(std::size_t position, bool flatAllowed) {
        const Point2& a = flat_[at(position + left_.size() - 1)];
        const Point2& b = flat_[at(position)];
        const Point2& c = flat_[at(position + 1)];
        const double size = area(a, b, c);
        if (flatAllowed ? size < 0 : size <= 0) {
            return false;
        }
        budget_ -= std::min(budget_, left_.size());
        return std::none_of(left_.begin(), left_.end(), [&](std::size_t other) {
            const Point2& p = flat_[other];
            return p != a && p != b && p != c && area(a, b, p) >= 0 && area(b, c, p) >= 0 && area(c, a, p) >= 0;
        });
    }

    std::vector<Point2> flat_;
    std::vector<std::size_t> left_;
    // Clipping is quadratic at the least: a polygon of very many corners ends as a fan.
    std::size_t budget_ = 50'000'000;
};

} // namespace

std::vector<std::array<std::size_t, 3>> triangulatePolygon(std::span<const Point> corners) {
    if (corners.size() == 3) {
        return {{0, 1, 2}};
    }
    return EarClipper(corners).run();
}

} // namespace vexa::tool
