#include "vexa/mesh/Mesh.h"

#include "vexa/mesh/detail/DefaultMesh.h"

namespace vexa::mesh {

MeshPtr Mesh::createDefault(PrimitiveType primitiveType, ComponentType indexType) {
    return std::make_shared<detail::DefaultMesh>(primitiveType, indexType);
}

MeshPtr Mesh::createDefault() {
    return createDefault(TRIANGLES, UNSIGNED_INT);
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
