#pragma once

#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Mesh.h"

namespace vexa::mesh::detail {

/// The attribute buffer at a position of a mesh.
///
/// \throw std::logic_error "Attribute buffer is empty": the mesh holds an empty pointer there
std::shared_ptr<AttributeBuffer> requireAttributeBuffer(const Mesh& mesh, unsigned long index);

/// The number of vertices of a mesh: elements of the attribute "position", or of the first attribute if there is none.
///
/// \throw std::logic_error "Attribute buffer is empty": the mesh holds an empty pointer in place of the first attribute
unsigned long countVertices(const Mesh& mesh);

/// Checks that attributes can belong to one mesh, and returns its number of vertices.
///
/// \param caller name of the public function, with which the messages begin
/// \throw std::invalid_argument a pointer is empty, or the numbers of elements differ
unsigned long requireAttributes(const char* caller, const AttributeBuffers& attributes);

} // namespace vexa::mesh::detail
