#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/Types.h"

namespace vexa::mesh {

/// Typed view of a block of raw bytes: equally spaced elements of one or more components of one scalar type.
///
/// The sizes are fixed for the life of a buffer; only the element count changes. Several threads may
/// read a buffer at the same time; writing requires exclusive access.
///
/// The order of the virtual functions is part of the binary interface.
class VEXA_MESH_EXPORT Buffer {
public:
    virtual ~Buffer();

    /// Scalar type of one component.
    virtual ComponentType getComponentType() const = 0;

    /// Components in one element.
    virtual unsigned long getComponentCountPerElement() const = 0;

    /// Size of one component in bytes; 0 for an unknown component type.
    virtual unsigned long getComponentSizeInBytes() const = 0;

    /// Size of one element in bytes: component size times component count.
    virtual unsigned long getElementSizeInBytes() const = 0;

    /// Distance in bytes between the starts of consecutive elements.
    virtual unsigned long getElementStrideInBytes() const = 0;

    /// Position in bytes of the first element within the storage.
    virtual unsigned long getElementOffsetInBytes() const = 0;

    /// Number of whole strides that the storage holds. The offset is not subtracted. 0 for a stride of 0.
    virtual unsigned long getElementCount() const = 0;

    /// Grows or shrinks to a number of elements. Remaining elements keep their bytes, new bytes are zero.
    ///
    /// \param elementCount number of elements; a stride of 0 leaves the buffer without any
    /// \throw std::length_error the size in bytes exceeds 64 bits or the limit of the storage; nothing is changed
    /// \throw std::bad_alloc    if memory runs out; nothing is changed
    /// Cost: linear in the number of new elements, and in all of them when the storage moves.
    virtual void resize(unsigned long elementCount) = 0;
};

} // namespace vexa::mesh
