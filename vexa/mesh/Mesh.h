#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/Types.h"

#include <memory>
#include <string>

namespace vexa::mesh {

class Mesh;
using MeshPtr = std::shared_ptr<Mesh>;

/// Indexed mesh: a primitive type, at most one index buffer and an ordered list of named attribute buffers.
///
/// A mesh holds a share of each of its buffers, and its getters hand out further shares of the same objects: writing
/// into a buffer that came from a mesh changes the mesh. No member locks; a mesh must be used by one thread at a time.
///
/// The order of the virtual functions is part of the binary interface; the destructor is the last of them.
class VEXA_MESH_EXPORT Mesh {
public:
    /// Creates a mesh with an empty index buffer and no attribute buffers. Nothing is checked.
    ///
    /// \param primitiveType stored as it is
    /// \param indexType     component type of the index buffer; with a type that IndexBuffer::createDefault does not
    ///                      support, such as `FLOAT`, the mesh has no index buffer
    /// \return never empty
    /// \throw std::bad_alloc if memory runs out
    static MeshPtr createDefault(PrimitiveType primitiveType, ComponentType indexType);

    /// The same as `createDefault(TRIANGLES, UNSIGNED_INT)`.
    static MeshPtr createDefault();

    /// Creates a mesh with the layout of another and without elements: primitive type, index type (no index buffer
    /// without one), names, component types and counts of the attributes. Stride and offset are not copied.
    ///
    /// \param mesh not changed, shares no buffer with the result; must not be empty
    /// \return never empty
    /// \throw std::logic_error "Attribute buffer is empty": the mesh holds an empty pointer
    /// \throw std::bad_alloc   if memory runs out
    static MeshPtr createEmptyMesh(const MeshPtr& mesh);

    /// Whether two meshes have the same layout: primitive type, and by position the names, component types and
    /// component counts of their attributes. Index buffers, element counts, strides and contents are not compared.
    ///
    /// \param first, second  not changed; must not be empty; may be the same
    /// \param logDifferences whether the first difference is logged at severity error
    /// \throw std::logic_error "Attribute buffer is empty": a mesh holds an empty pointer
    /// Also throws whatever the logging library throws.
    /// Cost: linear in the number of attribute buffers.
    static bool meshesAreCompatible(const MeshPtr& first, const MeshPtr& second, bool logDifferences);

    /// Checks that the mesh is consistent: it has positions, no attribute has fewer elements than there are positions,
    /// and every index is below their number. The primitive type is not checked.
    ///
    /// \throw std::logic_error "Missing position attribute"
    /// \throw std::logic_error "Attribute buffer is empty": the mesh holds an empty pointer
    /// \throw std::logic_error "Attribute NAME has less elements than vertices"
    /// \throw std::logic_error "Indices are out of range"
    /// Cost: linear in the number of indices.
    void isValid() const;

    /// Topology that the indices, or the vertices of a mesh without indices, describe.
    virtual PrimitiveType getPrimitiveType() const = 0;

    /// Element count of the index buffer, or without one of the attribute "position" (0 if there is none), divided by
    /// getVertexCountForPrimitiveType of the primitive type. Strips, loops and fans count as if they were lists. 0 for
    /// a primitive type outside 0..6.
    virtual unsigned long getNumPrimitives() const = 0;

    /// A share of the index buffer; empty when the mesh is not indexed.
    virtual std::shared_ptr<IndexBuffer> getIndexBuffer() const = 0;

    /// Number of attribute buffers, including empty pointers.
    virtual unsigned long getNumAttributeBuffers() const = 0;

    /// A share of one attribute buffer.
    ///
    /// \param index 0-based, in the order in which they were added; not checked
    virtual std::shared_ptr<AttributeBuffer> getAttributeBuffer(unsigned long index) const = 0;

    /// A share of the first attribute buffer with a name; empty when there is none. Uses only the virtual functions.
    ///
    /// \param name compared byte by byte
    /// Cost: linear in the number of attribute buffers.
    virtual std::shared_ptr<AttributeBuffer> getAttributeBuffer(const std::string& name) const;

    /// Appends an attribute buffer to the list. Nothing is checked: two buffers may have the same name, and an empty
    /// pointer is kept (lookup by name skips it).
    ///
    /// \param buffer shared from now on
    /// \throw std::bad_alloc if memory runs out; the mesh is unchanged
    virtual void addAttributeBuffer(std::shared_ptr<AttributeBuffer> buffer) = 0;

    /// Replaces the primitive type; no buffer is touched.
    ///
    /// \param type stored as it is
    virtual void setPrimitive(PrimitiveType type) = 0;

    /// Replaces the index buffer. Its type, element count and values are not checked.
    ///
    /// \param buffer shared from now on; empty leaves the mesh without indices; may be the buffer that is already held
    virtual void setIndexBuffer(const std::shared_ptr<IndexBuffer>& buffer) = 0;

    virtual ~Mesh();
};

} // namespace vexa::mesh
