#include "ops/MeshConversion.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <glm/geometric.hpp>
#include <glm/vec3.hpp>
#include <limits>
#include <span>
#include <vexa/mesh/AttributeBuffer.h>
#include <vexa/mesh/IndexBuffer.h>
#include <vexa/mesh/Views.h>

namespace vexa::tool {

namespace {

/// The divisor of a normalised integer; 1 for every other type.
double divisorOf(const AccessorData& values) {
    if (!values.normalized) {
        return 1;
    }
    switch (values.componentType) {
    case mesh::BYTE:
        return std::numeric_limits<std::int8_t>::max();
    case mesh::UNSIGNED_BYTE:
        return std::numeric_limits<std::uint8_t>::max();
    case mesh::SHORT:
        return std::numeric_limits<std::int16_t>::max();
    case mesh::UNSIGNED_SHORT:
        return std::numeric_limits<std::uint16_t>::max();
    default:
        return 1;
    }
}

std::shared_ptr<mesh::IndexBuffer> toIndexBuffer(const Primitive& primitive) {
    if (!primitive.indexAccessor) {
        return nullptr;
    }
    auto buffer = mesh::IndexBuffer::createDefault(primitive.indexType);
    mesh::assign(*buffer, primitive.indices);
    return buffer;
}

} // namespace

std::string libraryName(const std::string& gltfName) {
    return gltfName == "POSITION" ? "position" : gltfName == "NORMAL" ? "normal" : gltfName;
}

std::string gltfName(const std::string& libraryName) {
    return libraryName == "position" ? "POSITION" : libraryName == "normal" ? "NORMAL" : libraryName;
}

std::shared_ptr<mesh::AttributeBuffer> toAttributeBuffer(const AccessorData& values, const std::string& name) {
    auto buffer = mesh::AttributeBuffer::createDefault(values.componentType, values.components, name);
    buffer->resize(values.count);
    std::ranges::copy(std::as_bytes(std::span(values.bytes)), mesh::bytesOf(*buffer).begin());
    return buffer;
}

mesh::MeshPtr toMesh(const Document& document, const Primitive& primitive) {
    mesh::MeshPtr result = mesh::Mesh::createDefault(primitive.type, mesh::UNSIGNED_INT);
    result->setIndexBuffer(toIndexBuffer(primitive));
    std::vector<Attribute> attributes = primitive.attributes;
    std::stable_partition(attributes.begin(), attributes.end(),
                          [](const Attribute& attribute) { return attribute.name == "POSITION"; });
    for (const Attribute& attribute : attributes) {
        result->addAttributeBuffer(
            toAttributeBuffer(readAccessor(document.asset, attribute.accessor), libraryName(attribute.name)));
    }
    return result;
}

AccessorData toFloats(const AccessorData& values) {
    if (values.componentType == mesh::FLOAT) {
        return values;
    }
    AccessorData floats;
    floats.type = values.type;
    floats.components = values.components;
    floats.count = values.count;
    const double divisor = divisorOf(values);
    for (std::size_t i = 0; i < values.count; ++i) {
        for (std::size_t c = 0; c < values.components; ++c) {
            // The most negative integer also represents -1.
            const double value = values.component(i, c) / divisor;
            appendValue(floats.bytes, static_cast<float>(values.normalized ? std::max(value, -1.0) : value));
        }
    }
    return floats;
}

void normalize(mesh::AttributeBuffer& normals) {
    std::array<float, 3> normal{};
    for (std::size_t i = 0; i < normals.getElementCount(); ++i) {
        normals.getElement(i, normal.data());
        const double length =
            std::hypot(static_cast<double>(normal[0]), static_cast<double>(normal[1]), static_cast<double>(normal[2]));
        if (length > 0 && std::isfinite(length)) {
            for (float& component : normal) {
                component = static_cast<float>(static_cast<double>(component) / length);
            }
        } else {
            normal = {0, 0, 1};
        }
        normals.setElement(i, normal.data());
    }
}

void restoreTangents(mesh::AttributeBuffer& tangents, mesh::AttributeBuffer* normals) {
    std::array<float, 4> tangent{};
    for (std::size_t i = 0; i < tangents.getElementCount(); ++i) {
        tangents.getElement(i, tangent.data());
        if (tangent[0] != 0 || tangent[1] != 0 || tangent[2] != 0) {
            continue;
        }
        glm::vec3 direction(1, 0, 0);
        if (normals != nullptr) {
            glm::vec3 normal;
            normals->getElement(i, &normal[0]);
            // Across the axis that is furthest from the normal, so that the product is not short.
            const glm::vec3 axis = std::abs(normal.x) < 0.6F ? glm::vec3(1, 0, 0) : glm::vec3(0, 1, 0);
            direction = glm::normalize(axis - glm::dot(axis, normal) * normal);
        }
        tangent = {direction.x, direction.y, direction.z, tangent[3]};
        tangents.setElement(i, tangent.data());
    }
}

std::string primitiveName(const Mesh& mesh, std::size_t index) {
    return mesh.primitives.size() == 1 ? mesh.name : mesh.name + ", primitive " + std::to_string(index);
}

} // namespace vexa::tool
