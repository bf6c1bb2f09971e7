#include "io/gltf/PrimitiveRestart.h"

#include "io/gltf/GltfExtensions.h"

#include <utility>

namespace vexa::tool {

namespace {

bool isGroups(const Json& extension) {
    const auto groups = extension.is_object() ? extension.find("primitiveGroups") : extension.end();
    return groups != extension.end() && groups->is_array();
}

/// Calls `visit` with each primitive, and with each mesh after its primitives.
template <typename VisitPrimitive, typename VisitMesh>
void forEachPrimitiveAndMesh(Json& document, const VisitPrimitive& visitPrimitive, const VisitMesh& visitMesh) {
    if (!document.contains("meshes")) {
        return;
    }
    for (Json& mesh : document["meshes"]) {
        for (Json& primitive : mesh["primitives"]) {
            visitPrimitive(primitive);
        }
        visitMesh(mesh);
    }
}

} // namespace

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

unsigned int restartIndexOf(mesh::ComponentType type) {
    return type == mesh::UNSIGNED_BYTE ? 0xffU : type == mesh::UNSIGNED_SHORT ? 0xffffU : 0xffffffffU;
}

bool allowsRestart(const Json& document, const Json& primitive) {
    return canRestart(primitive) && (isListed(document, "extensionsUsed", restartExtension) ||
                                     isListed(document, "extensionsRequired", restartExtension));
}

void updateRestartExtensions(Json& document) {
    bool hasPrimitives = false;
    bool hasGroups = false;
    forEachPrimitiveAndMesh(
        document,
        [&](Json& primitive) {
            hasPrimitives = !takeExtension(primitive, restartExtension).is_null() || hasPrimitives;
        },
        [&](Json& mesh) {
            Json groups = takeExtension(mesh, restartExtension);
            if (isGroups(groups) && findExtension(mesh, restartGroupExtension) == nullptr) {
                mesh["extensions"][restartGroupExtension] = std::move(groups);
                hasGroups = true;
            }
        });
    if (hasPrimitives) {
        setListed(document, "extensionsUsed", restartExtension, true);
    }
    if (hasGroups) {
        setListed(document, "extensionsUsed", restartGroupExtension, true);
    }
}

void addRestartGroup(Json& mesh, std::size_t first, std::size_t count, std::size_t accessor) {
    Json primitives = Json::array();
    for (std::size_t i = 0; i < count; ++i) {
        primitives.push_back(first + i);
    }
    mesh["extensions"][restartGroupExtension]["primitiveGroups"].push_back(
        {{"primitives", std::move(primitives)}, {"indices", accessor}});
}

std::vector<std::size_t> restartGroupAccessors(const Json& mesh) {
    std::vector<std::size_t> accessors;
    const Json* extension = findExtension(mesh, restartGroupExtension);
    if (extension != nullptr && isGroups(*extension)) {
        for (const Json& group : (*extension)["primitiveGroups"]) {
            if (group.is_object() && group.contains("indices") && group["indices"].is_number_unsigned()) {
                accessors.push_back(group["indices"].get<std::size_t>());
            }
        }
    }
    return accessors;
}

std::vector<std::size_t> removeRestartGroups(Json& mesh) {
    std::vector<std::size_t> accessors = restartGroupAccessors(mesh);
    takeExtension(mesh, restartGroupExtension);
    return accessors;
}

void listRestartExtensions(Json& document, const std::function<bool(std::size_t)>& holdsRestarts) {
    bool hasRestarts = false;
    bool hasGroups = false;
    forEachPrimitiveAndMesh(
        document,
        [&](const Json& primitive) {
            hasRestarts = hasRestarts || (canRestart(primitive) && primitive.contains("indices") &&
                                          holdsRestarts(primitive["indices"].get<std::size_t>()));
        },
        [&](const Json& mesh) { hasGroups = hasGroups || findExtension(mesh, restartGroupExtension) != nullptr; });
    setListed(document, "extensionsUsed", restartExtension, hasRestarts);
    setListed(document, "extensionsRequired", restartExtension, hasRestarts);
    setListed(document, "extensionsUsed", restartGroupExtension, hasGroups);
    if (!hasGroups) {
        setListed(document, "extensionsRequired", restartGroupExtension, false);
    }
}

std::vector<unsigned int> withoutRestarts(std::vector<unsigned int> indices) {
    std::erase(indices, decodedRestart);
    return indices;
}

} // namespace vexa::tool
