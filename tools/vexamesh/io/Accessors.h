#pragma once

#include "io/Asset.h"

#include <cstddef>
#include <string>
#include <vector>
#include <vexa/mesh/Types.h>

namespace vexa::tool {

/// The elements of an accessor, one after the other without gaps, whatever the file's layout is.
struct AccessorData {
    mesh::ComponentType componentType = mesh::FLOAT;
    std::string type; ///< glTF name, such as "VEC3"
    bool normalized = false;
    std::size_t components = 0; ///< of one element
    std::size_t count = 0;      ///< elements
    Bytes bytes;

    [[nodiscard]] std::size_t elementSize() const { return count == 0 ? 0 : bytes.size() / count; }

    /// A component as it is stored: normalised integers are not scaled.
    [[nodiscard]] double component(std::size_t element, std::size_t index) const;
};

/// Checks that sparse accessors replace elements that they have, which their data decides.
///
/// \throw FormatError one does not; the text says which
void checkSparseAccessors(const Asset& asset);

/// Reads an accessor, its sparse values included.
///
/// \throw FormatError a sparse index is out of range
AccessorData readAccessor(const Asset& asset, std::size_t index);

/// Reads an accessor as vertex indices.
///
/// \throw FormatError a sparse index is out of range
std::vector<unsigned int> readIndices(const Asset& asset, std::size_t index);

/// Checks indices as `readIndices` gives them.
///
/// \param vertices how many there are
/// \param restarts whether decoded restart indices may be among them
/// \throw FormatError an index is not below that, or is the restart index of its type; the text says which
void checkIndices(const Asset& asset, std::size_t index, const std::vector<unsigned int>& indices, std::size_t vertices,
                  bool restarts = false);

} // namespace vexa::tool
