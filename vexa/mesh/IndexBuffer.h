#pragma once

#include "vexa/mesh/Buffer.h"

#include <memory>

namespace vexa::mesh {

/// Buffer of single integers, written and read as 64-bit values whatever their type.
///
/// The order of the virtual functions is part of the binary interface.
class VEXA_MESH_EXPORT IndexBuffer : public Buffer {
public:
    /// Creates an index buffer without elements, tightly packed.
    ///
    /// \param type one of the six integer types, `BYTE` to `UNSIGNED_INT`
    /// \return an empty pointer for any other type, `FLOAT` included
    /// \throw std::bad_alloc if memory runs out
    static std::shared_ptr<IndexBuffer> createDefault(ComponentType type);

    ~IndexBuffer() override;

    /// Reads one element: signed types are sign-extended (a stored byte -1 reads 18446744073709551615), unsigned types
    /// zero-extended.
    ///
    /// \param index 0-based element; not checked against getElementCount()
    virtual unsigned long getElement(unsigned long index) const = 0;

    /// Writes one element.
    ///
    /// \param index 0-based element; not checked against getElementCount()
    /// \param value truncated to the width of the component type; neither checked nor saturated
    virtual void setElement(unsigned long index, unsigned long value) = 0;
};

} // namespace vexa::mesh
