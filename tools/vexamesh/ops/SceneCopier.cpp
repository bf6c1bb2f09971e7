#include "ops/SceneCopier.h"

#include "base/Errors.h"
#include "io/gltf/GltfExtensions.h"
#include "ops/MaterialCopier.h"
#include "ops/Placement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <glm/gtc/quaternion.hpp>
#include <map>
#include <optional>

namespace vexa::tool {

namespace {

/// The rotation that looks in the direction in which a matrix turns -z, its y upwards as far as possible.
glm::dquat rotationOf(const glm::dmat4& matrix) {
    const glm::dmat3 linear(matrix);
    const glm::dvec3 back = linear * glm::dvec3(0, 0, 1);
    const glm::dvec3 up = linear * glm::dvec3(0, 1, 0);
    const glm::dvec3 right = glm::cross(up, back);
    // Scaled to nothing in a direction, which leaves the others undefined.
    if (!(glm::length(right) > 0)) {
        return {1, 0, 0, 0};
    }
    const glm::dvec3 z = glm::normalize(back);
    const glm::dvec3 x = glm::normalize(right);
    return glm::normalize(glm::quat_cast(glm::dmat3(x, glm::cross(z, x), z)));
}

bool areFinite(const Json& values) {
    return std::all_of(values.begin(), values.end(),
                       [](const Json& value) { return std::isfinite(static_cast<float>(value.get<double>())); });
}

/// A node at the place and in the direction that a matrix gives it, without what it shows.
Json placedNode(const Json& source, const glm::dmat4& matrix, const std::string& where) {
    Json node = Json::object();
    for (const char* member : {"name", "extras"}) {
        if (source.contains(member)) {
            node[member] = source[member];
        }
    }
    const glm::dvec3 place(matrix[3]);
    const glm::dquat turn = rotationOf(matrix);
    Json translation = {place.x, place.y, place.z};
    Json rotation = {turn.x, turn.y, turn.z, turn.w};
    if (!areFinite(translation) || !areFinite(rotation)) {
        throw FormatError(where + " has a place that is not finite once it is placed, and glTF can hold only finite "
                                  "numbers");
    }
    node["translation"] = std::move(translation);
    node["rotation"] = std::move(rotation);
    return node;
}

/// The lights that a document defines.
const Json& lightsOf(const Document& document) {
    static const Json none = Json::object();
    const Json* const content = findExtension(document.asset.json, lightsExtension);
    return arrayMember(content == nullptr || !content->is_object() ? none : *content, "lights", lightsExtension);
}

} // namespace

void SceneCopier::add(const Document& document, const glm::dmat4& placement) {
    const Json& json = document.asset.json;
    const Json& cameras = arrayMember(json, "cameras", "");
    const Json& lights = lightsOf(document);
    std::map<std::size_t, std::size_t> copiedCameras;
    std::map<std::size_t, std::size_t> copiedLights;
    const auto copyOnce = [&](auto& copied, std::size_t index, const Json& entry, const auto& append) {
        const auto [place, isNew] = copied.try_emplace(index, 0);
        if (isNew) {
            noteExtensions(document, entry, builder_);
            place->second = append(entry);
        }
        return place->second;
    };
    for (const PlacedNode& placed : placedNodes(document)) {
        const Json& source = json["nodes"][placed.node];
        const std::string where = elementName("nodes", placed.node);
        const auto camera = optionalIndexMember(source, "camera", where, cameras.size());
        const Json* const light = findExtension(source, lightsExtension);
        if (!camera && light == nullptr) {
            continue;
        }
        Json node = placedNode(source, placement * placed.matrix, where);
        if (camera) {
            node["camera"] = copyOnce(copiedCameras, *camera, cameras[*camera],
                                      [&](const Json& entry) { return builder_.addEntry("cameras", entry); });
        }
        if (light != nullptr) {
            const std::size_t index =
                indexMember(*light, "light", where + ".extensions." + lightsExtension, lights.size());
            const std::size_t number = copyOnce(copiedLights, index, lights[index], [&](const Json& entry) {
                lights_.push_back(entry);
                return lights_.size() - 1;
            });
            node["extensions"][lightsExtension] = {{"light", number}};
        }
        builder_.addNode(std::move(node));
    }
}

void SceneCopier::finish() {
    if (!lights_.empty()) {
        builder_.addExtension(lightsExtension, {{"lights", std::move(lights_)}});
    }
}

} // namespace vexa::tool
