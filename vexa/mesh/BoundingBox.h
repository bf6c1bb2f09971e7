#pragma once

#include "vexa/mesh/GlmLayout.h"

#include <cstdint>
#include <glm/vec3.hpp>

// The installed glm has no axis-aligned box; this is the one that its users expect under this name.
namespace glm::detail {

/// Axis-aligned box between two corners.
template <typename T>
struct taabb {           // NOLINT(readability-identifier-naming)
    std::uint32_t flags; ///< for the program's use; the library neither reads nor writes it
    glm::vec<3, T> min;
    glm::vec<3, T> max;
};

} // namespace glm::detail
