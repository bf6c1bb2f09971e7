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
#include <utility>

namespace vexa::tool {

Skins::Skins(const Document& document) : document_(document), skins_(document.meshes.size()) {
    const Json& skins = arrayMember(document.asset.json, "skins", "");
    if (skins.empty()) {
        return;
    }
    const Json& nodes = arrayMember(document.asset.json, "nodes", "");
    std::map<std::size_t, glm::dmat4> matrices;
    std::map<std::size_t, std::set<std::optional<std::size_t>>> used; // by each mesh
    const auto warn = [&](const FormatError& error) {
        warnings_.push_back(std::string(error.what()) + ": drawn without this skin");
    };
    for (const PlacedNode& placed : placedNodes(document)) {
        const Json& node = nodes[placed.node];
        matrices[placed.node] = placed.matrix;
        if (!node.contains("mesh")) {
            continue;
        }
        std::set<std::optional<std::size_t>>& choices = used[node["mesh"].get<std::size_t>()];
        try {
            choices.insert(optionalIndexMember(node, "skin", elementName("nodes", placed.node), skins.size()));
        } catch (const FormatError& error) {
            if (choices.insert(std::nullopt).second) {
                warn(error);
            }
        }
    }
    std::map<std::size_t, std::vector<std::size_t>> meshes; // of each skin
    for (const auto& [mesh, choices] : used) {
        if (choices.size() > 1) {
            warnings_.push_back(document.meshes.at(mesh).name +
                                " has several skins, or one in some places only: drawn without them");
        } else if (const auto skin = *choices.begin()) {
            meshes[*skin].push_back(mesh);
        }
    }
    for (const auto& [skin, wearers] : meshes) {
        try {
            joints_.emplace(skin, jointMatrices(skin, matrices));
            for (const std::size_t mesh : wearers) {
                skins_.at(mesh) = skin;
            }
        } catch (const FormatError& error) {
            warn(error);
        }
    }
}

std::optional<std::size_t> Skins::skinOf(std::size_t mesh) const {
    return skins_.at(mesh);
}

std::vector<std::pair<std::size_t, std::size_t>> Skins::weightsOf(const Primitive& primitive) {
    std::vector<std::pair<std::size_t, std::size_t>> accessors;
    for (;;) {
        const std::string set = std::to_string(accessors.size());
        const Attribute* const joints = primitive.findAttribute("JOINTS_" + set);
        const Attribute* const weights = primitive.findAttribute("WEIGHTS_" + set);
        if (joints == nullptr || weights == nullptr) {
            return accessors;
        }
        accessors.emplace_back(joints->accessor, weights->accessor);
    }
}

void Skins::place(std::size_t skin, const Primitive& primitive, std::vector<float>& positions) const {
    const std::vector<glm::dmat4>& joints = joints_.at(skin);
    std::vector<glm::dvec4> sums(positions.size() / 3, glm::dvec4(0));
    for (const auto& [jointsAt, weightsAt] : weightsOf(primitive)) {
        const AccessorData indices = readAccessor(document_.asset, jointsAt);
        const AccessorData weights = toFloats(readAccessor(document_.asset, weightsAt));
        const std::size_t count = std::min({sums.size(), indices.count, weights.count});
        for (std::size_t i = 0; i < count; ++i) {
            const glm::dvec4 position(positions[3 * i], positions[3 * i + 1], positions[3 * i + 2], 1);
            for (std::size_t c = 0; c < std::min(indices.components, weights.components); ++c) {
                const double joint = indices.component(i, c);
                const double weight = weights.component(i, c);
                if (weight > 0 && joint >= 0 && joint < static_cast<double>(joints.size())) {
                    sums[i] += weight * (joints[static_cast<std::size_t>(joint)] * position);
                }
            }
        }
    }
    for (std::size_t i = 0; i < sums.size(); ++i) {
        // The weights, whose sum this is, add up to 1 only within rounding.
        if (sums[i].w > 0) {
            for (int c = 0; c < 3; ++c) {
                positions[3 * i + static_cast<std::size_t>(c)] = static_cast<float>(sums[i][c] / sums[i].w);
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
