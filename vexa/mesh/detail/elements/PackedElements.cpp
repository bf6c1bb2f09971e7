#include "vexa/mesh/detail/elements/PackedElements.h"

#include "vexa/mesh/detail/DefaultAttributeBuffer.h"
#include "vexa/mesh/detail/DefaultIndexBuffer.h"

#include <functional>
#include <typeinfo>

namespace vexa::mesh::detail {

namespace {

std::optional<PackedElements> findElements(DefaultBuffer& buffer, unsigned long elementSizeInBytes) {
    BufferData* const data = buffer.getBufferData().get();
    if (data == nullptr || typeid(*data) != typeid(VectorBufferData) || elementSizeInBytes == 0 ||
        buffer.getElementStrideInBytes() != elementSizeInBytes || buffer.getElementOffsetInBytes() != 0) {
        return std::nullopt;
    }
    auto* const storage = static_cast<VectorBufferData*>(data);
    return PackedElements{storage, static_cast<unsigned char*>(data->getData()), elementSizeInBytes,
                          buffer.getElementCount()};
}

template <typename T>
std::optional<PackedIndices> findIndices(IndexBuffer& buffer, ComponentType type) {
    const auto elements = findElements(static_cast<DefaultIndexBuffer<T>&>(buffer), sizeof(T));
    return elements ? std::optional(PackedIndices{*elements, type}) : std::nullopt;
}

} // namespace

std::optional<PackedElements> findPackedElements(AttributeBuffer& buffer) {
    if (typeid(buffer) != typeid(DefaultAttributeBuffer)) {
        return std::nullopt;
    }
    auto& own = static_cast<DefaultAttributeBuffer&>(buffer);
    return findElements(own, own.getElementSizeInBytes());
}

std::optional<PackedIndices> findPackedIndices(IndexBuffer& buffer) {
    const std::type_info& type = typeid(buffer);
    if (type == typeid(DefaultIndexBuffer<unsigned int>)) {
        return findIndices<unsigned int>(buffer, UNSIGNED_INT);
    }
    if (type == typeid(DefaultIndexBuffer<unsigned short>)) {
        return findIndices<unsigned short>(buffer, UNSIGNED_SHORT);
    }
    if (type == typeid(DefaultIndexBuffer<unsigned char>)) {
        return findIndices<unsigned char>(buffer, UNSIGNED_BYTE);
    }
    if (type == typeid(DefaultIndexBuffer<int>)) {
        return findIndices<int>(buffer, INT);
    }
    if (type == typeid(DefaultIndexBuffer<short>)) {
        return findIndices<short>(buffer, SHORT);
    }
    if (type == typeid(DefaultIndexBuffer<signed char>)) {
        return findIndices<signed char>(buffer, BYTE);
    }
    return std::nullopt;
}

bool areSameOrApart(const unsigned char* first, unsigned long firstSizeInBytes, const unsigned char* second,
                    unsigned long secondSizeInBytes) {
    const std::less_equal<> endsBefore;
    return (first == second && firstSizeInBytes == secondSizeInBytes) || endsBefore(first + firstSizeInBytes, second) ||
           endsBefore(second + secondSizeInBytes, first);
}

} // namespace vexa::mesh::detail
