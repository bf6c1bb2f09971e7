#include "vexa/mesh/detail/DefaultBuffer.h"

#include <limits>
#include <stdexcept>
#include <utility>

namespace vexa::mesh::detail {

DefaultBuffer::DefaultBuffer(ComponentType type, unsigned long componentCount, unsigned long strideInBytes,
                             unsigned long offsetInBytes, std::shared_ptr<BufferData> data)
    : componentType_(type), componentCountPerElement_(componentCount), elementStrideInBytes_(strideInBytes),
      elementOffsetInBytes_(offsetInBytes), bufferData_(std::move(data)),
      componentSizeInBytes_(mesh::getComponentSizeInBytes(type)),
      elementSizeInBytes_(componentSizeInBytes_ * componentCount) {}

ComponentType DefaultBuffer::getComponentType() const {
    return componentType_;
}

unsigned long DefaultBuffer::getComponentCountPerElement() const {
    return componentCountPerElement_;
}

unsigned long DefaultBuffer::getComponentSizeInBytes() const {
    return componentSizeInBytes_;
}

unsigned long DefaultBuffer::getElementSizeInBytes() const {
    return elementSizeInBytes_;
}

unsigned long DefaultBuffer::getElementStrideInBytes() const {
    return elementStrideInBytes_;
}

unsigned long DefaultBuffer::getElementOffsetInBytes() const {
    return elementOffsetInBytes_;
}

unsigned long DefaultBuffer::getElementCount() const {
    const unsigned long stride = getElementStrideInBytes();
    return stride == 0 ? 0 : getBufferData()->getSizeInBytes() / stride;
}

void DefaultBuffer::resize(unsigned long elementCount) {
    const unsigned long stride = getElementStrideInBytes();
    if (stride != 0 && elementCount > std::numeric_limits<unsigned long>::max() / stride) {
        throw std::length_error("Buffer size exceeds 64 bits");
    }
    getBufferData()->resize(stride * elementCount);
}

std::shared_ptr<BufferData>& DefaultBuffer::getBufferData() {
    return bufferData_;
}

const std::shared_ptr<BufferData>& DefaultBuffer::getBufferData() const {
    return bufferData_;
}

} // namespace vexa::mesh::detail
