#pragma once

#include "base/Bytes.h"
#include "report/Picture.h"

#include <glm/vec3.hpp>

namespace vexa::tool {

constexpr unsigned int previewWidth = 800;
constexpr unsigned int previewHeight = 420;

/// A PNG file of the model and its strips, as pages show it that refer to a report.
///
/// \param direction from the model's centre to the eye, of length 1
Bytes drawPreview(const Picture& picture, const glm::dvec3& direction);

} // namespace vexa::tool
