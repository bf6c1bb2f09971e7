#pragma once

#include "io/Asset.h"

#include <string>

namespace vexa::tool {

/// Makes a glTF document of a PLY, STL or OFF file. Normals, colours and texture coordinates of its vertices become
/// attributes, polygons are cut into triangles. The loose triangles of STL become a mesh: vertices whose positions are
/// equal bit for bit are one, and the normals of its facets, which the triangles have anyway, are left out.
///
/// \param extension of the file's name in small letters: ".ply", ".stl" or ".off"
/// \throw FormatError it is no such file, or holds nothing
Asset readWithAssimp(const Bytes& content, const std::string& extension);

} // namespace vexa::tool
