#pragma once

#include "io/Asset.h"

#include <cstddef>
#include <string>
#include <vector>
#include <vexa/mesh/Types.h>

namespace vexa::tool {

/// The elements of an accessor, tightly packed, whatever the layout in the file.
struct AccessorData {
    mesh::ComponentType componentType = mesh::FLOAT;
    std::string type; ///< glTF name, such as "VEC3"
    bool normalized = false;
    std::size_t components = 0; ///< of one element
    std::size_t count = 0;      ///< elements
    Bytes bytes;

    [[nodiscard]] std::size_t elementSize() const { return count == 0 ? 0 : bytes.size() / count; }

    /// A component as stored: normalised integers are not scaled.
    [[nodiscard]] double component(std::size_t element, std::size_t index) const;
};

/// Checks that the indices of sparse accessors, which are part of the buffers, are in range.
///
/// \throw FormatError names the first accessor with an index out of range
void checkSparseAccessors(const Asset& asset);

/// Reads an accessor, including its sparse values.
///
/// \throw FormatError a sparse index is out of range
AccessorData readAccessor(const Asset& asset, std::size_t index);

/// Reads an accessor as vertex indices.
///
/// \throw FormatError a sparse index is out of range
std::vector<unsigned int> readIndices(const Asset& asset, std::size_t index);

/// Checks indices that `readIndices` returned.
///
/// \param vertices number of vertices
/// \param restarts whether decoded restart indices are allowed
/// \throw FormatError names the first index that is not below `vertices`, or is the restart index of its type
void checkIndices(const Asset& asset, std::size_t index, const std::vector<unsigned int>& indices, std::size_t vertices,
                  bool restarts = false);

} // namespace vexa::tool
