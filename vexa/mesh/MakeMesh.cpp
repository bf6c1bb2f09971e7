#include "vexa/mesh/MakeMesh.h"

#include "vexa/mesh/detail/elements/Indices.h"
#include "vexa/mesh/detail/elements/MeshBuffers.h"
#include "vexa/mesh/detail/elements/PackedElements.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <utility>

namespace vexa::mesh {

namespace {

void requireType(const char* caller, PrimitiveType type) {
    if (getVertexCountForPrimitiveType(type) == 0) {
        throw std::invalid_argument(caller + (": " + std::to_string(type)) +
                                    " is not a primitive type; use POINTS (0) to TRIANGLE_FAN (6)");
    }
}

void requireVertices(std::span<const unsigned int> indices, unsigned long vertexCount) {
    const auto isMissing = [vertexCount](unsigned int index) { return index >= vertexCount && index != restartIndex; };
    const auto missing = std::find_if(indices.begin(), indices.end(), isMissing);
    if (missing != indices.end()) {
        throw std::invalid_argument("makeMesh: index " + std::to_string(*missing) + " at " +
                                    std::to_string(missing - indices.begin()) + " is out of range: the mesh has " +
                                    std::to_string(vertexCount) + " vertices");
    }
}

/// Appends the strips of a list of strips that may contain restart indices.
void addStrips(std::vector<IndexedPrimitive>& strips, std::span<const unsigned int> indices) {
    for (auto begin = indices.begin(); begin != indices.end();) {
        const auto end = std::find(begin, indices.end(), restartIndex);
        strips.push_back({TRIANGLE_STRIP, {begin, end}});
        begin = end == indices.end() ? end : end + 1;
    }
}

/// Appends the triangles of a fan as strips of up to three: [a b c d e] becomes [b c a d e].
void addFan(std::vector<IndexedPrimitive>& strips, std::span<const unsigned int> indices) {
    const std::vector<unsigned int> triangles = toTriangles(TRIANGLE_FAN, indices);
    std::size_t inStrip = 0;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const unsigned int* const corners = &triangles[i];
        const bool follows =
            inStrip != 0 && inStrip < 3 && corners[0] == triangles[i - 3] && corners[1] == triangles[i - 1];
        if (follows) {
            strips.back().indices.push_back(corners[2]);
        } else {
            strips.push_back({TRIANGLE_STRIP, {corners[1], corners[2], corners[0]}});
            inStrip = 0;
        }
        ++inStrip;
    }
}

std::vector<unsigned int> joinPrimitives(std::span<const IndexedPrimitive> primitives, StripJoin join) {
    std::vector<IndexedPrimitive> strips;
    for (std::size_t i = 0; i < primitives.size(); ++i) {
        const std::vector<unsigned int>& indices = primitives[i].indices;
        switch (primitives[i].type) {
        case TRIANGLE_STRIP:
            addStrips(strips, indices);
            break;
        case TRIANGLE_FAN:
            addFan(strips, indices);
            break;
        case TRIANGLES: {
            const std::vector<unsigned int> triangles = toTriangles(TRIANGLES, indices);
            for (auto corner = triangles.begin(); corner != triangles.end(); corner += 3) {
                strips.push_back({TRIANGLE_STRIP, {corner, corner + 3}});
            }
            break;
        }
        default:
            throw std::invalid_argument("makeMesh: primitive " + std::to_string(i) + " is of type " +
                                        getStringForPrimitiveType(primitives[i].type) +
                                        "; use TRIANGLES, TRIANGLE_STRIP or TRIANGLE_FAN");
        }
    }
    return joinStrips(strips, join);
}

std::shared_ptr<AttributeBuffer> copyAttribute(const AttributeBuffer& buffer) {
    const ComponentType type = buffer.getComponentType();
    auto copy = AttributeBuffer::createDefault(type, buffer.getComponentCountPerElement(), buffer.getAttributeName());
    const detail::ElementFormat format{type, buffer.getComponentCountPerElement(), 1};
    copy->resize(detail::countElements("copyMesh", buffer, format));
    const std::span<std::byte> bytes = bytesOf(*copy);
    detail::copyElements(buffer, bytes.data(), copy->getElementSizeInBytes(), copy->getElementCount());
    return copy;
}

std::shared_ptr<IndexBuffer> copyIndices(IndexBuffer& buffer) {
    const auto stored = detail::findStoredIndices(buffer);
    auto copy = IndexBuffer::createDefault(stored ? stored->type : buffer.getComponentType());
    if (!copy) {
        throw std::invalid_argument("copyMesh: the index buffer has component type " +
                                    std::to_string(buffer.getComponentType()) +
                                    "; use one of the integer types, BYTE (5120) to UNSIGNED_INT (5125)");
    }
    const unsigned long count = buffer.getElementCount();
    copy->resize(count);
    if (stored && count != 0) {
        std::copy_n(stored->bytes, count * stored->elementSizeInBytes,
                    reinterpret_cast<unsigned char*>(bytesOf(*copy).data()));
        return copy;
    }
    for (unsigned long i = 0; i < count; ++i) {
        copy->setElement(i, buffer.getElement(i));
    }
    return copy;
}

} // namespace

AttributeBuffers attributesOf(const Mesh& mesh) {
    AttributeBuffers attributes(mesh.getNumAttributeBuffers());
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        attributes[i] = mesh.getAttributeBuffer(i);
        if (!attributes[i]) {
            throw std::invalid_argument("attributesOf: attribute " + std::to_string(i) +
                                        " of the mesh is an empty pointer");
        }
    }
    return attributes;
}

MeshPtr makeMesh(PrimitiveType type, std::span<const unsigned int> indices, AttributeBuffers attributes,
                 const MakeMeshOptions& options) {
    requireType("makeMesh", type);
    const unsigned long vertexCount = detail::requireAttributes("makeMesh", attributes);
    requireVertices(indices, vertexCount);
    auto buffer = IndexBuffer::createDefault(detail::indexTypeFor(options.indexWidth, UNSIGNED_INT, vertexCount));
    detail::requireIndicesFit("makeMesh", buffer->getComponentType(), indices);
    assign(*buffer, indices);
    return makeMesh(type, std::move(buffer), std::move(attributes));
}

MeshPtr makeMesh(std::span<const IndexedPrimitive> primitives, AttributeBuffers attributes,
                 const MakeMeshOptions& options) {
    return makeMesh(TRIANGLE_STRIP, joinPrimitives(primitives, options.join), std::move(attributes), options);
}

MeshPtr makeMesh(PrimitiveType type, std::shared_ptr<IndexBuffer> indices, AttributeBuffers attributes) {
    requireType("makeMesh", type);
    detail::requireAttributes("makeMesh", attributes);
    MeshPtr mesh = Mesh::createDefault(type, UNSIGNED_INT);
    mesh->setIndexBuffer(indices);
    for (auto& attribute : attributes) {
        mesh->addAttributeBuffer(std::move(attribute));
    }
    return mesh;
}

MeshPtr copyMesh(const Mesh& mesh) {
    MeshPtr copy = Mesh::createDefault(mesh.getPrimitiveType(), UNSIGNED_INT);
    const auto indices = mesh.getIndexBuffer();
    copy->setIndexBuffer(indices ? copyIndices(*indices) : nullptr);
    for (const auto& attribute : attributesOf(mesh)) {
        copy->addAttributeBuffer(copyAttribute(*attribute));
    }
    return copy;
}

} // namespace vexa::mesh
