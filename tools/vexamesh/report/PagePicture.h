#pragma once

#include "report/Picture.h"

#include <ostream>

namespace vexa::tool {

/// The 3D view with its controls and its legend.
void writePicture(std::ostream& out, const Picture& picture, bool hidesSteps);

/// The data of the view: arrays of little-endian numbers as Base64, and a little JSON.
void writePictureData(std::ostream& out, const Picture& picture);

} // namespace vexa::tool
