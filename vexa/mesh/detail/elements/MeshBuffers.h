#pragma once

#include "vexa/mesh/Mesh.h"

namespace vexa::mesh::detail {

/// The attribute buffer at a position of a mesh.
///
/// \throw std::logic_error "Attribute buffer is empty": the mesh holds an empty pointer there
std::shared_ptr<AttributeBuffer> requireAttributeBuffer(const Mesh& mesh, unsigned long index);

} // namespace vexa::mesh::detail
