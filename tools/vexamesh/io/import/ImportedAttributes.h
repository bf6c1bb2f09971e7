#pragma once

#include "io/AssetBuilder.h"

#include <optional>
#include <string>
#include <vector>

namespace vexa::tool {

// Attributes of imported files, as glTF wants them. Values that glTF cannot hold are named in `leftOut`, the list that
// the asset carries along.

/// Positions, three numbers each.
///
/// \throw FormatError one of them is not finite
NewAttribute positionAttribute(const std::vector<float>& values);

/// Normals, three numbers each, scaled to unit length; nothing if one of them has no direction.
std::optional<NewAttribute> normalAttribute(std::vector<float> values, std::vector<std::string>& leftOut);

/// Texture coordinates, two numbers each, the second of which counts from the bottom of the picture; glTF counts from
/// the top. Nothing if one of them is not finite.
std::optional<NewAttribute> texcoordAttribute(std::vector<float> values, std::vector<std::string>& leftOut);

/// Colours of three or four components, clamped to the range from 0 to 1; nothing if one of them is not finite.
std::optional<NewAttribute> colorAttribute(std::vector<float> values, std::size_t components,
                                           std::vector<std::string>& leftOut);

/// Divides colours by 255 if one of their components is greater than 1. Alpha, the fourth component, is judged by
/// itself: files that count colours up to 255 may write an opaque alpha as 1.
void scaleByteColors(std::vector<float>& values, std::size_t components);

/// "3 faces", "1 face": how messages count.
std::string countedWord(std::size_t count, const std::string& noun);

} // namespace vexa::tool
