// Measures and picks triangles of lists and strips of any index width with the same loop; no indices are copied.
// usage: walkTriangles MODEL.obj

#include "ObjFile.h"

#include <vexa/mesh.h>

#include <array>
#include <exception>
#include <glm/geometric.hpp>
#include <iostream>
#include <optional>

using namespace vexa::mesh;

namespace {

double computeArea(const Mesh& mesh) {
    const auto positions = elementsOf<glm::vec3>(mesh, "position");
    double area = 0;
    for (const auto [a, b, c] : trianglesOf(mesh)) {
        area += 0.5 * glm::length(glm::cross(positions[b] - positions[a], positions[c] - positions[a]));
    }
    return area;
}

/// Where a line from one point to another meets a triangle, from 0 to 1; Möller and Trumbore 1997.
std::optional<float> meet(const std::array<glm::vec3, 3>& p, const glm::vec3& from, const glm::vec3& to) {
    const glm::vec3 direction = to - from;
    const glm::vec3 across = glm::cross(direction, p[2] - p[0]);
    const float determinant = glm::dot(p[1] - p[0], across);
    const glm::vec3 start = from - p[0];
    const glm::vec3 normal = glm::cross(start, p[1] - p[0]);
    const float u = glm::dot(start, across) / determinant;
    const float v = glm::dot(direction, normal) / determinant;
    const float t = glm::dot(p[2] - p[0], normal) / determinant;
    return u >= 0 && v >= 0 && u + v <= 1 && t >= 0 && t <= 1 ? std::optional(t) : std::nullopt;
}

/// The nearest point of the mesh on a line, from 0 to 1.
std::optional<float> pick(const Mesh& mesh, const glm::vec3& from, const glm::vec3& to) {
    const auto positions = elementsOf<glm::vec3>(mesh, "position");
    std::optional<float> nearest;
    for (const auto& [a, b, c] : trianglesOf(mesh)) {
        const auto t = meet({positions[a], positions[b], positions[c]}, from, to);
        if (t && (!nearest || *t < *nearest)) {
            nearest = t;
        }
    }
    return nearest;
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: walkTriangles MODEL.obj\n";
        return 2;
    }
    const ObjFile file(argv[1]);
    const AttributeBuffers attributes{makeAttribute("position", file.positions)};
    const MeshPtr list = makeMesh(TRIANGLES, file.triangles, attributes, {.indexWidth = IndexWidth::Bits32});
    const MeshPtr strip = makeMesh(buildPrimitives(file.triangles, {.buildFans = true}), attributes);

    const glm::vec3& corner = file.positions[file.triangles[0]];
    const glm::vec3 outside = 3.0F * corner;
    for (const MeshPtr& mesh : {list, strip}) {
        const auto hit = pick(*mesh, outside, -outside);
        std::cout << getStringForPrimitiveType(mesh->getPrimitiveType()) << " of "
                  << getStringForComponentType(mesh->getIndexBuffer()->getComponentType()) << ": area "
                  << computeArea(*mesh) << ", hit at " << (hit ? *hit : -1.0F) << '\n';
    }
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
