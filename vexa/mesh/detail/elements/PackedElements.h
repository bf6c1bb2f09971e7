#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/detail/VectorBufferData.h"

#include <optional>

namespace vexa::mesh::detail {

/// Elements that lie one behind the other from the first byte of a storage on. Valid until the buffer is resized.
struct PackedElements {
    VectorBufferData* storage;
    unsigned char* bytes; ///< null while there are none
    unsigned long elementSizeInBytes;
    unsigned long elementCount;

    [[nodiscard]] unsigned char* element(unsigned long index) const {
        return index == 0 ? bytes : bytes + index * elementSizeInBytes;
    }

    /// Whether nothing, not even a part of an element, follows the last element in the storage.
    [[nodiscard]] bool endWithStorage() const { return elementCount * elementSizeInBytes == storage->getSizeInBytes(); }
};

struct PackedIndices : PackedElements {
    ComponentType type; ///< what the elements are; of the class of the buffer, not of its type field
};

/// The elements of a buffer whose class and whose storage's class are exactly the library's own, so that nobody can
/// tell whether they are reached in bulk or through the interface; nothing for any other buffer, or with gaps.
std::optional<PackedElements> findPackedElements(AttributeBuffer& buffer);

/// \copydoc findPackedElements
std::optional<PackedIndices> findPackedIndices(IndexBuffer& buffer);

/// Whether two rows of elements are one and the same, or share no byte.
bool areSameOrApart(const unsigned char* first, unsigned long firstSizeInBytes, const unsigned char* second,
                    unsigned long secondSizeInBytes);

} // namespace vexa::mesh::detail
