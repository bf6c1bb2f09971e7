#include "vexa/mesh/Views.h"

#include "vexa/mesh/detail/DefaultAttributeBuffer.h"
#include "vexa/mesh/detail/VectorBufferData.h"
#include "vexa/mesh/detail/elements/Indices.h"
#include "vexa/mesh/detail/elements/Kernels.h"
#include "vexa/mesh/detail/elements/PackedElements.h"
#include "vexa/mesh/detail/elements/StridedCopy.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <typeinfo>

namespace vexa::mesh {

namespace detail {

namespace {

std::string describe(ComponentType type, unsigned long count) {
    const std::string name = getStringForComponentType(type);
    return std::to_string(count) + " x " + (name.empty() ? "unknown type " + std::to_string(type) : name);
}

std::string nameOf(const AttributeBuffer& buffer) {
    return "attribute \"" + buffer.getAttributeName() + '"';
}

void requireFormat(const char* caller, const AttributeBuffer& buffer, const ElementFormat& format) {
    const ComponentType type = buffer.getComponentType();
    const unsigned long count = buffer.getComponentCountPerElement();
    if (type != format.componentType || count != format.componentCount) {
        throw std::invalid_argument(caller + (": " + nameOf(buffer)) + " has elements of " + describe(type, count) +
                                    ", not of " + describe(format.componentType, format.componentCount) +
                                    "; use a C++ type that matches");
    }
    const std::size_t size = sizeOfComponent(format.componentType) * format.componentCount;
    if (buffer.getElementSizeInBytes() != size) {
        throw std::invalid_argument(caller + (": " + nameOf(buffer)) + " reports elements of " +
                                    std::to_string(buffer.getElementSizeInBytes()) + " bytes, but " +
                                    describe(type, count) + " have " + std::to_string(size));
    }
}

/// The storage of a buffer whose accessors are known to use it; null for a class of the caller's own.
BufferData* findStorage(const AttributeBuffer& buffer) {
    if (typeid(buffer) != typeid(DefaultAttributeBuffer)) {
        return nullptr;
    }
    return static_cast<const DefaultAttributeBuffer&>(buffer).getBufferData().get();
}

BufferData& requireStorage(const char* caller, const AttributeBuffer& buffer) {
    if (BufferData* const storage = findStorage(buffer)) {
        return *storage;
    }
    throw std::invalid_argument(caller + (": " + nameOf(buffer)) +
                                " does not use storage of the library; copy its elements with toElements");
}

bool isAligned(const void* address, std::size_t alignment) {
    return reinterpret_cast<std::uintptr_t>(address) % alignment == 0;
}

/// Where the elements of a buffer lie, if it has the library's storage and all are within it.
ElementRow locate(const char* caller, const AttributeBuffer& buffer) {
    BufferData& storage = requireStorage(caller, buffer);
    const unsigned long stride = buffer.getElementStrideInBytes();
    const unsigned long offset = buffer.getElementOffsetInBytes();
    const unsigned long count = buffer.getElementCount();
    if (count == 0) {
        return {nullptr, 0, stride};
    }
    // The count is the storage divided by the stride, so the product does not overflow.
    const unsigned long sizeFromLast = storage.getSizeInBytes() - (count - 1) * stride;
    if (offset > sizeFromLast || buffer.getElementSizeInBytes() > sizeFromLast - offset) {
        throw std::invalid_argument(caller + (": " + nameOf(buffer)) + " has " + std::to_string(count) +
                                    " elements at offset " + std::to_string(offset) + " and stride " +
                                    std::to_string(stride) + ", which exceed its storage of " +
                                    std::to_string(storage.getSizeInBytes()) + " bytes");
    }
    return {static_cast<std::byte*>(storage.getData()) + offset, count, stride};
}

ElementRow view(const char* caller, const AttributeBuffer& buffer, const ElementFormat& format) {
    requireFormat(caller, buffer, format);
    const ElementRow row = locate(caller, buffer);
    if (!isAligned(row.begin, format.alignment) || (row.count != 0 && row.strideInBytes % format.alignment != 0)) {
        throw std::invalid_argument(caller + (": " + nameOf(buffer)) +
                                    " is not aligned for the C++ type; copy its elements with toElements");
    }
    return row;
}

/// Copies elements of a size from one stride to another.
void copySpaced(const std::byte* source, std::size_t sourceStride, std::byte* target, std::size_t targetStride,
                std::size_t size, std::size_t count) {
    if (sourceStride == size && targetStride == size && count != 0) {
        std::memcpy(target, source, count * size);
        return;
    }
    const auto* const from = reinterpret_cast<const unsigned char*>(source);
    auto* const to = reinterpret_cast<unsigned char*>(target);
    // A copy of constant size needs no function call.
    switch (size) {
    case 4:
        return copyStrided<4>(from, sourceStride, to, targetStride, count);
    case 8:
        return copyStrided<8>(from, sourceStride, to, targetStride, count);
    case 12:
        return copyStrided<12>(from, sourceStride, to, targetStride, count);
    case 16:
        return copyStrided<16>(from, sourceStride, to, targetStride, count);
    default:
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(to + i * targetStride, from + i * sourceStride, size);
        }
    }
}

} // namespace

ElementRow viewPacked(const AttributeBuffer& buffer, const ElementFormat& format) {
    const char* const caller = "elementsOf";
    requireFormat(caller, buffer, format);
    requireStorage(caller, buffer);
    const unsigned long stride = buffer.getElementStrideInBytes();
    if (stride != buffer.getElementSizeInBytes()) {
        throw std::invalid_argument(caller + (": " + nameOf(buffer)) + " has a stride of " + std::to_string(stride) +
                                    " bytes for elements of " + std::to_string(buffer.getElementSizeInBytes()) +
                                    "; use stridedElementsOf, or copy the elements with toElements");
    }
    return view(caller, buffer, format);
}

ElementRow viewStrided(const AttributeBuffer& buffer, const ElementFormat& format) {
    const char* const caller = "stridedElementsOf";
    const ElementRow row = view(caller, buffer, format);
    if (row.count > 1 && row.strideInBytes < buffer.getElementSizeInBytes()) {
        throw std::invalid_argument(caller + (": elements of " + nameOf(buffer)) + " overlap: their stride is " +
                                    std::to_string(row.strideInBytes) + " bytes and their size " +
                                    std::to_string(buffer.getElementSizeInBytes()));
    }
    return row;
}

ElementRow viewIndices(const IndexBuffer& buffer, const ElementFormat& format) {
    const auto stored = findStoredIndices(const_cast<IndexBuffer&>(buffer));
    if (!stored) {
        throw std::invalid_argument(
            "indicesOf: the index buffer does not use packed storage of the library; copy its indices with toIndices");
    }
    if (stored->type != format.componentType) {
        throw std::invalid_argument("indicesOf: the index buffer holds indices of type " +
                                    getStringForComponentType(stored->type) + ", not " +
                                    getStringForComponentType(format.componentType) +
                                    "; use a C++ type that matches, or copy the indices with toIndices");
    }
    auto* const begin = reinterpret_cast<std::byte*>(stored->bytes);
    if (!isAligned(begin, format.alignment)) {
        throw std::invalid_argument(
            "indicesOf: the indices are not aligned for the C++ type; copy them with toIndices");
    }
    return {begin, stored->elementCount, stored->elementSizeInBytes};
}

std::size_t countElements(const char* caller, const AttributeBuffer& buffer, const ElementFormat& format) {
    requireFormat(caller, buffer, format);
    if (findStorage(buffer) != nullptr) {
        return locate(caller, buffer).count;
    }
    return buffer.getElementCount();
}

void copyElements(const AttributeBuffer& buffer, std::byte* elements, std::size_t strideInBytes, std::size_t count) {
    const unsigned long size = buffer.getElementSizeInBytes();
    if (findStorage(buffer) == nullptr) {
        for (std::size_t i = 0; i < count; ++i) {
            buffer.getElement(i, elements + i * strideInBytes);
        }
        return;
    }
    copySpaced(locate("toElements", buffer).begin, buffer.getElementStrideInBytes(), elements, strideInBytes, size,
               count);
}

namespace {

bool overlap(std::span<const std::byte> source, const BufferData& storage) {
    const auto* const begin = static_cast<const std::byte*>(storage.getData());
    const std::less<> isBefore;
    return !source.empty() && isBefore(source.data(), begin + storage.getSizeInBytes()) &&
           isBefore(begin, source.data() + source.size());
}

/// Writes the bytes of elements into a buffer that has as many.
void storeElements(AttributeBuffer& buffer, std::span<const std::byte> elements, unsigned long sizeInBytes) {
    const std::size_t count = elements.size() / sizeInBytes;
    if (findStorage(buffer) == nullptr) {
        for (std::size_t i = 0; i < count; ++i) {
            buffer.setElement(i, elements.data() + i * sizeInBytes);
        }
        return;
    }
    const ElementRow row = locate("assign", buffer);
    copySpaced(elements.data(), sizeInBytes, row.begin, row.strideInBytes, sizeInBytes, count);
}

/// Whether the last of a number of elements would end within as many strides; `locate` could otherwise fail after a
/// resize.
void requireFit(const AttributeBuffer& buffer, unsigned long sizeInBytes) {
    const unsigned long stride = buffer.getElementStrideInBytes();
    const unsigned long offset = buffer.getElementOffsetInBytes();
    if (findStorage(buffer) != nullptr && (offset > stride || sizeInBytes > stride - offset)) {
        throw std::invalid_argument("assign: elements of " + nameOf(buffer) + " have " + std::to_string(sizeInBytes) +
                                    " bytes at offset " + std::to_string(offset) + ", which exceed the stride of " +
                                    std::to_string(stride));
    }
}

} // namespace

void assignElements(AttributeBuffer& buffer, const ElementFormat& format, std::span<const std::byte> elements) {
    requireFormat("assign", buffer, format);
    const unsigned long size = buffer.getElementSizeInBytes();
    requireFit(buffer, size);
    const BufferData* const storage = findStorage(buffer);
    std::vector<std::byte> copy;
    if (storage != nullptr && overlap(elements, *storage)) {
        copy.assign(elements.begin(), elements.end());
        elements = copy;
    }
    // resize would fill new elements with zeros first.
    const auto packed = findPackedElements(buffer);
    if (packed && packed->storage != nullptr) {
        packed->storage->assign(reinterpret_cast<const unsigned char*>(elements.data()), elements.size());
        return;
    }
    const unsigned long count = elements.size() / size;
    if (count != buffer.getElementCount()) {
        buffer.resize(count);
    }
    storeElements(buffer, elements, size);
}

AttributeBuffer& findAttribute(const Mesh& mesh, std::string_view name, const char* caller) {
    if (const auto buffer = mesh.getAttributeBuffer(std::string(name))) {
        // The mesh holds another share.
        return *buffer;
    }
    std::string names;
    for (unsigned long i = 0; i < mesh.getNumAttributeBuffers(); ++i) {
        if (const auto buffer = mesh.getAttributeBuffer(i)) {
            names += (names.empty() ? "\"" : ", \"") + buffer->getAttributeName() + '"';
        }
    }
    throw std::invalid_argument(caller + (": the mesh lacks the attribute \"" + std::string(name)) + "\"; it " +
                                (names.empty() ? "is without any" : "has " + names));
}

IndexBuffer& findIndices(const Mesh& mesh) {
    if (const auto indices = mesh.getIndexBuffer()) {
        return *indices;
    }
    throw std::invalid_argument("indicesOf: the mesh is not indexed; its vertices are used in order");
}

} // namespace detail

std::span<std::byte> bytesOf(Buffer& buffer) {
    const auto* const own = dynamic_cast<detail::DefaultBuffer*>(&buffer);
    detail::BufferData* const storage = own == nullptr ? nullptr : own->getBufferData().get();
    if (storage == nullptr) {
        throw std::invalid_argument("bytesOf: the buffer does not use storage of the library; copy its elements with "
                                    "toElements or toIndices");
    }
    return {static_cast<std::byte*>(storage->getData()), storage->getSizeInBytes()};
}

std::span<const std::byte> bytesOf(const Buffer& buffer) {
    return bytesOf(const_cast<Buffer&>(buffer));
}

std::vector<unsigned int> toIndices(const IndexBuffer& buffer) {
    if (const auto stored = detail::findStoredIndices(const_cast<IndexBuffer&>(buffer))) {
        std::vector<unsigned int> indices(stored->elementCount);
        detail::widenIndices(stored->bytes, stored->type, indices.data(), indices.size());
        return indices;
    }
    const unsigned long allOnes = detail::allOnesOf(buffer.getComponentType());
    std::vector<unsigned int> indices(buffer.getElementCount());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        const unsigned long index = buffer.getElement(i);
        const bool isNegative = index > static_cast<unsigned long>(std::numeric_limits<long>::max());
        if (index > restartIndex && !isNegative) {
            throw std::length_error("toIndices: index " + std::to_string(index) + " at " + std::to_string(i) +
                                    " needs more than 32 bits");
        }
        indices[i] = index == allOnes ? restartIndex : static_cast<unsigned int>(index);
    }
    return indices;
}

void assign(IndexBuffer& buffer, std::span<const unsigned int> indices) {
    const auto stored = detail::findStoredIndices(buffer);
    const ComponentType type = stored ? stored->type : buffer.getComponentType();
    detail::requireIndicesFit("assign", type, indices);
    std::vector<unsigned int> copy;
    if (stored && detail::overlap(std::as_bytes(indices), *stored->data)) {
        copy.assign(indices.begin(), indices.end());
        indices = copy;
    }
    if (stored && stored->storage != nullptr && type == UNSIGNED_INT) {
        stored->storage->assign(reinterpret_cast<const unsigned char*>(indices.data()), indices.size_bytes());
        return;
    }
    if (indices.size() != buffer.getElementCount()) {
        buffer.resize(indices.size());
    }
    if (const auto resized = detail::findStoredIndices(buffer)) {
        detail::shiftIndices(indices.data(), UNSIGNED_INT, resized->bytes, type, indices.size(), 0);
        return;
    }
    const unsigned long allOnes = detail::allOnesOf(type);
    for (std::size_t i = 0; i < indices.size(); ++i) {
        buffer.setElement(i, indices[i] == restartIndex ? allOnes : indices[i]);
    }
}

} // namespace vexa::mesh
