#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/detail/DefaultBuffer.h"

namespace vexa::mesh::detail {

/// The library's own attribute buffer. Element i begins at byte i * stride + offset of the storage.
///
/// It holds two `Buffer` sub-objects. Every `Buffer` operation is overridden once, so that both views answer alike.
class VEXA_MESH_EXPORT DefaultAttributeBuffer : public DefaultBuffer, public AttributeBuffer {
public:
    /// \copydoc DefaultBuffer::DefaultBuffer
    /// \param attributeName what getAttributeName() returns
    DefaultAttributeBuffer(ComponentType type, unsigned long componentCount, unsigned long strideInBytes,
                           unsigned long offsetInBytes, std::shared_ptr<BufferData> data, std::string attributeName);

    ComponentType getComponentType() const override;
    unsigned long getComponentCountPerElement() const override;
    unsigned long getComponentSizeInBytes() const override;
    unsigned long getElementSizeInBytes() const override;
    unsigned long getElementStrideInBytes() const override;
    unsigned long getElementOffsetInBytes() const override;
    unsigned long getElementCount() const override;
    void resize(unsigned long elementCount) override;

    void getElement(unsigned long index, void* destination) const override;
    void setElement(unsigned long index, const void* source) override;
    void getComponent(unsigned long index, unsigned long component, void* destination) const override;
    void setComponent(unsigned long index, unsigned long component, const void* source) override;
    std::string getAttributeName() const override;

private:
    // A second copy of the count that DefaultBuffer holds; kept for the layout alone.
    [[maybe_unused]] unsigned long componentCount_;
    std::string attributeName_;
};

} // namespace vexa::mesh::detail
