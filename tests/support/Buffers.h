#pragma once

#include <vexa/mesh/AttributeBuffer.h>
#include <vexa/mesh/IndexBuffer.h>
#include <vexa/mesh/Mesh.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace vexa::test {

/// An attribute buffer of the library's own, filled with elements of T, whose components are of the given type.
template <typename T>
std::shared_ptr<mesh::AttributeBuffer> attribute(mesh::ComponentType type, unsigned long componentCount,
                                                 const std::string& name, const std::vector<T>& elements) {
    auto buffer = mesh::AttributeBuffer::createDefault(type, componentCount, name);
    buffer->resize(elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        buffer->setElement(i, &elements[i]);
    }
    return buffer;
}

inline std::shared_ptr<mesh::AttributeBuffer> vec3f(const std::string& name,
                                                    const std::vector<std::array<float, 3>>& elements) {
    return attribute(mesh::FLOAT, 3, name, elements);
}

/// So many elements of three zeros.
inline std::shared_ptr<mesh::AttributeBuffer> zeros(const std::string& name, unsigned long elementCount) {
    auto buffer = mesh::AttributeBuffer::createDefaultVec3f(name);
    buffer->resize(elementCount);
    return buffer;
}

template <typename T>
std::vector<T> elementsOf(const mesh::AttributeBuffer& buffer) {
    std::vector<T> elements(buffer.getElementCount());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        buffer.getElement(i, &elements[i]);
    }
    return elements;
}

inline std::shared_ptr<mesh::IndexBuffer> indexBuffer(mesh::ComponentType type,
                                                      const std::vector<unsigned long>& indices) {
    auto buffer = mesh::IndexBuffer::createDefault(type);
    buffer->resize(indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        buffer->setElement(i, indices[i]);
    }
    return buffer;
}

inline std::vector<unsigned long> indicesOf(const mesh::IndexBuffer& buffer) {
    std::vector<unsigned long> indices(buffer.getElementCount());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        indices[i] = buffer.getElement(i);
    }
    return indices;
}

/// A TRIANGLES mesh with 32-bit indices.
inline mesh::MeshPtr meshOf(const std::vector<std::shared_ptr<mesh::AttributeBuffer>>& attributes,
                            const std::vector<unsigned long>& indices = {}) {
    auto result = mesh::Mesh::createDefault();
    result->setIndexBuffer(indexBuffer(mesh::UNSIGNED_INT, indices));
    for (const auto& buffer : attributes) {
        result->addAttributeBuffer(buffer);
    }
    return result;
}

} // namespace vexa::test
