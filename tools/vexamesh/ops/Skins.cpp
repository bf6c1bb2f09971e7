#include "ops/Skins.h"

#include "base/Errors.h"
#include "base/Json.h"
#include "io/Accessors.h"
#include "ops/MeshConversion.h"
#include "ops/Placement.h"

#include <algorithm>
#include <cstddef>
#include <glm/vec4.hpp>
#include <set>
#include <string>

namespace vexa::tool {

Skins::Skins(const Document& document) : document_(document), skins_(document.meshes.size()) {
    const Json& skins = arrayMember(document.asset.json, "skins", "");
    if (skins.empty()) {
        return;
    }
    const Json& nodes = arrayMember(document.asset.json, "nodes", "");
    std::map<std::size_t, glm::dmat4> matrices;
    std::map<std::size_t, std::set<std::optional<std::size_t>>> used; // by each mesh
    for (const PlacedNode& placed : placedNodes(document)) {
        const Json& node = nodes[placed.node];
        matrices[placed.node] = placed.matrix;
        if (node.contains("mesh")) {
            used[node["mesh"].get<std::size_t>()].insert(
                optionalIndexMember(node, "skin", elementName("nodes", placed.node), skins.size()));
        }
    }
    for (const auto& [mesh, choices] : used) {
        if (choices.size() == 1 && choices.begin()->has_value()) {
            skins_[mesh] = *choices.begin();
            joints_.emplace(**choices.begin(), jointMatrices(**choices.begin(), matrices));
        }
    }
}

std::optional<std::size_t> Skins::skinOf(std::size_t mesh) const {
    return skins_[mesh];
}

void Skins::place(std::size_t skin, const Primitive& primitive, std::vector<float>& positions) const {
    const std::vector<glm::dmat4>& joints = joints_.at(skin);
    std::vector<glm::dmat4> sums(positions.size() / 3, glm::dmat4(0));
    for (int set = 0;; ++set) {
        const Attribute* const jointsOf = primitive.findAttribute("JOINTS_" + std::to_string(set));
        const Attribute* const weightsOf = primitive.findAttribute("WEIGHTS_" + std::to_string(set));
        if (jointsOf == nullptr || weightsOf == nullptr) {
            break;
        }
        const AccessorData indices = readAccessor(document_.asset, jointsOf->accessor);
        const AccessorData weights = toFloats(readAccessor(document_.asset, weightsOf->accessor));
        const std::size_t count = std::min({sums.size(), indices.count, weights.count});
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t c = 0; c < std::min(indices.components, weights.components); ++c) {
                const double joint = indices.component(i, c);
                const double weight = weights.component(i, c);
                if (weight > 0 && joint >= 0 && joint < static_cast<double>(joints.size())) {
                    sums[i] += weight * joints[static_cast<std::size_t>(joint)];
                }
            }
        }
    }
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const glm::dvec4 position(positions[3 * i], positions[3 * i + 1], positions[3 * i + 2], 1);
        const glm::dvec4 moved = sums[i] * position;
        // The weights, whose sum this is, add up to 1 only within rounding.
        if (moved.w > 0) {
            for (int c = 0; c < 3; ++c) {
                positions[3 * i + static_cast<std::size_t>(c)] = static_cast<float>(moved[c] / moved.w);
            }
        }
    }
}

std::vector<glm::dmat4> Skins::jointMatrices(std::size_t skin, const std::map<std::size_t, glm::dmat4>& nodes) const {
    const Json& json = document_.asset.json;
    const Json& object = json["skins"][skin];
    const std::string where = elementName("skins", skin);
    std::vector<glm::dmat4> matrices;
    for (const Json& joint : arrayMember(object, "joints", where)) {
        const auto found = nodes.find(indexValue(joint, where + ".joints", json["nodes"].size()));
        matrices.push_back(found == nodes.end() ? glm::dmat4(1) : found->second);
    }
    const std::size_t accessors = arrayMember(json, "accessors", "").size();
    if (const auto inverse = optionalIndexMember(object, "inverseBindMatrices", where, accessors)) {
        const AccessorData values = toFloats(readAccessor(document_.asset, *inverse));
        if (values.components != 16) {
            throw FormatError(where + ".inverseBindMatrices is not MAT4");
        }
        for (std::size_t i = 0; i < std::min(matrices.size(), values.count); ++i) {
            glm::dmat4 matrix;
            for (std::size_t c = 0; c < 16; ++c) {
                matrix[static_cast<int>(c / 4)][static_cast<int>(c % 4)] = values.component(i, c);
            }
            matrices[i] *= matrix;
        }
    }
    return matrices;
}

} // namespace vexa::tool
