#pragma once

#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Types.h"

#include <span>

namespace vexa::mesh::detail {

/// The index with all bits set, as IndexBuffer::getElement returns it: 255 for unsigned bytes, 2^64 - 1 for signed types;
/// 4294967295 for any other type.
unsigned long allOnesOf(ComponentType type);

/// The index type of a result with a number of vertices.
///
/// \param kept type of the input, or of the widest of several: what `IndexWidth::Keep` stays with if it is wide enough
/// \return a type for that many vertices, but for Bits8 and Bits16, which may be too narrow
ComponentType indexTypeFor(IndexWidth width, ComponentType kept, unsigned long vertexCount);

/// Checks that indices can be stored in a type; `restartIndex` always can, as the value with all bits set.
///
/// \param caller name of the public function, with which the messages begin
/// \throw std::invalid_argument the type is not an integer type
/// \throw std::length_error     an index is above the largest vertex of the type
void requireIndicesFit(const char* caller, ComponentType type, std::span<const unsigned int> indices);

} // namespace vexa::mesh::detail
