#include "vexa/mesh/detail/DefaultMesh.h"

#include <utility>

namespace vexa::mesh::detail {

DefaultMesh::DefaultMesh(PrimitiveType primitiveType, ComponentType indexType)
    : primitiveType_(primitiveType), indexBuffer_(IndexBuffer::createDefault(indexType)) {}

PrimitiveType DefaultMesh::getPrimitiveType() const {
    return primitiveType_;
}

unsigned long DefaultMesh::getNumPrimitives() const {
    unsigned long vertexCount = 0;
    if (const std::shared_ptr<IndexBuffer> indices = getIndexBuffer()) {
        vertexCount = indices->getElementCount();
    } else if (const std::shared_ptr<AttributeBuffer> positions = getAttributeBuffer("position")) {
        vertexCount = positions->getElementCount();
    }
    const unsigned long verticesPerPrimitive = getVertexCountForPrimitiveType(getPrimitiveType());
    return verticesPerPrimitive == 0 ? 0 : vertexCount / verticesPerPrimitive;
}

std::shared_ptr<IndexBuffer> DefaultMesh::getIndexBuffer() const {
    return indexBuffer_;
}

unsigned long DefaultMesh::getNumAttributeBuffers() const {
    return attributeBuffers_.size();
}

std::shared_ptr<AttributeBuffer> DefaultMesh::getAttributeBuffer(unsigned long index) const {
    return attributeBuffers_[index];
}

std::shared_ptr<AttributeBuffer> DefaultMesh::getAttributeBuffer(const std::string& name) const {
    return Mesh::getAttributeBuffer(name);
}

void DefaultMesh::addAttributeBuffer(std::shared_ptr<AttributeBuffer> buffer) {
    attributeBuffers_.push_back(std::move(buffer));
}

void DefaultMesh::setPrimitive(PrimitiveType type) {
    primitiveType_ = type;
}

void DefaultMesh::setIndexBuffer(const std::shared_ptr<IndexBuffer>& buffer) {
    indexBuffer_ = buffer;
}

} // namespace vexa::mesh::detail
