#include "vexa/mesh/AttributeBuffer.h"

#include "vexa/mesh/detail/DefaultAttributeBuffer.h"
#include "vexa/mesh/detail/VectorBufferData.h"

#include <utility>

namespace vexa::mesh {

AttributeBuffer::~AttributeBuffer() = default;

std::shared_ptr<AttributeBuffer> AttributeBuffer::createDefault(ComponentType type, unsigned long componentCount,
                                                                std::string attributeName) {
    const unsigned long stride = mesh::getComponentSizeInBytes(type) * componentCount;
    return std::make_shared<detail::DefaultAttributeBuffer>(
        type, componentCount, stride, 0UL, std::make_shared<detail::VectorBufferData>(), std::move(attributeName));
}

std::shared_ptr<AttributeBuffer> AttributeBuffer::createDefaultVec2f(std::string attributeName) {
    return createDefault(FLOAT, 2, std::move(attributeName));
}

std::shared_ptr<AttributeBuffer> AttributeBuffer::createDefaultVec3f(std::string attributeName) {
    return createDefault(FLOAT, 3, std::move(attributeName));
}

bool AttributeBuffer::isVec3f() const {
    return getComponentType() == FLOAT && getComponentCountPerElement() == 3;
}

bool AttributeBuffer::isCompatible(const std::shared_ptr<AttributeBuffer>& other) const {
    return getComponentType() == other->getComponentType() &&
           getComponentCountPerElement() == other->getComponentCountPerElement();
}

} // namespace vexa::mesh
