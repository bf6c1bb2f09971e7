#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/detail/VectorBufferData.h"

#include <optional>

namespace vexa::mesh::detail {

/// Consecutive elements that start at the first byte of a storage. Valid until the buffer is resized.
struct PackedElements {
    VectorBufferData* storage; ///< null for storage of another class, to which nothing can be appended
    unsigned char* bytes;      ///< null while there are none
    unsigned long elementSizeInBytes;
    unsigned long elementCount;

    [[nodiscard]] unsigned char* element(unsigned long index) const {
        return index == 0 ? bytes : bytes + index * elementSizeInBytes;
    }

    /// Whether elements can be appended to the storage: nothing, not even a part of one, follows the last.
    [[nodiscard]] bool canGrow() const {
        return storage != nullptr && elementCount * elementSizeInBytes == storage->getSizeInBytes();
    }
};

struct PackedIndices : PackedElements {
    ComponentType type; ///< type of the elements, from the class of the buffer and not from its type field
    BufferData* data;   ///< the storage, whatever its class
};

/// The elements of a buffer if its class and the class of its storage are exactly the library's own, so that bulk access
/// cannot be observed; nothing for any other buffer, or if there are gaps.
std::optional<PackedElements> findPackedElements(AttributeBuffer& buffer);

/// \copydoc findPackedElements
std::optional<PackedIndices> findPackedIndices(IndexBuffer& buffer);

/// The same for a storage of any class, whose address is then queried.
std::optional<PackedIndices> findStoredIndices(IndexBuffer& buffer);

/// Elements at equal distances in a storage, which may hold others between them. Valid until the buffer is resized.
struct InterleavedElements {
    const BufferData* storage;
    unsigned char* bytes; ///< of the first element; null while there are none
    unsigned long elementSizeInBytes;
    unsigned long strideInBytes; ///< at least the size
};

/// As findPackedElements, with gaps. Elements that overlap, or of which the last ends after the storage, do not count.
std::optional<InterleavedElements> findInterleavedElements(AttributeBuffer& buffer);

/// Whether two rows of elements are identical or do not overlap.
bool areSameOrApart(const unsigned char* first, unsigned long firstSizeInBytes, const unsigned char* second,
                    unsigned long secondSizeInBytes);

} // namespace vexa::mesh::detail
