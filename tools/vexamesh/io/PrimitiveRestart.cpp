#include "io/PrimitiveRestart.h"

namespace vexa::tool {

namespace {

bool hasExtension(const Json& object) {
    const auto extensions = object.find("extensions");
    return extensions != object.end() && extensions->is_object() && extensions->contains(restartExtension);
}

void removeExtension(Json& object) {
    if (hasExtension(object)) {
        object["extensions"].erase(restartExtension);
        if (object["extensions"].empty()) {
            object.erase("extensions");
        }
    }
}

bool isListed(const Json& document, const char* key) {
    const Json& names = arrayMember(document, key, "");
    return std::find(names.begin(), names.end(), restartExtension) != names.end();
}

void removeFromList(Json& document, const char* key) {
    const auto found = document.find(key);
    if (found == document.end()) {
        return;
    }
    Json kept = Json::array();
    for (Json& name : *found) {
        if (name != restartExtension) {
            kept.push_back(std::move(name));
        }
    }
    if (kept.empty()) {
        document.erase(key);
    } else {
        *found = std::move(kept);
    }
}

bool canRestart(const Json& primitive) {
    switch (primitive.value("mode", static_cast<int>(mesh::TRIANGLES))) {
    case mesh::LINE_LOOP:
    case mesh::LINE_STRIP:
    case mesh::TRIANGLE_STRIP:
    case mesh::TRIANGLE_FAN:
        return true;
    default:
        return false;
    }
}

} // namespace

unsigned int restartIndexOf(mesh::ComponentType type) {
    return type == mesh::UNSIGNED_BYTE ? 0xffU : type == mesh::UNSIGNED_SHORT ? 0xffffU : 0xffffffffU;
}

bool allowsRestart(const Json& document, const Json& primitive) {
    return canRestart(primitive) && (hasExtension(primitive) || isListed(document, "extensionsUsed") ||
                                     isListed(document, "extensionsRequired"));
}

const Json& restartGroups(const Json& mesh) {
    static const Json none = Json::array();
    if (!hasExtension(mesh)) {
        return none;
    }
    const Json& extension = mesh["extensions"][restartExtension];
    const bool hasGroups = extension.is_object() && extension.contains("primitiveGroups");
    return hasGroups && extension["primitiveGroups"].is_array() ? extension["primitiveGroups"] : none;
}

void addRestartGroup(Json& mesh, std::size_t first, std::size_t count, std::size_t accessor) {
    Json primitives = Json::array();
    for (std::size_t i = 0; i < count; ++i) {
        primitives.push_back(first + i);
    }
    mesh["extensions"][restartExtension]["primitiveGroups"].push_back(
        {{"primitives", std::move(primitives)}, {"indices", accessor}});
}

std::vector<std::size_t> removeRestartGroups(Json& mesh) {
    std::vector<std::size_t> accessors;
    for (const Json& group : restartGroups(mesh)) {
        if (group.is_object() && group.contains("indices") && group["indices"].is_number_unsigned()) {
            accessors.push_back(group["indices"].get<std::size_t>());
        }
    }
    removeExtension(mesh);
    return accessors;
}

void markRestart(Json& primitive, bool restarts) {
    if (!restarts) {
        removeExtension(primitive);
    } else if (!hasExtension(primitive)) {
        primitive["extensions"][restartExtension] = Json::object();
    }
}

void listRestartExtension(Json& document) {
    bool isUsed = false;
    for (const Json& mesh : arrayMember(document, "meshes", "")) {
        const Json& primitives = mesh["primitives"];
        isUsed = isUsed || hasExtension(mesh) || std::any_of(primitives.begin(), primitives.end(), hasExtension);
    }
    if (!isUsed) {
        removeFromList(document, "extensionsUsed");
        removeFromList(document, "extensionsRequired");
    } else if (!isListed(document, "extensionsUsed")) {
        document["extensionsUsed"].push_back(restartExtension);
    }
}

std::vector<unsigned int> withoutRestarts(std::vector<unsigned int> indices) {
    std::erase(indices, decodedRestart);
    return indices;
}

} // namespace vexa::tool
