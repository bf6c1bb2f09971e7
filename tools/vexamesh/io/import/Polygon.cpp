#include "io/import/Polygon.h"

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

/// Some corners of a polygon, found by where they are: a grid with about as many cells as corners.
class CornerGrid {
public:
    CornerGrid(const std::vector<Point2>& points, std::size_t expected)
        : points_(points), size_(std::clamp<std::size_t>(static_cast<std::size_t>(std::sqrt(expected)), 1, maxSize)),
          cells_(size_ * size_) {
        for (std::size_t axis = 0; axis < 2; ++axis) {
            const auto [low, high] = std::minmax_element(
                points.begin(), points.end(), [&](const Point2& a, const Point2& b) { return a[axis] < b[axis]; });
            low_[axis] = (*low)[axis];
            const double extent = (*high)[axis] - low_[axis];
            scale_[axis] = extent > 0 ? static_cast<double>(size_) / extent : 0;
        }
    }

    void insert(std::size_t corner) {
        const Point2& p = points_[corner];
        cells_[cellOf(p[1], 1) * size_ + cellOf(p[0], 0)].push_back(corner);
    }

    /// Whether `test` holds for a corner in or near a triangle.
    ///
    /// \param budget what may still be looked at, in cells and corners; reduced by what has been
    template <typename Test>
    bool any(const std::array<Point2, 3>& triangle, std::size_t& budget, const Test& test) const {
        std::array<std::size_t, 2> first{};
        std::array<std::size_t, 2> last{};
        for (std::size_t axis = 0; axis < 2; ++axis) {
            const auto [low, high] = std::minmax({triangle[0][axis], triangle[1][axis], triangle[2][axis]});
            first[axis] = cellOf(low, axis);
            last[axis] = cellOf(high, axis);
        }
        for (std::size_t y = first[1]; y <= last[1]; ++y) {
            for (std::size_t x = first[0]; x <= last[0]; ++x) {
                const std::vector<std::size_t>& cell = cells_[y * size_ + x];
                budget -= std::min(budget, cell.size() + 1);
                if (std::any_of(cell.begin(), cell.end(), test)) {
                    return true;
                }
            }
        }
        return false;
    }

private:
    static constexpr std::size_t maxSize = 1024;

    [[nodiscard]] std::size_t cellOf(double value, std::size_t axis) const {
        const double cell = (value - low_[axis]) * scale_[axis];
        return std::min(cell > 0 ? static_cast<std::size_t>(cell) : 0, size_ - 1);
    }

    const std::vector<Point2>& points_;
    std::size_t size_;
    std::vector<std::vector<std::size_t>> cells_;
    Point2 low_{};
    Point2 scale_{};
};

/// Cuts ears off a ring of corners. Only a reflex corner can lie inside an ear, so these alone are looked at.
class EarClipper {
public:
    explicit EarClipper(std::vector<Point2> corners)
        : flat_(std::move(corners)), next_(flat_.size()), previous_(flat_.size()), isReflex_(flat_.size()),
          left_(flat_.size()), grid_(flat_, linkCorners()) {
        for (std::size_t i = 0; i < flat_.size(); ++i) {
            if (isReflex_[i]) {
                grid_.insert(i);
            }
        }
    }

    std::vector<std::array<std::size_t, 3>> run() {
        std::vector<std::array<std::size_t, 3>> triangles;
        triangles.reserve(left_ - 2);
        while (left_ >= 3) {
            const std::size_t ear = findEar();
            triangles.push_back({previous_[ear], ear, next_[ear]});
            remove(ear);
        }
        return triangles;
    }

private:
    /// \return how many corners are reflex
    std::size_t linkCorners() {
        const std::size_t count = flat_.size();
        std::size_t reflex = 0;
        for (std::size_t i = 0; i < count; ++i) {
            next_[i] = (i + 1) % count;
            previous_[i] = (i + count - 1) % count;
        }
        for (std::size_t i = 0; i < count; ++i) {
            isReflex_[i] = areaAt(i) <= 0;
            reflex += isReflex_[i] ? 1 : 0;
        }
        return reflex;
    }

    [[nodiscard]] double areaAt(std::size_t corner) const {
        return area(flat_[previous_[corner]], flat_[corner], flat_[next_[corner]]);
    }

    /// Looks for a proper ear, then for one without an area, and takes any corner when the edges cross.
    std::size_t findEar() {
        for (const bool flatAllowed : {false, true}) {
            for (std::size_t i = 0; i < left_ && budget_ > 0; ++i, candidate_ = next_[candidate_]) {
                if (isEar(candidate_, flatAllowed)) {
                    return candidate_;
                }
            }
        }
        return next_[head_];
    }

    bool isEar(std::size_t corner, bool flatAllowed) {
        --budget_;
        const double size = areaAt(corner);
        if (flatAllowed ? size < 0 : size <= 0) {
            return false;
        }
        const std::array<Point2, 3> ear{flat_[previous_[corner]], flat_[corner], flat_[next_[corner]]};
        return !grid_.any(ear, budget_, [&, this](std::size_t other) {
            const Point2& p = flat_[other];
            return isReflex_[other] && p != ear[0] && p != ear[1] && p != ear[2] && area(ear[0], ear[1], p) >= 0 &&
                   area(ear[1], ear[2], p) >= 0 && area(ear[2], ear[0], p) >= 0;
        });
    }

    void remove(std::size_t corner) {
        const std::size_t before = previous_[corner];
        const std::size_t after = next_[corner];
        next_[before] = after;
        previous_[after] = before;
        isReflex_[corner] = false;
        --left_;
        head_ = head_ == corner ? after : head_;
        for (const std::size_t neighbour : {before, after}) {
            const bool wasReflex = isReflex_[neighbour];
            isReflex_[neighbour] = areaAt(neighbour) <= 0;
            if (isReflex_[neighbour] && !wasReflex) {
                grid_.insert(neighbour);
            }
        }
        // A convex polygon becomes a fan around its first corner.
        candidate_ = before == head_ ? after : before;
    }

    std::vector<Point2> flat_;
    std::vector<std::size_t> next_, previous_;
    std::vector<bool> isReflex_;
    std::size_t left_;
    CornerGrid grid_;
    std::size_t head_ = 0;
    std::size_t candidate_ = 1;
    // Clipping takes quadratic time at worst: a tangle of very many corners ends as a fan.
    std::size_t budget_ = 100'000'000;
};

bool isConvexQuadrilateral(const std::vector<Point2>& p) {
    return p.size() == 4 && area(p[3], p[0], p[1]) > 0 && area(p[0], p[1], p[2]) > 0 && area(p[1], p[2], p[3]) > 0 &&
           area(p[2], p[3], p[0]) > 0;
}

} // namespace

std::vector<std::array<std::size_t, 3>> triangulatePolygon(std::span<const Point> corners) {
    if (corners.size() == 3) {
        return {{0, 1, 2}};
    }
    std::vector<Point2> flat = project(corners);
    if (isConvexQuadrilateral(flat)) {
        return {{0, 1, 2}, {0, 2, 3}};
    }
    return EarClipper(std::move(flat)).run();
}

} // namespace vexa::tool
