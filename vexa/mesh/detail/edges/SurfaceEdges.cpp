#include "vexa/mesh/detail/edges/SurfaceEdges.h"

#include "vexa/mesh/Strips.h"
#include "vexa/mesh/Views.h"
#include "vexa/mesh/detail/edges/EdgeLists.h"
#include "vexa/mesh/detail/strips/TriangleList.h"
#include "vexa/mesh/detail/vertices/AttributeElements.h"
#include "vexa/mesh/detail/vertices/VertexClasses.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <glm/geometric.hpp>
#include <stdexcept>
#include <string>

namespace vexa::mesh::detail {

SurfaceEdges::SurfaceEdges(const char* caller, const Mesh& mesh) {
    checkContainsTriangles(caller, mesh.getPrimitiveType());
    attributes = checkedAttributes(caller, mesh);
    const auto found = std::find_if(attributes.begin(), attributes.end(), [](const auto& attribute) {
        return attribute->getAttributeName() == "position" && attribute->isVec3f();
    });
    if (found == attributes.end()) {
        throw std::invalid_argument(std::string(caller) + ": the mesh lacks an attribute \"position\" of three floats");
    }
    positions = toElements<glm::vec3>(**found);
    for (glm::vec3& position : positions) {
        position += 0.0F; // without the sign of a zero
    }
    const VertexRow row{reinterpret_cast<const unsigned char*>(positions.data()), sizeof(glm::vec3), sizeof(glm::vec3)};
    places = firstEqual({&row, 1}, positions.size());
    triangles = toTriangles(mesh.getPrimitiveType(), checkedIndices(caller, mesh, positions.size()));

    std::vector<unsigned int> placed(triangles.size());
    std::transform(triangles.begin(), triangles.end(), placed.begin(), [this](unsigned int v) { return places[v]; });
    edges.reserve(triangles.size() / 2 + 16);
    EdgeLists lists(caller, placed);
    lists.walk([this](std::uint32_t edge, std::size_t triangle, std::uint32_t place, bool isNew) {
        const auto halfEdge = static_cast<std::uint32_t>(triangle + place);
        if (isNew) {
            edges.push_back({1, {halfEdge, halfEdge}});
        } else if (++edges[edge].triangleCount == 2) {
            edges[edge].halfEdges[1] = halfEdge;
        }
    });
    normals.reserve(triangles.size() / 3);
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const glm::dvec3 a(positions[triangles[i]]);
        normals.push_back(
            glm::cross(glm::dvec3(positions[triangles[i + 1]]) - a, glm::dvec3(positions[triangles[i + 2]]) - a));
    }
}

double SurfaceEdges::angleAt(const SurfaceEdge& edge) const {
    const glm::dvec3& a = normals[edge.halfEdges[0] / 3];
    const glm::dvec3 b = runsSameWay(edge) ? -normals[edge.halfEdges[1] / 3] : normals[edge.halfEdges[1] / 3];
    return std::atan2(glm::length(glm::cross(a, b)), glm::dot(a, b));
}

} // namespace vexa::mesh::detail
