#include "Normals.h"

#include <algorithm>
#include <cmath>
#include <glm/geometric.hpp>
#include <numbers>
#include <random>

namespace bench {

NormalsPtr makeNormals(std::size_t count) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> coordinate(-1.0F, 1.0F);
    auto normals = std::make_shared<Normals>(count);
    std::generate(normals->begin(), normals->end(), [&] {
        const glm::vec3 direction(coordinate(random), coordinate(random), coordinate(random));
        return glm::normalize(direction + glm::vec3(0.0F, 0.0F, 1e-6F));
    });
    return normals;
}

std::string compareNormals(const Normals& normals, const std::function<glm::vec3(std::size_t)>& unpackedAt) {
    constexpr std::size_t samples = 10'000;
    constexpr float maxDegrees = 3.0F;
    float worst = 0;
    for (std::size_t i = 0; i < normals.size(); i += std::max<std::size_t>(normals.size() / samples, 1)) {
        const float cosine = glm::dot(normals[i], glm::normalize(unpackedAt(i)));
        const float degrees = std::acos(std::min(cosine, 1.0F)) * 180.0F / std::numbers::pi_v<float>;
        // Written so that a NaN counts as worst.
        worst = degrees <= worst ? worst : degrees;
    }
    return worst <= maxDegrees ? std::string() : "off by " + std::to_string(worst) + " degrees";
}

} // namespace bench
