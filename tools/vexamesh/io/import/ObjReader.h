#pragma once

#include "io/Asset.h"

#include <filesystem>

namespace vexa::tool {

/// Makes a glTF document of an OBJ file: a mesh per object or group, in it a primitive per material (and per set of
/// attributes that its faces have). Vertices that agree in all their indices are one. Texture coordinates are turned
/// upside down, as glTF counts them; normals are brought to unit length. A file of nothing but vertices becomes points.
///
/// \param file the name of the file: its material libraries and their pictures are looked for beside it
/// \throw FormatError it is no OBJ file, or holds nothing
Asset readObj(const Bytes& content, const std::filesystem::path& file);

} // namespace vexa::tool
