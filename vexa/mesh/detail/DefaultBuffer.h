#pragma once

#include "vexa/mesh/Buffer.h"
#include "vexa/mesh/detail/BufferData.h"

#include <memory>

namespace vexa::mesh::detail {

/// Common part of the library's own buffers: sizes, and a share of the storage.
///
/// The order of the virtual functions and of the fields is part of the binary interface.
class VEXA_MESH_EXPORT DefaultBuffer : public Buffer {
public:
    /// \param type            scalar type of a component; an unknown one has size 0
    /// \param componentCount  components per element
    /// \param strideInBytes   distance between the starts of consecutive elements; not checked against the element size
    /// \param offsetInBytes   position of the first element within the storage
    /// \param data            storage, shared from now on; must not be empty when an element is counted or accessed
    DefaultBuffer(ComponentType type, unsigned long componentCount, unsigned long strideInBytes,
                  unsigned long offsetInBytes, std::shared_ptr<BufferData> data);

    ComponentType getComponentType() const override;
    unsigned long getComponentCountPerElement() const override;
    unsigned long getComponentSizeInBytes() const override;
    unsigned long getElementSizeInBytes() const override;
    unsigned long getElementStrideInBytes() const override;
    unsigned long getElementOffsetInBytes() const override;
    unsigned long getElementCount() const override;
    void resize(unsigned long elementCount) override;

    /// The storage itself, to be read or replaced. A storage of any size may be put in its place.
    virtual std::shared_ptr<BufferData>& getBufferData();
    virtual const std::shared_ptr<BufferData>& getBufferData() const;

private:
    ComponentType componentType_;
    unsigned long componentCountPerElement_;
    unsigned long elementStrideInBytes_;
    unsigned long elementOffsetInBytes_;
    std::shared_ptr<BufferData> bufferData_;
    unsigned long componentSizeInBytes_;
    unsigned long elementSizeInBytes_;
};

} // namespace vexa::mesh::detail
