#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/Mesh.h"

namespace vexa::mesh {

/// How much each triangle counts in the normals of its corners.
enum class NormalWeighting {
    Angle, ///< as much as its angle at the corner: independent of how the surface is cut into triangles
    Area   ///< as much as its area
};

/// Options of `computeNormals`.
struct NormalOptions {
    /// Angle between the normals of two triangles, in radians, above which their common edge is sharp. From pi on, as by
    /// default, no vertex is split.
    float creaseAngle = 3.1415927F;
    NormalWeighting weighting = NormalWeighting::Angle;
};

/// Computes the normals of a mesh from its triangles.
///
/// Vertices with equal positions get equal normals, whatever their other attributes, unless a sharp edge separates them.
/// Edges of more than two triangles are sharp, too. A vertex between sharp edges is split: its first part stays in place,
/// the others follow after all vertices. A vertex in no triangle with an area gets the normal (0, 0, 0).
///
/// \param mesh    triangles of any type, with positions of three floats; not changed
/// \param options see NormalOptions
/// \return a mesh with packed buffers of its own, in which the attribute "normal" replaces that of the input or follows
///         its attributes. If no vertex is split, primitive type and indices are those of the input; otherwise it is a
///         `TRIANGLES` list without the collapsed triangles
/// \throw std::invalid_argument as classifyEdges
/// \throw std::length_error     as classifyEdges, or the vertices of the result need more than 32 bits
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT MeshPtr computeNormals(const Mesh& mesh, const NormalOptions& options = {});

} // namespace vexa::mesh
