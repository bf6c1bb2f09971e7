#pragma once

#include "io/Asset.h"

namespace vexa::tool {

/// Makes a glTF document of a text OFF file: "OFF" after any of the prefixes "ST", "C", "N" and "4", which announce
/// texture coordinates, colours, normals and a homogeneous fourth coordinate. Faces become triangles; their colours split
/// vertices. Comments may stand anywhere.
///
/// \throw FormatError it is damaged or not such a file; says where
Asset readOff(const Bytes& content);

} // namespace vexa::tool
