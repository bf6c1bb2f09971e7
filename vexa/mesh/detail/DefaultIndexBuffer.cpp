#include "vexa/mesh/detail/DefaultIndexBuffer.h"

#include <cstring>
#include <utility>

namespace vexa::mesh::detail {

template <typename T>
DefaultIndexBuffer<T>::DefaultIndexBuffer(ComponentType type, unsigned long componentCount, unsigned long strideInBytes,
                                          unsigned long offsetInBytes, std::shared_ptr<BufferData> data)
    : DefaultBuffer(type, componentCount, strideInBytes, offsetInBytes, std::move(data)) {}

template <typename T>
ComponentType DefaultIndexBuffer<T>::getComponentType() const {
    return DefaultBuffer::getComponentType();
}

template <typename T>
unsigned long DefaultIndexBuffer<T>::getComponentCountPerElement() const {
    return DefaultBuffer::getComponentCountPerElement();
}

template <typename T>
unsigned long DefaultIndexBuffer<T>::getComponentSizeInBytes() const {
    return DefaultBuffer::getComponentSizeInBytes();
}

template <typename T>
unsigned long DefaultIndexBuffer<T>::getElementSizeInBytes() const {
    return DefaultBuffer::getElementSizeInBytes();
}

template <typename T>
unsigned long DefaultIndexBuffer<T>::getElementStrideInBytes() const {
    return DefaultBuffer::getElementStrideInBytes();
}

template <typename T>
unsigned long DefaultIndexBuffer<T>::getElementOffsetInBytes() const {
    return DefaultBuffer::getElementOffsetInBytes();
}

template <typename T>
unsigned long DefaultIndexBuffer<T>::getElementCount() const {
    return DefaultBuffer::getElementCount();
}

template <typename T>
void DefaultIndexBuffer<T>::resize(unsigned long elementCount) {
    DefaultBuffer::resize(elementCount);
}

// The storage may be anything that a caller has put there, so it is neither aligned for T nor holds objects of it.
template <typename T>
unsigned long DefaultIndexBuffer<T>::getElement(unsigned long index) const {
    const auto* bytes = static_cast<const unsigned char*>(getBufferData()->getData());
    T element;
    std::memcpy(&element, bytes + index * sizeof(T), sizeof(T));
    return static_cast<unsigned long>(element);
}

template <typename T>
void DefaultIndexBuffer<T>::setElement(unsigned long index, unsigned long value) {
    auto* bytes = static_cast<unsigned char*>(getBufferData()->getData());
    const T element = static_cast<T>(value);
    std::memcpy(bytes + index * sizeof(T), &element, sizeof(T));
}

template class DefaultIndexBuffer<signed char>;
template class DefaultIndexBuffer<unsigned char>;
template class DefaultIndexBuffer<short>;
template class DefaultIndexBuffer<unsigned short>;
template class DefaultIndexBuffer<int>;
template class DefaultIndexBuffer<unsigned int>;

} // namespace vexa::mesh::detail
