#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/AttributeTransformation.h"
#include "vexa/mesh/BoundingBox.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/Mesh.h"

#include <glm/mat4x4.hpp>
#include <memory>

namespace vexa::mesh {

/// Appends all elements of one buffer to another, each transformed by a function.
///
/// \param target         grown once, then written; must not be empty
/// \param source         not changed; must not be empty; may be the target or share its storage
/// \param transformation called once with a copy of each element, in order
/// \throw std::invalid_argument  "Attributes are incompatible!!!": see AttributeBuffer::isCompatible; nothing is changed
/// \throw std::length_error      the element count exceeds 64 bits, or the size exceeds the storage's limit; nothing is
///                               changed
/// \throw std::bad_alloc         if memory runs out; the target may be grown already, but no element is written
/// \throw std::bad_function_call the transformation is empty and the source is not; the target is already grown
/// Also throws whatever the transformation throws; the target is then grown, and written up to that element.
/// Cost: linear in the number of source elements, and in all of them when the storage moves.
VEXA_MESH_EXPORT void concatAttribs(std::shared_ptr<AttributeBuffer>& target,
                                    const std::shared_ptr<AttributeBuffer>& source,
                                    AttributeTransformationFunction transformation);

/// Appends one mesh to another of the same layout, in place: first the source's indices, raised by the number of
/// vertices of the target, then its attribute buffers in order, each transformed by the map's entry for its name.
///
/// A target without attribute buffers is left unchanged, including its index buffer. The vertex counts of both meshes
/// are the element counts of their first attribute buffers, whatever their names. Raised indices are stored as the
/// target's index type stores them. A source buffer is appended to the target's first buffer of its name.
///
/// There is no rollback: the state after an exception is documented with it.
///
/// \param target          its buffers are extended in place, which every holder of one sees; must not be empty
/// \param source          not changed; must not be empty; may be the target, which is then doubled
/// \param transformations functions by attribute name; attributes without an entry are copied
/// \throw std::invalid_argument "Both meshes are not compatible!!!": see Mesh::meshesAreCompatible; nothing is changed
/// \throw std::invalid_argument "Only one mesh has an index buffer!!!"; nothing is changed
/// \throw std::invalid_argument "Number of elements in differs with different attributes!!!": a source buffer does
///                              not have as many elements as the first one; the indices and the preceding attributes
///                              are already appended
/// \throw std::logic_error      "Attribute buffer is empty": a mesh holds an empty pointer; nothing is changed
/// \throw std::bad_alloc        if memory runs out; the indices and the preceding attributes may already be appended
/// Also throws whatever concatAttribs throws; the indices and the preceding attributes are then already appended.
/// Cost: linear in the size of the source, and of the target when its storage moves.
VEXA_MESH_EXPORT void concatMeshes(MeshPtr& target, const MeshPtr& source,
                                   const AttributeTransformationMap& transformations);

/// Computes the bounds of a mesh's positions under a matrix.
///
/// Each position p becomes the first three components of matrix * (p, 1), summed in pairs as glm does, without a
/// division: the fourth row is ignored. A NaN of the first position is kept, later ones are ignored; of zeros of both
/// signs the first one is kept. The sign and payload of a NaN are not specified.
///
/// \param box    receives both corners; its flags are kept. Unchanged after an exception
/// \param mesh   its attribute "position" is read; must not be empty
/// \param matrix placement of the positions
/// \throw std::invalid_argument "Mesh has no points", "Only vec3f is allowed for position!!!", "Have zero positions for
///                              mesh!!!"
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear in the number of positions.
VEXA_MESH_EXPORT void computeVolume(glm::detail::taabb<float>& box, const MeshPtr& mesh, const glm::mat4& matrix);

} // namespace vexa::mesh
