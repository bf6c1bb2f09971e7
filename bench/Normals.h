#pragma once

#include <cstddef>
#include <functional>
#include <glm/vec3.hpp>
#include <memory>
#include <string>
#include <vector>

namespace bench {

using Normals = std::vector<glm::vec3>;
using NormalsPtr = std::shared_ptr<const Normals>;

/// Unit vectors in all directions, the same in every run.
NormalsPtr makeNormals(std::size_t count);

/// Compares the directions of some of the normals with what unpacking gave for them, of whatever length.
///
/// \return empty when each is near enough for two bytes, otherwise the worst
std::string compareNormals(const Normals& normals, const std::function<glm::vec3(std::size_t)>& unpackedAt);

} // namespace bench
