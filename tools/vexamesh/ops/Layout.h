#pragma once

#include "io/Document.h"

#include <string>
#include <vector>
#include <vexa/mesh/Faults.h>

namespace vexa::tool {

/// Compares the layouts of two documents: primitive types, and the names, component types and component counts of the
/// attributes.
///
/// \return the first difference, with the name of its mesh; "" when there is none
std::string findLayoutDifference(const Document& first, const Document& second);

/// \return why a primitive is not valid: it has no positions, its attributes differ in length, or its indices name
///     vertices that it does not have; "" when it is valid
std::string findMeshFault(const Document& document, const Primitive& primitive);

/// Everything that is wrong with a primitive, by `findFaults`, with its positions and normals under the library's names.
std::vector<mesh::MeshFault> findMeshFaults(const Document& document, const Primitive& primitive);

} // namespace vexa::tool
