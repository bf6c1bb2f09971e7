#pragma once

#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/detail/DefaultBuffer.h"

namespace vexa::mesh::detail {

/// Index buffer whose storage is an array of `T`; instantiated in the library for the six types below.
///
/// It holds two `Buffer` sub-objects. Every `Buffer` operation is overridden once, so that both views answer alike.
template <typename T>
class VEXA_MESH_EXPORT DefaultIndexBuffer : public DefaultBuffer, public IndexBuffer {
public:
    /// \copydoc DefaultBuffer::DefaultBuffer
    DefaultIndexBuffer(ComponentType type, unsigned long componentCount, unsigned long strideInBytes,
                       unsigned long offsetInBytes, std::shared_ptr<BufferData> data);

    ComponentType getComponentType() const override;
    unsigned long getComponentCountPerElement() const override;
    unsigned long getComponentSizeInBytes() const override;
    unsigned long getElementSizeInBytes() const override;
    unsigned long getElementStrideInBytes() const override;
    unsigned long getElementOffsetInBytes() const override;
    unsigned long getElementCount() const override;
    void resize(unsigned long elementCount) override;

    /// Elements are `sizeof(T)` bytes apart from the first byte of the storage on: stride and offset are not used.
    unsigned long getElement(unsigned long index) const override;
    void setElement(unsigned long index, unsigned long value) override;
};

extern template class DefaultIndexBuffer<signed char>;
extern template class DefaultIndexBuffer<unsigned char>;
extern template class DefaultIndexBuffer<short>;
extern template class DefaultIndexBuffer<unsigned short>;
extern template class DefaultIndexBuffer<int>;
extern template class DefaultIndexBuffer<unsigned int>;

} // namespace vexa::mesh::detail
