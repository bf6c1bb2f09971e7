#pragma once

#include "io/Asset.h"

#include <cstdint>
#include <string_view>

namespace vexa::tool {

/// Makes a glTF document of an STL file, binary or text: a mesh for each solid that has facets.
///
/// The loose triangles become a mesh: vertices whose positions are equal bit for bit are one, and the normals of the
/// facets, which the triangles imply, are left out. Colours of facets, as binary files may have them, split vertices.
///
/// \throw FormatError it is damaged or not an STL file; says where
Asset readStl(const Bytes& content);

/// Checks the size of an STL file before all of it is read.
///
/// \param begin    its first bytes, 64 KiB of them if there are as many
/// \param fileSize bytes
/// \throw FormatError it is not text, and its size contradicts the number of facets that it announces
void checkStlSize(std::string_view begin, std::uint64_t fileSize);

} // namespace vexa::tool
