#include "report/View.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <glm/common.hpp>
#include <glm/geometric.hpp>
#include <limits>

namespace vexa::tool {

namespace {

/// How much of the area that faces a direction or its opposite shows its front, from 0 to 1, half of it for closed
/// models; 0.5 without any area.
class FrontShare {
public:
    explicit FrontShare(const glm::dvec3& direction) : direction_(glm::normalize(direction)) {}

    void add(const glm::dvec3& normal) {
        const double area = glm::dot(normal, direction_);
        front_ += std::max(area, 0.0);
        all_ += std::abs(area);
    }
    [[nodiscard]] const glm::dvec3& direction() const { return direction_; }
    [[nodiscard]] double value() const { return all_ > 0 && std::isfinite(all_) ? front_ / all_ : 0.5; }

private:
    glm::dvec3 direction_;
    double front_ = 0;
    double all_ = 0;
};

/// On which side of a model its triangles are small and many.
class DetailSide {
public:
    void add(const glm::dvec3* corners) {
        for (std::size_t c = 0; c < 3; ++c) {
            low_ = glm::min(low_, corners[c]);
            high_ = glm::max(high_, corners[c]);
            sum_ += corners[c];
            ++count_;
        }
    }
    /// From the middle of the model to the mean of its corners, as a share of its extent.
    [[nodiscard]] glm::dvec3 offset() const {
        const glm::dvec3 size = high_ - low_;
        const double extent = std::max({size.x, size.y, size.z});
        const glm::dvec3 offset = sum_ / static_cast<double>(count_) - 0.5 * (low_ + high_);
        return extent > 0 && std::isfinite(extent) ? offset / extent : glm::dvec3(0);
    }

private:
    glm::dvec3 low_ = glm::dvec3(std::numeric_limits<double>::max());
    glm::dvec3 high_ = glm::dvec3(std::numeric_limits<double>::lowest());
    glm::dvec3 sum_ = glm::dvec3(0);
    std::size_t count_ = 0;
};

} // namespace

glm::dvec3 homeDirection(const Picture& picture) {
    // How much better than the first direction, which is where glTF has the front, another one must be.
    constexpr double clearly = 0.06;
    std::array shares{FrontShare({0.62, 0.42, 1}), FrontShare({-0.62, 0.42, 1}), FrontShare({0.62, 0.42, -1}),
                      FrontShare({-0.62, 0.42, -1}), FrontShare({0.62, -0.42, 1})};
    DetailSide detail;
    forEachDrawnTriangle(picture, [&](std::size_t, const glm::dvec3* corners) {
        const glm::dvec3 normal = glm::cross(corners[1] - corners[0], corners[2] - corners[0]);
        for (FrontShare& share : shares) {
            share.add(normal);
        }
        detail.add(corners);
    });
    // Faces have more triangles than backs.
    const glm::dvec3 level = detail.offset() * glm::dvec3(1, 0, 1);
    const auto merit = [&](const FrontShare& share) { return share.value() + glm::dot(level, share.direction()); };
    const FrontShare* const best = std::max_element(
        shares.begin(), shares.end(), [&](const FrontShare& a, const FrontShare& b) { return merit(a) < merit(b); });
    return merit(*best) > merit(shares.front()) + clearly ? best->direction() : shares.front().direction();
}

} // namespace vexa::tool
