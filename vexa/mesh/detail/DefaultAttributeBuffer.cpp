#include "vexa/mesh/detail/DefaultAttributeBuffer.h"

#include <cstring>
#include <utility>

namespace vexa::mesh::detail {

namespace {

// Elements of size 0 exist, and their storage has no bytes to point to.
void copyBytes(void* destination, const void* source, unsigned long size) {
    if (size != 0) {
        std::memcpy(destination, source, size);
    }
}

} // namespace

DefaultAttributeBuffer::DefaultAttributeBuffer(ComponentType type, unsigned long componentCount,
                                               unsigned long strideInBytes, unsigned long offsetInBytes,
                                               std::shared_ptr<BufferData> data, std::string attributeName)
    : DefaultBuffer(type, componentCount, strideInBytes, offsetInBytes, std::move(data)),
      componentCount_(componentCount), attributeName_(std::move(attributeName)) {}

ComponentType DefaultAttributeBuffer::getComponentType() const {
    return DefaultBuffer::getComponentType();
}

unsigned long DefaultAttributeBuffer::getComponentCountPerElement() const {
    return DefaultBuffer::getComponentCountPerElement();
}

unsigned long DefaultAttributeBuffer::getComponentSizeInBytes() const {
    return DefaultBuffer::getComponentSizeInBytes();
}

unsigned long DefaultAttributeBuffer::getElementSizeInBytes() const {
    return DefaultBuffer::getElementSizeInBytes();
}

unsigned long DefaultAttributeBuffer::getElementStrideInBytes() const {
    return DefaultBuffer::getElementStrideInBytes();
}

unsigned long DefaultAttributeBuffer::getElementOffsetInBytes() const {
    return DefaultBuffer::getElementOffsetInBytes();
}

unsigned long DefaultAttributeBuffer::getElementCount() const {
    return DefaultBuffer::getElementCount();
}

void DefaultAttributeBuffer::resize(unsigned long elementCount) {
    DefaultBuffer::resize(elementCount);
}

void DefaultAttributeBuffer::getElement(unsigned long index, void* destination) const {
    const auto* bytes = static_cast<const unsigned char*>(getBufferData()->getData());
    const unsigned long begin = index * getElementStrideInBytes() + getElementOffsetInBytes();
    copyBytes(destination, bytes + begin, getElementSizeInBytes());
}

void DefaultAttributeBuffer::setElement(unsigned long index, const void* source) {
    auto* bytes = static_cast<unsigned char*>(getBufferData()->getData());
    const unsigned long begin = index * getElementStrideInBytes() + getElementOffsetInBytes();
    copyBytes(bytes + begin, source, getElementSizeInBytes());
}

void DefaultAttributeBuffer::getComponent(unsigned long index, unsigned long component, void* destination) const {
    const auto* bytes = static_cast<const unsigned char*>(getBufferData()->getData());
    const unsigned long begin =
        index * getElementStrideInBytes() + component * getComponentSizeInBytes() + getElementOffsetInBytes();
    copyBytes(destination, bytes + begin, getComponentSizeInBytes());
}

void DefaultAttributeBuffer::setComponent(unsigned long index, unsigned long component, const void* source) {
    auto* bytes = static_cast<unsigned char*>(getBufferData()->getData());
    const unsigned long begin =
        index * getElementStrideInBytes() + component * getComponentSizeInBytes() + getElementOffsetInBytes();
    copyBytes(bytes + begin, source, getComponentSizeInBytes());
}

std::string DefaultAttributeBuffer::getAttributeName() const {
    return attributeName_;
}

} // namespace vexa::mesh::detail
