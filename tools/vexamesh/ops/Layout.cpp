#include "ops/Layout.h"

#include "base/Logging.h"
#include "io/gltf/PrimitiveRestart.h"
#include "ops/MeshConversion.h"

#include <stdexcept>

namespace vexa::tool {

namespace {

/// A mesh with the layout of a primitive and nothing in it.
mesh::MeshPtr layoutOf(const Document& document, const Primitive& primitive) {
    Primitive header = primitive;
    header.indices.clear();
    return mesh::Mesh::createEmptyMesh(toMesh(document, header));
}

std::string differenceOf(const mesh::MeshPtr& first, const mesh::MeshPtr& second) {
    std::string difference;
    const LogCapture capture([&](const std::string& line) { difference = line; });
    return mesh::Mesh::meshesAreCompatible(first, second, true) ? "" : difference;
}

std::string countDifference(const std::string& what, std::size_t first, std::size_t second) {
    return "Files do not have the same number of " + what + ": " + std::to_string(first) + " and " +
           std::to_string(second);
}

} // namespace

std::string findLayoutDifference(const Document& first, const Document& second) {
    if (first.meshes.size() != second.meshes.size()) {
        return countDifference("meshes", first.meshes.size(), second.meshes.size());
    }
    for (std::size_t m = 0; m < first.meshes.size(); ++m) {
        const Mesh& a = first.meshes[m];
        const Mesh& b = second.meshes[m];
        if (a.primitives.size() != b.primitives.size()) {
            return a.name + ": " + countDifference("primitives", a.primitives.size(), b.primitives.size());
        }
        for (std::size_t p = 0; p < a.primitives.size(); ++p) {
            const std::string difference =
                differenceOf(layoutOf(first, a.primitives[p]), layoutOf(second, b.primitives[p]));
            if (!difference.empty()) {
                return primitiveName(a, p) + ": " + difference;
            }
        }
    }
    return "";
}

std::string findMeshFault(const Document& document, const Primitive& primitive) {
    try {
        Primitive vertices = primitive;
        vertices.indices = withoutRestarts(std::move(vertices.indices));
        toMesh(document, vertices)->isValid();
        return "";
    } catch (const std::logic_error& error) {
        return error.what();
    }
}

std::vector<mesh::MeshFault> findMeshFaults(const Document& document, const Primitive& primitive) {
    return mesh::findFaults(*toMesh(document, primitive));
}

} // namespace vexa::tool
