#include "report/ScenePositions.h"

#include "io/Accessors.h"
#include "ops/MeshConversion.h"
#include "ops/Placement.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace vexa::tool {

namespace {

std::vector<float> readPositions(const Document& document, std::size_t accessor) {
    const AccessorData values = toFloats(readAccessor(document.asset, accessor));
    std::vector<float> positions(3 * values.count);
    for (std::size_t i = 0; i < values.count; ++i) {
        for (std::size_t c = 0; c < std::min<std::size_t>(values.components, 3); ++c) {
            positions[3 * i + c] = static_cast<float>(values.component(i, c));
        }
    }
    return positions;
}

void makeFinite(std::vector<float>& positions) {
    for (float& value : positions) {
        value = std::isfinite(value) ? value : 0;
    }
}

} // namespace

ScenePositions::ScenePositions(const Document& document)
    : document_(document), skins_(document), placements_(document.meshes.size()) {
    for (const MeshInstance& instance : meshInstances(document)) {
        placements_.at(instance.mesh).push_back(instance.matrix);
    }
}

std::vector<glm::dmat4> ScenePositions::placements(std::size_t mesh) const {
    return placements_[mesh].empty() || skins_.skinOf(mesh) ? std::vector<glm::dmat4>{glm::dmat4(1)}
                                                            : placements_[mesh];
}

ScenePositions::Values ScenePositions::read(std::size_t mesh, const Primitive& primitive) {
    const Attribute* const attribute = primitive.findAttribute("POSITION");
    if (attribute == nullptr) {
        return std::make_shared<std::vector<float>>();
    }
    const std::optional<std::size_t> skin = skins_.skinOf(mesh);
    std::vector<std::size_t> source{attribute->accessor};
    if (skin) {
        source.push_back(*skin);
        for (const auto& [joints, weights] : Skins::weightsOf(primitive)) {
            source.insert(source.end(), {joints, weights});
        }
    }
    Values& known = known_[std::move(source)];
    if (known == nullptr) {
        std::vector<float> positions = readPositions(document_, attribute->accessor);
        makeFinite(positions);
        if (skin) {
            skins_.place(*skin, primitive, positions);
            makeFinite(positions);
        }
        known = std::make_shared<std::vector<float>>(std::move(positions));
    }
    return known;
}

} // namespace vexa::tool
