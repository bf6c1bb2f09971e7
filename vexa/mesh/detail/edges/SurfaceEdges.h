#pragma once

#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Mesh.h"

#include <cstdint>
#include <glm/vec3.hpp>
#include <vector>

namespace vexa::mesh::detail {

/// An edge between vertices of equal positions, and the half-edges of its first two triangles.
struct SurfaceEdge {
    std::uint32_t triangleCount;
    std::uint32_t halfEdges[2]; ///< positions of their first corners in the triangle list
};

/// The triangles of a mesh and their edges, with vertices of equal positions as one.
struct SurfaceEdges {
    /// \param caller name of the public function, with which the messages begin
    /// \throw std::invalid_argument, std::length_error, std::bad_alloc as classifyEdges
    SurfaceEdges(const char* caller, const Mesh& mesh);

    /// The position in the triangle list of the corner after another.
    [[nodiscard]] static std::uint32_t next(std::uint32_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }
    /// Whether both triangles of an edge run along it the same way.
    [[nodiscard]] bool runsSameWay(const SurfaceEdge& edge) const {
        return places[triangles[edge.halfEdges[0]]] == places[triangles[edge.halfEdges[1]]];
    }
    /// The angle between the normals of its two triangles, one of them turned over if their windings disagree.
    [[nodiscard]] double angleAt(const SurfaceEdge& edge) const;

    AttributeBuffers attributes;
    std::vector<glm::vec3> positions;
    std::vector<std::uint32_t> places;   ///< per vertex the first one of equal position
    std::vector<unsigned int> triangles; ///< without collapsed ones
    std::vector<glm::dvec3> normals;     ///< per triangle, twice as long as its area is large
    std::vector<SurfaceEdge> edges;
};

} // namespace vexa::mesh::detail
