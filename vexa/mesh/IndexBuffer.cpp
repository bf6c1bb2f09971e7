#include "vexa/mesh/IndexBuffer.h"

#include "vexa/mesh/detail/DefaultIndexBuffer.h"
#include "vexa/mesh/detail/VectorBufferData.h"

namespace vexa::mesh {

namespace {

template <typename T>
std::shared_ptr<IndexBuffer> createIndexBuffer(ComponentType type) {
    return std::make_shared<detail::DefaultIndexBuffer<T>>(type, 1UL, sizeof(T), 0UL,
                                                           std::make_shared<detail::VectorBufferData>());
}

} // namespace

IndexBuffer::~IndexBuffer() = default;

std::shared_ptr<IndexBuffer> IndexBuffer::createDefault(ComponentType type) {
    switch (type) {
    case BYTE:
        return createIndexBuffer<signed char>(type);
    case UNSIGNED_BYTE:
        return createIndexBuffer<unsigned char>(type);
    case SHORT:
        return createIndexBuffer<short>(type);
    case UNSIGNED_SHORT:
        return createIndexBuffer<unsigned short>(type);
    case INT:
        return createIndexBuffer<int>(type);
    case UNSIGNED_INT:
        return createIndexBuffer<unsigned int>(type);
    case FLOAT:
        break;
    }
    return {};
}

} // namespace vexa::mesh
