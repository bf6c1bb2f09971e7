#include "vexa/mesh/Mesh.h"

#include "vexa/mesh/detail/DefaultMesh.h"
#include "vexa/mesh/detail/Kernels.h"
#include "vexa/mesh/detail/MeshBuffers.h"
#include "vexa/mesh/detail/PackedElements.h"

#include <stdexcept>

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
