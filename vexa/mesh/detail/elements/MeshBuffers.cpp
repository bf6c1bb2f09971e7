#include "vexa/mesh/detail/elements/MeshBuffers.h"

#include <stdexcept>

namespace vexa::mesh::detail {

std::shared_ptr<AttributeBuffer> requireAttributeBuffer(const Mesh& mesh, unsigned long index) {
    std::shared_ptr<AttributeBuffer> buffer = mesh.getAttributeBuffer(index);
    if (!buffer) {
        throw std::logic_error("Attribute buffer is empty");
    }
    return buffer;
}

unsigned long countVertices(const Mesh& mesh) {
    if (const auto positions = mesh.getAttributeBuffer("position")) {
        return positions->getElementCount();
    }
    return mesh.getNumAttributeBuffers() == 0 ? 0 : requireAttributeBuffer(mesh, 0)->getElementCount();
}

} // namespace vexa::mesh::detail
