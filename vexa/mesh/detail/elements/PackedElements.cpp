#include "vexa/mesh/detail/elements/PackedElements.h"

#include "vexa/mesh/detail/DefaultAttributeBuffer.h"
#include "vexa/mesh/detail/DefaultIndexBuffer.h"
#include "vexa/mesh/detail/elements/AdoptedBufferData.h"

#include <functional>
#include <typeinfo>

namespace vexa::mesh::detail {

namespace {

enum class StorageClass { Own, Any };

bool isOwn(const BufferData& data) {
    return typeid(data) == typeid(VectorBufferData) || typeid(data) == typeid(AdoptedBufferData);
}

std::optional<PackedElements> findElements(DefaultBuffer& buffer, unsigned long elementSizeInBytes,
                                           StorageClass accepted) {
    BufferData* const data = buffer.getBufferData().get();
    if (data == nullptr || elementSizeInBytes == 0 || buffer.getElementStrideInBytes() != elementSizeInBytes ||
        buffer.getElementOffsetInBytes() != 0) {
        return std::nullopt;
    }
    const bool isVector = typeid(*data) == typeid(VectorBufferData);
    if (accepted == StorageClass::Own && !isOwn(*data)) {
        return std::nullopt;
    }
    return PackedElements{isVector ? static_cast<VectorBufferData*>(data) : nullptr,
                          static_cast<unsigned char*>(data->getData()), elementSizeInBytes, buffer.getElementCount()};
}

template <typename T>
std::optional<PackedIndices> findIndices(IndexBuffer& buffer, ComponentType type, StorageClass accepted) {
    auto& own = static_cast<DefaultIndexBuffer<T>&>(buffer);
    const auto elements = findElements(own, sizeof(T), accepted);
    return elements ? std::optional(PackedIndices{*elements, type, own.getBufferData().get()}) : std::nullopt;
}

std::optional<PackedIndices> findIndices(IndexBuffer& buffer, StorageClass accepted) {
    const std::type_info& type = typeid(buffer);
    if (type == typeid(DefaultIndexBuffer<unsigned int>)) {
        return findIndices<unsigned int>(buffer, UNSIGNED_INT, accepted);
    }
    if (type == typeid(DefaultIndexBuffer<unsigned short>)) {
        return findIndices<unsigned short>(buffer, UNSIGNED_SHORT, accepted);
    }
    if (type == typeid(DefaultIndexBuffer<unsigned char>)) {
        return findIndices<unsigned char>(buffer, UNSIGNED_BYTE, accepted);
    }
    if (type == typeid(DefaultIndexBuffer<int>)) {
        return findIndices<int>(buffer, INT, accepted);
    }
    if (type == typeid(DefaultIndexBuffer<short>)) {
        return findIndices<short>(buffer, SHORT, accepted);
    }
    if (type == typeid(DefaultIndexBuffer<signed char>)) {
        return findIndices<signed char>(buffer, BYTE, accepted);
    }
    return std::nullopt;
}

} // namespace

std::optional<PackedElements> findPackedElements(AttributeBuffer& buffer) {
    if (typeid(buffer) != typeid(DefaultAttributeBuffer)) {
        return std::nullopt;
    }
    auto& own = static_cast<DefaultAttributeBuffer&>(buffer);
    return findElements(own, own.getElementSizeInBytes(), StorageClass::Own);
}

std::optional<PackedIndices> findPackedIndices(IndexBuffer& buffer) {
    return findIndices(buffer, StorageClass::Own);
}

std::optional<PackedIndices> findStoredIndices(IndexBuffer& buffer) {
    return findIndices(buffer, StorageClass::Any);
}

std::optional<InterleavedElements> findInterleavedElements(AttributeBuffer& buffer) {
    if (typeid(buffer) != typeid(DefaultAttributeBuffer)) {
        return std::nullopt;
    }
    auto& own = static_cast<DefaultAttributeBuffer&>(buffer);
    BufferData* const data = own.getBufferData().get();
    const unsigned long size = own.getElementSizeInBytes();
    const unsigned long stride = own.getElementStrideInBytes();
    const unsigned long offset = own.getElementOffsetInBytes();
    if (data == nullptr || !isOwn(*data) || size == 0 || size > stride || offset > stride - size) {
        return std::nullopt;
    }
    auto* const bytes = static_cast<unsigned char*>(data->getData());
    return InterleavedElements{data, bytes == nullptr ? nullptr : bytes + offset, size, stride};
}

bool areSameOrApart(const unsigned char* first, unsigned long firstSizeInBytes, const unsigned char* second,
                    unsigned long secondSizeInBytes) {
    const std::less_equal<> endsBefore;
    return (first == second && firstSizeInBytes == secondSizeInBytes) || endsBefore(first + firstSizeInBytes, second) ||
           endsBefore(second + secondSizeInBytes, first);
}

} // namespace vexa::mesh::detail
