#pragma once

#include "io/AssetBuilder.h"

#include <string>
#include <vector>

namespace vexa::tool {

// Attributes of imported files, as glTF wants them. An attribute that glTF cannot hold is not added, but named in
// `leftOut`, the list that the asset carries along.

/// Positions, three numbers each.
///
/// \throw FormatError one of them is not finite
NewAttribute positionAttribute(const std::vector<float>& values);

/// Adds normals, three numbers each, scaled to unit length, unless one of them has no direction.
void addNormals(std::vector<NewAttribute>& attributes, std::vector<float> values, std::vector<std::string>& leftOut);

/// Adds texture coordinates, two numbers each, the second of which counts from the bottom of the picture; glTF counts
/// from the top. Adds nothing if one of them is not finite.
///
/// \param set the number at the end of the attribute's name
void addTexcoords(std::vector<NewAttribute>& attributes, std::vector<float> values, std::vector<std::string>& leftOut,
                  int set = 0);

/// Adds colours of three or four components, clamped to the range from 0 to 1, unless one of them is not finite.
void addColors(std::vector<NewAttribute>& attributes, std::vector<float> values, std::size_t components,
               std::vector<std::string>& leftOut);

/// Divides colours by 255 if one of their components is greater than 1. Alpha, the fourth component, is judged by
/// itself: files that count colours up to 255 may write an opaque alpha as 1.
void scaleByteColors(std::vector<float>& values, std::size_t components);

} // namespace vexa::tool
