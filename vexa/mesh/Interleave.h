#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Types.h"
#include "vexa/mesh/Views.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

/// Vertex layouts: several attribute buffers over one storage, which may be memory of the program.
namespace vexa::mesh {

namespace detail {
class BufferData;
}

/// Where an attribute lies within a vertex.
struct VertexAttribute {
    std::string name;
    ComponentType componentType = FLOAT;
    unsigned long componentCount = 0;
    unsigned long offsetInBytes = 0; ///< from the beginning of the vertex
};

/// The same for a member of a vertex structure: `attributeAt<glm::vec3>("normal", offsetof(Vertex, normal))`.
template <BufferElement T>
VertexAttribute attributeAt(const std::string& name, unsigned long offsetInBytes) {
    return {name, ElementTraits<T>::componentType, ElementTraits<T>::componentCount, offsetInBytes};
}

/// Layout that `interleave` chooses.
struct InterleaveOptions {
    /// Offsets and the stride are multiples of it, and offsets also of the component size. A power of two, in bytes; glTF
    /// and WebGPU require 4.
    unsigned long alignment = 4;
};

/// Copies attributes into one new storage, in the order given: all attributes of a vertex, then those of the next.
///
/// \param attributes any implementation, of equally many elements
/// \return buffers of the same names and types, which share the storage: resizing one resizes all. Padding is zero
/// \throw std::invalid_argument a pointer is empty, the numbers of elements differ, a component type is unknown, a buffer
///                              reports sizes that contradict one another, or the alignment is not a power of two
/// \throw std::length_error, std::bad_alloc the vertices do not fit into memory
/// Cost: linear.
VEXA_MESH_EXPORT AttributeBuffers interleave(const AttributeBuffers& attributes, const InterleaveOptions& options = {});

/// Bytes that buffers lie in. Every buffer over them holds a share.
class VEXA_MESH_EXPORT BufferStorage {
public:
    /// Memory that the program owns, without a copy. Buffers over it read and write this memory. Whatever would resize
    /// it throws std::length_error and changes nothing.
    ///
    /// \param bytes may be empty; must stay valid until `owner` is released
    /// \param owner kept until the last buffer over the storage is destroyed, for example the `std::shared_ptr` of the
    ///              array itself; empty if the program keeps the memory valid by other means
    /// \throw std::bad_alloc if memory runs out
    static BufferStorage adopt(std::span<std::byte> bytes, std::shared_ptr<const void> owner);

    /// A copy of bytes in memory of the library.
    ///
    /// \throw std::length_error, std::bad_alloc the bytes do not fit into memory
    static BufferStorage copy(std::span<const std::byte> bytes);

    /// All bytes. Valid until a buffer over them is resized.
    [[nodiscard]] std::span<std::byte> bytes() const;

    /// The storage as the buffers hold it; never empty.
    [[nodiscard]] const std::shared_ptr<detail::BufferData>& data() const { return data_; }

private:
    explicit BufferStorage(std::shared_ptr<detail::BufferData> data);

    std::shared_ptr<detail::BufferData> data_;
};

/// Attribute buffers over an array of vertices.
///
/// \param vertices      whole vertices
/// \param strideInBytes size of a vertex, at least 1
/// \param attributes    within a vertex; they may overlap
/// \return one buffer for each attribute, in order. Resizing one resizes all
/// \throw std::invalid_argument the storage is not a whole number of vertices, an attribute exceeds the vertex, has no
///                              components, or its component type is unknown
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear in the number of attributes.
VEXA_MESH_EXPORT AttributeBuffers makeInterleaved(const BufferStorage& vertices, unsigned long strideInBytes,
                                                  std::span<const VertexAttribute> attributes);

/// The same over one copy of an array of vertices.
VEXA_MESH_EXPORT AttributeBuffers makeInterleaved(std::span<const std::byte> vertices, unsigned long strideInBytes,
                                                  std::span<const VertexAttribute> attributes);

/// A packed attribute buffer over elements that the program owns, without a copy. See `BufferStorage::adopt`.
///
/// \throw std::bad_alloc if memory runs out
template <BufferElement T>
requires(!std::is_const_v<T>) std::shared_ptr<AttributeBuffer> adoptAttribute(const std::string& name,
                                                                              std::span<T> elements,
                                                                              std::shared_ptr<const void> owner) {
    const VertexAttribute attribute = attributeAt<T>(name, 0);
    return makeInterleaved(BufferStorage::adopt(std::as_writable_bytes(elements), std::move(owner)), sizeof(T),
                           {&attribute, 1})
        .front();
}

namespace detail {
VEXA_MESH_EXPORT std::shared_ptr<IndexBuffer> makeIndexBuffer(ComponentType type, const BufferStorage& storage);
} // namespace detail

/// An index buffer over indices that the program owns, without a copy. See `BufferStorage::adopt`.
///
/// \throw std::bad_alloc if memory runs out
template <BufferIndex I>
requires(!std::is_const_v<I>) std::shared_ptr<IndexBuffer> adoptIndices(std::span<I> indices,
                                                                        std::shared_ptr<const void> owner) {
    return detail::makeIndexBuffer(componentTypeOf<I>,
                                   BufferStorage::adopt(std::as_writable_bytes(indices), std::move(owner)));
}

} // namespace vexa::mesh
