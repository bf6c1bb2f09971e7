#include "vexa/mesh/AttributeBufferDump.h"

#include <cstring>
#include <ostream>
#include <vector>

namespace vexa::mesh::detail {

namespace {

template <typename Stored>
Stored load(const unsigned char* bytes) {
    Stored value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

} // namespace

void printAttributeBufferComponent(std::ostream& os, const unsigned char* component, ComponentType type) {
    switch (type) {
    case BYTE:
        os << static_cast<int>(load<signed char>(component));
        break;
    case UNSIGNED_BYTE:
        os << static_cast<unsigned long>(*component);
        break;
    case SHORT:
        os << load<short>(component);
        break;
    case UNSIGNED_SHORT:
        os << static_cast<unsigned long>(load<unsigned short>(component));
        break;
    case INT:
        os << load<int>(component);
        break;
    case UNSIGNED_INT:
        os << static_cast<unsigned long>(load<unsigned int>(component));
        break;
    case FLOAT:
        os << static_cast<double>(load<float>(component));
        break;
    }
}

void printAttributeBufferElement(std::ostream& os, const unsigned char* element, ComponentType type,
                                 unsigned long componentCount) {
    const unsigned long size = getComponentSizeInBytes(type);
    for (unsigned long i = 0; i < componentCount; ++i) {
        if (i != 0) {
            os << ", ";
        }
        printAttributeBufferComponent(os, element + i * size, type);
    }
}

void printAttributeBuffer(std::ostream& os, std::shared_ptr<AttributeBuffer> buffer, bool printElements) {
    os << "AttributeBuffer:" << std::endl;
    os << "    attributeName            " << buffer->getAttributeName() << std::endl;
    os << "    componentType            " << getStringForComponentType(buffer->getComponentType()) << std::endl;
    os << "  > componentSizeInBytes     " << buffer->getComponentSizeInBytes() << std::endl;
    os << "    componentCountPerElement " << buffer->getComponentCountPerElement() << std::endl;
    os << "  > elementSizeInBytes       " << buffer->getElementSizeInBytes() << std::endl;
    os << "    elementStrideInBytes     " << buffer->getElementStrideInBytes() << std::endl;
    os << "    elementOffsetInBytes     " << buffer->getElementOffsetInBytes() << std::endl;
    os << "    elementCount             " << buffer->getElementCount() << std::endl;
    if (!printElements) {
        return;
    }
    os << "    Elements:" << std::endl;
    std::vector<unsigned char> scratch(buffer->getElementSizeInBytes());
    const unsigned long count = buffer->getElementCount();
    for (unsigned long i = 0; i < count; ++i) {
        buffer->getElement(i, scratch.data());
        os << "        ";
        printAttributeBufferElement(os, scratch.data(), buffer->getComponentType(),
                                    buffer->getComponentCountPerElement());
        os << std::endl;
    }
}

} // namespace vexa::mesh::detail
