#pragma once

#include "io/Asset.h"

#include <filesystem>

namespace vexa::tool {

/// Makes a glTF document of a PLY file.
///
/// - Faces and triangle strips become triangles, edges lines; a file of nothing but vertices becomes points.
/// - Normals, colours and texture coordinates become attributes. Those that belong to a corner or to a face split the
///   vertices where they differ. Every other number of a vertex becomes an attribute of its name in capitals after an
///   underscore: "confidence" is "_CONFIDENCE".
/// - Pictures named by comments ("comment TextureFile a.png") become textures of the faces.
///
/// The asset's `leftOut` names everything else that the file holds.
///
/// \param file the name of the file: its pictures are looked for beside it
/// \throw FormatError it is damaged or not a PLY file; says where
Asset readPly(const Bytes& content, const std::filesystem::path& file);

} // namespace vexa::tool
