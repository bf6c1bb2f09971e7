#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/Strips.h"
#include "vexa/mesh/Types.h"
#include "vexa/mesh/Views.h"

#include <cstddef>
#include <memory>
#include <ranges>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

/// Meshes from arrays, from strips and from the half-edge graph.
namespace vexa::mesh {

class HalfEdgeGraph;

/// Index type of a result. The value with all bits set is never a vertex: it separates strips, loops and fans.
enum class IndexWidth {
    Keep,      ///< the type of the input (of several, the widest), or a wider one if an index does not fit
    Narrowest, ///< 16 bits for up to 65535 vertices, otherwise 32. Never 8, which WebGPU and Direct3D 12 cannot draw
    Bits8,     ///< `UNSIGNED_BYTE`; std::length_error if an index does not fit
    Bits16,    ///< `UNSIGNED_SHORT`; std::length_error if an index does not fit
    Bits32     ///< `UNSIGNED_INT`
};

using AttributeBuffers = std::vector<std::shared_ptr<AttributeBuffer>>;

/// A packed attribute buffer with a copy of elements.
///
/// \param name     name for lookups
/// \param elements for example a `std::vector<glm::vec3>`
/// \return never empty
/// \throw std::length_error, std::bad_alloc the elements do not fit into memory
/// Cost: linear.
template <BufferElementRange R>
std::shared_ptr<AttributeBuffer> makeAttribute(const std::string& name, const R& elements) {
    using Traits = ElementTraits<std::remove_cvref_t<std::ranges::range_reference_t<R>>>;
    auto buffer = AttributeBuffer::createDefault(Traits::componentType, Traits::componentCount, name);
    assign(*buffer, elements);
    return buffer;
}

/// The same from a flat list of components, such as u0 v0 u1 v1 ...
///
/// \param componentCount components of an element; at least 1
/// \throw std::invalid_argument the number of components is not a multiple of `componentCount`
template <BufferElementRange R>
requires BufferComponent<std::ranges::range_value_t<R>> std::shared_ptr<AttributeBuffer>
makeAttribute(const std::string& name, const R& components, unsigned long componentCount) {
    const std::size_t count = std::ranges::size(components);
    if (componentCount == 0 || count % componentCount != 0) {
        throw std::invalid_argument("makeAttribute: " + std::to_string(count) + " components of attribute \"" + name +
                                    "\" are not a whole number of elements of " + std::to_string(componentCount));
    }
    constexpr ComponentType type = componentTypeOf<std::ranges::range_value_t<R>>;
    auto buffer = AttributeBuffer::createDefault(type, componentCount, name);
    detail::assignElements(*buffer, {type, componentCount, 1},
                           std::as_bytes(std::span(std::ranges::data(components), count)));
    return buffer;
}

/// A packed attribute buffer whose elements are zero.
///
/// \throw std::length_error, std::bad_alloc the elements do not fit into memory
template <BufferElement T>
std::shared_ptr<AttributeBuffer> makeAttribute(const std::string& name, unsigned long elementCount) {
    auto buffer =
        AttributeBuffer::createDefault(ElementTraits<T>::componentType, ElementTraits<T>::componentCount, name);
    buffer->resize(elementCount);
    return buffer;
}

/// Shares of all attribute buffers of a mesh, in order: writing into one changes the mesh. See `copyMesh`.
///
/// \throw std::invalid_argument the mesh holds an empty pointer
VEXA_MESH_EXPORT AttributeBuffers attributesOf(const Mesh& mesh);

/// How `makeMesh` stores indices.
struct MakeMeshOptions {
    IndexWidth indexWidth = IndexWidth::Narrowest; ///< `Keep` is `Bits32`, the type of the list
    StripJoin join = StripJoin::Restart;           ///< what separates the strips that a list of primitives becomes
};

/// A mesh with a copy of an index list, which shares the attribute buffers.
///
/// \param type       any primitive type
/// \param indices    vertices; `restartIndex` separates strips, loops and fans
/// \param attributes any implementation, all with equally many elements; two names may be equal
/// \return never empty
/// \throw std::invalid_argument an attribute pointer is empty, two attributes differ in their number of elements, the type
///                              is not a primitive type, or an index is not below the number of vertices
/// \throw std::length_error     an index does not fit the index width
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear in the number of indices.
VEXA_MESH_EXPORT MeshPtr makeMesh(PrimitiveType type, std::span<const unsigned int> indices,
                                  AttributeBuffers attributes, const MakeMeshOptions& options = {});

/// The same from the primitives that `buildPrimitives`, `buildStrips` or `takePrimitives` return, as one
/// `TRIANGLE_STRIP`: strips stay as they are, each triangle of a list becomes a strip, and the triangles of a fan become
/// strips of up to three. Collapsed triangles of lists and fans are dropped.
///
/// \param primitives of the types `TRIANGLES`, `TRIANGLE_STRIP` and `TRIANGLE_FAN`
/// \throw std::invalid_argument also if a primitive is of another type
VEXA_MESH_EXPORT MeshPtr makeMesh(std::span<const IndexedPrimitive> primitives, AttributeBuffers attributes,
                                  const MakeMeshOptions& options = {});

/// A mesh that shares all of its buffers. The indices are not read: `findFaults` reports those that are out of range.
///
/// \param indices any implementation; empty makes a mesh without indices
/// \throw std::invalid_argument as above, but for the indices
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear in the number of attributes.
VEXA_MESH_EXPORT MeshPtr makeMesh(PrimitiveType type, std::shared_ptr<IndexBuffer> indices,
                                  AttributeBuffers attributes);

/// An independent copy of a mesh of any implementation, with packed buffers of the library's own. Types, names and order
/// of the buffers are the same, and so are all values.
///
/// \throw std::invalid_argument the mesh holds an empty pointer, its indices are not of an integer type, or a buffer
///                              reports sizes that contradict one another
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT MeshPtr copyMesh(const Mesh& mesh);

/// Takes all primitives out of a graph after `HalfEdgeGraph::calcOptPrim`: fans, strips, and the batch of the rest.
///
/// \return the primitives in the order of `HalfEdgeGraph::getPrimitive(indices, 0)`
/// \throw std::bad_alloc if memory runs out; the primitives taken so far are lost
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<IndexedPrimitive> takePrimitives(HalfEdgeGraph& graph);

} // namespace vexa::mesh
