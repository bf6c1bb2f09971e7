#pragma once

#include <glm/vec3.hpp>

// The library reads and writes vectors as three packed floats, also in programs that are compiled in another way.
static_assert(sizeof(glm::vec3) == 3 * sizeof(float),
              "vexaMesh needs the packed types of glm: compile without GLM_FORCE_DEFAULT_ALIGNED_GENTYPES");
