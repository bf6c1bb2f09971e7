#include "report/View.h"

#include <array>
#include <cmath>
#include <glm/geometric.hpp>

namespace vexa::tool {

namespace {

/// How much of the area that faces a direction or its opposite shows its front, from 0 to 1, half of it for closed
/// models; 0.5 if there is no area.
class FrontShare {
public:
    explicit FrontShare(const glm::dvec3& direction) : direction_(direction) {}

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

} // namespace

glm::dvec3 homeDirection(const Picture& picture) {
    // How much more of the front another direction must show. The first one is where glTF has the front.
    constexpr double clearly = 0.1;
    const auto from = [](double x, double y, double z) { return FrontShare(glm::normalize(glm::dvec3(x, y, z))); };
    std::array shares{from(0.62, 0.42, 1),  from(-0.62, 0.42, 1),  from(1, 0.42, -0.62),
                      from(-1, 0.42, 0.62), from(-0.62, 0.42, -1), from(0.62, -0.42, 1)};
    forEachDrawnTriangle(picture, [&](std::size_t, const glm::dvec3* corners) {
        const glm::dvec3 normal = glm::cross(corners[1] - corners[0], corners[2] - corners[0]);
        for (FrontShare& share : shares) {
            share.add(normal);
        }
    });
    const FrontShare* best = &shares[0];
    for (const FrontShare& share : shares) {
        if (share.value() > best->value() + clearly) {
            best = &share;
        }
    }
    return best->direction();
}

} // namespace vexa::tool
