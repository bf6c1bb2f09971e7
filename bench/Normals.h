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

/// Random unit vectors, the same in every run.
NormalsPtr makeNormals(std::size_t count);

/// Compares the directions of a sample of the normals with those of their unpacked versions, which may have any length.
///
/// \return empty if all are as close as two bytes allow, otherwise the largest error
std::string compareNormals(const Normals& normals, const std::function<glm::vec3(std::size_t)>& unpackedAt);

} // namespace bench
