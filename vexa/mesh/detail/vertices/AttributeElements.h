#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/detail/vertices/VertexClasses.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// The elements of an attribute buffer, to be read in any order: in place if the buffer is the library's own, otherwise a
/// packed copy. Valid until the buffer is resized.
class AttributeElements {
public:
    /// \throw std::bad_alloc if memory runs out
    explicit AttributeElements(const std::shared_ptr<AttributeBuffer>& buffer);
    AttributeElements(AttributeElements&&) = default;
    AttributeElements& operator=(AttributeElements&&) = default;

    [[nodiscard]] const VertexRow& row() const { return row_; }
    [[nodiscard]] const unsigned char* operator[](std::size_t vertex) const {
        return row_.bytes + vertex * row_.stride;
    }

    /// A packed buffer of the same name and type with some of the elements, in a given order.
    [[nodiscard]] std::shared_ptr<AttributeBuffer> pick(std::span<const std::uint32_t> vertices) const;

private:
    std::shared_ptr<AttributeBuffer> buffer_;
    VertexRow row_{};
    std::vector<unsigned char> copy_;
};

/// \param caller the beginning of the message
/// \throw std::length_error 4294967295 vertices or more
void checkVertexCount(const char* caller, std::uint64_t vertexCount);

/// The attributes of a mesh, which must all have as many elements as it has vertices.
///
/// \param caller name of the public function, with which the messages begin
/// \throw std::invalid_argument the mesh holds an empty pointer, or two attributes differ in their number of elements
/// \throw std::length_error     4294967295 vertices or more
AttributeBuffers checkedAttributes(const char* caller, const Mesh& mesh);

/// The indices of a mesh in 32 bits; those of a mesh without an index buffer count up.
///
/// \throw std::invalid_argument an index, other than a restart index, is not below the number of vertices
std::vector<unsigned int> checkedIndices(const char* caller, const Mesh& mesh, std::size_t vertexCount);

} // namespace vexa::mesh::detail
