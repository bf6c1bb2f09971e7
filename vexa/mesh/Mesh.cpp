#include "vexa/mesh/Mesh.h"

#include "vexa/mesh/detail/DefaultMesh.h"
#include "vexa/mesh/detail/LogRecord.h"
#include "vexa/mesh/detail/elements/Kernels.h"
#include "vexa/mesh/detail/elements/MeshBuffers.h"
#include "vexa/mesh/detail/elements/PackedElements.h"

#include <stdexcept>

// The function that the records name; neither compiler's own text for it is this one.
#define LOG_DIFFERENCE()                                                                                               \
    VEXA_MESH_LOG(error, "static bool vexa::mesh::Mesh::meshesAreCompatible(const MeshPtr&, const MeshPtr&, bool)",    \
                  "vexa/mesh/Mesh")

namespace vexa::mesh {

namespace {

bool areBelow(IndexBuffer& indices, unsigned long limit) {
    if (const auto packed = detail::findPackedIndices(indices)) {
        return detail::areIndicesBelow(packed->bytes, packed->type, packed->elementCount, limit);
    }
    const unsigned long count = indices.getElementCount();
    for (unsigned long i = 0; i < count; ++i) {
        if (indices.getElement(i) >= limit) {
            return false;
        }
    }
    return true;
}

/// Compares the attribute buffers at one position of two meshes; logs the first difference if asked to.
bool buffersAreCompatible(unsigned long position, const AttributeBuffer& first, const AttributeBuffer& second,
                          bool logDifferences) {
    const std::string firstName = first.getAttributeName();
    const std::string secondName = second.getAttributeName();
    if (firstName != secondName) {
        if (logDifferences) {
            LOG_DIFFERENCE() << "Mesh attributes " << position << " have different names: " << firstName << " and "
                             << secondName;
        }
        return false;
    }
    const ComponentType firstType = first.getComponentType();
    const ComponentType secondType = second.getComponentType();
    if (firstType != secondType) {
        if (logDifferences) {
            LOG_DIFFERENCE() << "Mesh attributes " << position
                             << " have different component types: " << getStringForComponentType(firstType) << " and "
                             << getStringForComponentType(secondType);
        }
        return false;
    }
    const unsigned long firstCount = first.getComponentCountPerElement();
    const unsigned long secondCount = second.getComponentCountPerElement();
    if (firstCount != secondCount) {
        if (logDifferences) {
            LOG_DIFFERENCE() << "Mesh attributes " << position << " have different component counts: " << firstCount
                             << " and " << secondCount;
        }
        return false;
    }
    return true;
}

} // namespace

MeshPtr Mesh::createDefault(PrimitiveType primitiveType, ComponentType indexType) {
    return std::make_shared<detail::DefaultMesh>(primitiveType, indexType);
}

MeshPtr Mesh::createDefault() {
    return createDefault(TRIANGLES, UNSIGNED_INT);
}

MeshPtr Mesh::createEmptyMesh(const MeshPtr& mesh) {
    const PrimitiveType primitiveType = mesh->getPrimitiveType();
    const unsigned long attributeCount = mesh->getNumAttributeBuffers();
    const std::shared_ptr<IndexBuffer> indices = mesh->getIndexBuffer();
    MeshPtr result = createDefault(primitiveType, indices ? indices->getComponentType() : UNSIGNED_INT);
    if (!indices) {
        result->setIndexBuffer({});
    }
    for (unsigned long i = 0; i < attributeCount; ++i) {
        const std::shared_ptr<AttributeBuffer> buffer = detail::requireAttributeBuffer(*mesh, i);
        result->addAttributeBuffer(AttributeBuffer::createDefault(
            buffer->getComponentType(), buffer->getComponentCountPerElement(), buffer->getAttributeName()));
    }
    return result;
}

bool Mesh::meshesAreCompatible(const MeshPtr& first, const MeshPtr& second, bool logDifferences) {
    const PrimitiveType firstType = first->getPrimitiveType();
    const PrimitiveType secondType = second->getPrimitiveType();
    if (firstType != secondType) {
        if (logDifferences) {
            LOG_DIFFERENCE() << "Meshes do not have the same primitive type: " << static_cast<int>(firstType) << " and "
                             << static_cast<int>(secondType);
        }
        return false;
    }
    const unsigned long firstCount = first->getNumAttributeBuffers();
    const unsigned long secondCount = second->getNumAttributeBuffers();
    if (firstCount != secondCount) {
        if (logDifferences) {
            LOG_DIFFERENCE() << "Meshes do not have the same number of attributes: " << firstCount << " and "
                             << secondCount;
        }
        return false;
    }
    for (unsigned long i = 0; i < first->getNumAttributeBuffers(); ++i) {
        const std::shared_ptr<AttributeBuffer> firstBuffer = detail::requireAttributeBuffer(*first, i);
        const std::shared_ptr<AttributeBuffer> secondBuffer = detail::requireAttributeBuffer(*second, i);
        if (!buffersAreCompatible(i, *firstBuffer, *secondBuffer, logDifferences)) {
            return false;
        }
    }
    return true;
}

void Mesh::isValid() const {
    const std::shared_ptr<AttributeBuffer> positions = getAttributeBuffer("position");
    if (!positions) {
        throw std::logic_error("Missing position attribute");
    }
    const unsigned long vertexCount = positions->getElementCount();
    const unsigned long attributeCount = getNumAttributeBuffers();
    for (unsigned long i = 0; i < attributeCount; ++i) {
        const std::shared_ptr<AttributeBuffer> buffer = detail::requireAttributeBuffer(*this, i);
        if (vertexCount > buffer->getElementCount()) {
            throw std::logic_error("Attribute " + buffer->getAttributeName() + " has less elements than vertices");
        }
    }
    const std::shared_ptr<IndexBuffer> indices = getIndexBuffer();
    if (indices && !areBelow(*indices, vertexCount)) {
        throw std::logic_error("Indices are out of range");
    }
}

std::shared_ptr<AttributeBuffer> Mesh::getAttributeBuffer(const std::string& name) const {
    for (unsigned long i = 0; i < getNumAttributeBuffers(); ++i) {
        std::shared_ptr<AttributeBuffer> buffer = getAttributeBuffer(i);
        if (buffer && buffer->getAttributeName() == name) {
            return buffer;
        }
    }
    return {};
}

Mesh::~Mesh() = default;

} // namespace vexa::mesh
