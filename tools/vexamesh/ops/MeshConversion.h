#pragma once

#include "io/Document.h"

#include <string>
#include <vector>
#include <vexa/mesh/Mesh.h>

namespace vexa::tool {

/// The library's name for an attribute: "position" and "normal" for "POSITION" and "NORMAL", which the library treats
/// specially. Other names stay the same.
std::string libraryName(const std::string& gltfName);

/// The inverse of `libraryName`.
std::string gltfName(const std::string& libraryName);

/// Copies values into an attribute buffer.
std::shared_ptr<mesh::AttributeBuffer> toAttributeBuffer(const AccessorData& values, const std::string& name);

/// Copies a primitive into a mesh of the library: indices, if the file has any, in their type in the file, and
/// attributes as stored, "position" first.
mesh::MeshPtr toMesh(const Document& document, const Primitive& primitive);

/// The values of an attribute as floats. Normalised integers are scaled to -1 to 1 or 0 to 1, as glTF specifies.
AccessorData toFloats(const AccessorData& values);

/// Scales each element of a buffer of three floats to unit length. Elements without a direction become (0, 0, 1).
void normalize(mesh::AttributeBuffer& normals);

/// Gives each tangent, the first three of four floats, a direction: one without becomes a unit vector across the normal
/// of its vertex, or along x where normals are missing.
///
/// \param normals three floats of length 1 per tangent; may be null
void restoreTangents(mesh::AttributeBuffer& tangents, mesh::AttributeBuffer* normals);

/// The name of a primitive in reports: "mesh 2, primitive 1", or just the mesh's name if it has only one.
std::string primitiveName(const Mesh& mesh, std::size_t index);

} // namespace vexa::tool
