#pragma once

#include "vexa/mesh/Export.h"

namespace vexa::mesh::detail {

/// Raw bytes under a buffer. Two buffers may share one block.
///
/// The order of the virtual functions is part of the binary interface; the destructor is the last of them.
class VEXA_MESH_EXPORT BufferData {
public:
    /// The first byte, of any alignment. Valid until the next resize; may be null while the size is 0.
    virtual void* getData() = 0;
    virtual const void* getData() const = 0;

    virtual unsigned long getSizeInBytes() const = 0;

    /// Grows or shrinks the block. Remaining bytes are kept, new bytes are zero.
    ///
    /// \param sizeInBytes size after the call
    /// \throw std::length_error, std::bad_alloc nothing is changed
    virtual void resize(unsigned long sizeInBytes) = 0;

    virtual ~BufferData();
};

} // namespace vexa::mesh::detail
