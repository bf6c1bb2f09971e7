#include "vexa/mesh/detail/elements/MeshBuffers.h"

#include <stdexcept>
#include <string>

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

unsigned long requireAttributes(const char* caller, const AttributeBuffers& attributes) {
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (!attributes[i]) {
            throw std::invalid_argument(caller + (": attribute " + std::to_string(i)) +
                                        " is an empty pointer; leave it out");
        }
        const unsigned long count = attributes[i]->getElementCount();
        const unsigned long firstCount = attributes[0]->getElementCount();
        if (count != firstCount) {
            throw std::invalid_argument(caller + (": attribute \"" + attributes[i]->getAttributeName()) + "\" has " +
                                        std::to_string(count) + " elements and attribute \"" +
                                        attributes[0]->getAttributeName() + "\" " + std::to_string(firstCount) +
                                        "; give every vertex one element of each");
        }
    }
    return attributes.empty() ? 0 : attributes[0]->getElementCount();
}

} // namespace vexa::mesh::detail
