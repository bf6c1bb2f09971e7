#pragma once

#include "base/Json.h"

namespace vexa::tool {

/// How far the meshes of a file must be sound to be read.
enum class MeshCheck {
    Full,      ///< indices name vertices, and the attributes of a primitive are equally long
    References ///< only what reading takes: to look at meshes that may be broken
};

/// Checks everything that reading the meshes of a glTF 2 document relies on: the version and the extensions, the types
/// of the members that are used, that every reference finds its target, and that accessors stay inside their buffer
/// views and these inside their buffers, by the lengths that the document declares.
///
/// \throw FormatError says what is wrong and where
void checkDocument(const Json& document, MeshCheck check);

/// Bytes of one element of an accessor, its components packed as glTF wants them (the columns of matrices begin at
/// multiples of 4).
///
/// \param type a glTF type name such as "VEC3"
/// \return 0 for an unknown type or component type
std::size_t elementSize(std::uint64_t componentType, const std::string& type);

/// Components of a glTF type, such as 3 for "VEC3"; 0 for an unknown one.
std::size_t componentCount(const std::string& type);

} // namespace vexa::tool
