#pragma once

#include "io/Document.h"

#include <string>
#include <vector>
#include <vexa/mesh/Mesh.h>

namespace vexa::tool {

/// The name that the library gives an attribute: "position" and "normal" for glTF's "POSITION" and "NORMAL", which it
/// treats specially; others keep theirs.
std::string libraryName(const std::string& gltfName);

/// The way back.
std::string gltfName(const std::string& libraryName);

/// An attribute buffer of the library with these values.
std::shared_ptr<mesh::AttributeBuffer> toAttributeBuffer(const AccessorData& values, const std::string& name);

/// A primitive as a mesh of the library: the indices in the type of the file (none when it has none), the attributes as
/// they are stored, "position" first.
mesh::MeshPtr toMesh(const Document& document, const Primitive& primitive);

/// The values of an attribute as floats: normalised integers become -1 to 1 or 0 to 1, as glTF wants.
AccessorData toFloats(const AccessorData& values);

/// Gives a buffer of three floats per element unit length, element by element. What has no direction becomes (0, 0, 1).
void normalize(mesh::AttributeBuffer& normals);

/// "mesh 2, primitive 1": how reports name a primitive of a mesh with several.
std::string primitiveName(const Mesh& mesh, std::size_t index);

} // namespace vexa::tool
