#include "vexa/mesh/Interleave.h"

#include "vexa/mesh/detail/DefaultAttributeBuffer.h"
#include "vexa/mesh/detail/DefaultIndexBuffer.h"
#include "vexa/mesh/detail/VectorBufferData.h"
#include "vexa/mesh/detail/elements/AdoptedBufferData.h"
#include "vexa/mesh/detail/elements/MeshBuffers.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace vexa::mesh {

namespace {

unsigned long alignUp(unsigned long value, unsigned long alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

/// A layout of attributes one after the other, and the size of a vertex.
std::vector<VertexAttribute> layOut(const AttributeBuffers& attributes, unsigned long alignment,
                                    unsigned long& strideInBytes) {
    std::vector<VertexAttribute> layout;
    layout.reserve(attributes.size());
    unsigned long end = 0;
    unsigned long strideAlignment = alignment;
    for (const auto& attribute : attributes) {
        const ComponentType type = attribute->getComponentType();
        const unsigned long componentSize = std::max(getComponentSizeInBytes(type), 1UL);
        const unsigned long offset = alignUp(end, std::max(alignment, componentSize));
        strideAlignment = std::max(strideAlignment, componentSize);
        const unsigned long componentCount = attribute->getComponentCountPerElement();
        layout.push_back({attribute->getAttributeName(), type, componentCount, offset});
        end = offset + componentSize * componentCount;
    }
    strideInBytes = alignUp(end, strideAlignment);
    return layout;
}

} // namespace

AttributeBuffers interleave(const AttributeBuffers& attributes, const InterleaveOptions& options) {
    if (options.alignment == 0 || (options.alignment & (options.alignment - 1)) != 0) {
        throw std::invalid_argument("interleave: an alignment of " + std::to_string(options.alignment) +
                                    " bytes is not a power of two");
    }
    const unsigned long vertexCount = detail::requireAttributes("interleave", attributes);
    if (attributes.empty()) {
        return {};
    }
    unsigned long stride = 0;
    for (const auto& attribute : attributes) {
        const detail::ElementFormat format{attribute->getComponentType(), attribute->getComponentCountPerElement(), 1};
        detail::countElements("interleave", *attribute, format);
    }
    const std::vector<VertexAttribute> layout = layOut(attributes, options.alignment, stride);
    const BufferStorage storage = BufferStorage::copy({});
    AttributeBuffers interleaved = makeInterleaved(storage, stride, layout);
    interleaved.front()->resize(vertexCount);
    if (vertexCount == 0) {
        return interleaved; // There may be no memory to add offsets to.
    }
    for (std::size_t i = 0; i < layout.size(); ++i) {
        detail::copyElements(*attributes[i], storage.bytes().data() + layout[i].offsetInBytes, stride, vertexCount);
    }
    return interleaved;
}

BufferStorage::BufferStorage(std::shared_ptr<detail::BufferData> data) : data_(std::move(data)) {}

BufferStorage BufferStorage::adopt(std::span<std::byte> bytes, std::shared_ptr<const void> owner) {
    return BufferStorage(std::make_shared<detail::AdoptedBufferData>(bytes, std::move(owner)));
}

BufferStorage BufferStorage::copy(std::span<const std::byte> bytes) {
    auto data = std::make_shared<detail::VectorBufferData>();
    data->assign(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    return BufferStorage(std::move(data));
}

std::span<std::byte> BufferStorage::bytes() const {
    return {static_cast<std::byte*>(data_->getData()), data_->getSizeInBytes()};
}

AttributeBuffers makeInterleaved(const BufferStorage& vertices, unsigned long strideInBytes,
                                 std::span<const VertexAttribute> attributes) {
    const std::size_t sizeInBytes = vertices.bytes().size();
    if (strideInBytes == 0 || sizeInBytes % strideInBytes != 0) {
        throw std::invalid_argument("makeInterleaved: " + std::to_string(sizeInBytes) +
                                    " bytes are not a whole number of vertices of " + std::to_string(strideInBytes));
    }
    AttributeBuffers buffers;
    buffers.reserve(attributes.size());
    for (const VertexAttribute& attribute : attributes) {
        const unsigned long componentSize = getComponentSizeInBytes(attribute.componentType);
        if (componentSize == 0 || attribute.componentCount == 0) {
            throw std::invalid_argument("makeInterleaved: attribute \"" + attribute.name + "\" has " +
                                        std::to_string(attribute.componentCount) + " components of type " +
                                        std::to_string(attribute.componentType) +
                                        "; use at least one, of a type from BYTE (5120) to FLOAT (5126)");
        }
        if (attribute.offsetInBytes > strideInBytes ||
            attribute.componentCount > (strideInBytes - attribute.offsetInBytes) / componentSize) {
            throw std::invalid_argument(
                "makeInterleaved: attribute \"" + attribute.name + "\" of " + std::to_string(attribute.componentCount) +
                " x " + std::to_string(componentSize) + " bytes at offset " + std::to_string(attribute.offsetInBytes) +
                " exceeds the vertex of " + std::to_string(strideInBytes) + " bytes");
        }
        buffers.push_back(std::make_shared<detail::DefaultAttributeBuffer>(
            attribute.componentType, attribute.componentCount, strideInBytes, attribute.offsetInBytes, vertices.data(),
            attribute.name));
    }
    return buffers;
}

AttributeBuffers makeInterleaved(std::span<const std::byte> vertices, unsigned long strideInBytes,
                                 std::span<const VertexAttribute> attributes) {
    return makeInterleaved(BufferStorage::copy(vertices), strideInBytes, attributes);
}

std::shared_ptr<IndexBuffer> detail::makeIndexBuffer(ComponentType type, const BufferStorage& storage) {
    const auto make = [&](auto index) -> std::shared_ptr<IndexBuffer> {
        using I = decltype(index);
        return std::make_shared<DefaultIndexBuffer<I>>(type, 1UL, sizeof(I), 0UL, storage.data());
    };
    switch (type) {
    case BYTE:
        return make(static_cast<signed char>(0));
    case UNSIGNED_BYTE:
        return make(static_cast<unsigned char>(0));
    case SHORT:
        return make(static_cast<short>(0));
    case UNSIGNED_SHORT:
        return make(static_cast<unsigned short>(0));
    case INT:
        return make(0);
    default:
        return make(0U);
    }
}

} // namespace vexa::mesh
