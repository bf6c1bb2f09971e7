#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/Mesh.h"

#include <functional>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <memory>
#include <string>
#include <unordered_map>

namespace vexa::mesh {

/// Rewrites a copy of one element in place. It knows the layout of the element itself; the copy is
/// getElementSizeInBytes() bytes long and aligned for every scalar type (null when that size is 0).
using AttributeTransformationFunction = std::function<void(void*)>;

/// What is done to the attribute buffers of a name.
using AttributeTransformationMap = std::unordered_map<std::string, AttributeTransformationFunction>;

/// Sets the entries "position" and "normal" to what a placement matrix does to points and to normals. Both functions
/// work on elements of three floats; other entries are left alone.
///
/// A position p becomes q = m * (p, 1), summed in pairs as glm does, each of x, y and z divided by q.w. A w of zero is
/// not looked for and gives infinities or NaNs.
///
/// A normal n becomes t = N * n divided by |t.x| + |t.y| + |t.z|, or t itself when that sum is below 1e-9 or NaN:
/// normals come out with an L1 norm of 1, which suits the octahedral encoding of NormalQuantization.h. N is the inverse
/// transpose of the upper left 3 by 3 part of m, each entry a cofactor divided by the determinant; a part whose
/// determinant is no greater than 1e-9 in magnitude is taken as it is. All in single precision.
///
/// \param map receives the entries, "position" first
/// \param m   placement; copied
/// \throw std::bad_alloc the first entry may already be set
VEXA_MESH_EXPORT void createClassicTransformation(AttributeTransformationMap& map, const glm::mat4& m);

/// Applies a function to each element of a buffer, in order, by way of a copy of the element.
///
/// \param buffer changed in place; must not be empty
/// \param f      called once per element. When it throws, elements before that one stay transformed
/// \throw std::bad_function_call f is empty and the buffer is not; nothing is changed
/// \throw std::bad_alloc         nothing is changed
/// Cost: linear. Without a call per element for what createClassicTransformation makes on three packed floats.
VEXA_MESH_EXPORT void transformAttrib(std::shared_ptr<AttributeBuffer>& buffer, AttributeTransformationFunction f);

/// Applies to each attribute buffer, in order, a copy of the map's entry for its name. Buffers without an entry, the
/// index buffer and the primitive type are left alone, and so are entries without a buffer.
///
/// \param mesh changed in place; must not be empty
/// \param map  functions by attribute name
/// \throw std::logic_error "Attribute buffer is empty": the mesh holds an empty pointer; buffers before it stay
///                         transformed
/// \throw whatever transformAttrib throws; buffers before that one stay transformed
VEXA_MESH_EXPORT void transformMesh(MeshPtr& mesh, const AttributeTransformationMap& map);

/// Computes each element of one buffer from the element at the same place in another, in order.
///
/// The function gets copies of both elements. The target's copy is zero at first and then holds what the function left
/// in it for the element before.
///
/// When the element counts differ, nothing is changed and the line "Source and target element count are different" goes
/// to the standard error stream.
///
/// \param source only read; must not be empty; may be the target
/// \param target written; must not be empty
/// \param f      called with a source and a target element. When it throws, elements before that one are written
/// \throw std::bad_function_call f is empty and the buffers are not; nothing is changed
/// \throw std::bad_alloc         nothing is changed
/// Cost: linear. Without a call per element for the functions of NormalQuantization.h on packed elements.
VEXA_MESH_EXPORT void transformAttributes(std::shared_ptr<AttributeBuffer> source,
                                          std::shared_ptr<AttributeBuffer> target, std::function<void(void*, void*)> f);

/// A function that returns the first three components of m * (v, w), summed in pairs as glm does, without a division.
///
/// \param w 1 transforms points, 0 directions
/// \param m copied
VEXA_MESH_EXPORT std::function<glm::vec3(const glm::vec3&)> createVec3TransformationFunction(float w,
                                                                                             const glm::mat4& m);

/// A function for transformAttributes, from one on vectors: both elements are three floats.
///
/// \param f kept; calling the result throws std::bad_function_call when it is empty
VEXA_MESH_EXPORT std::function<void(void*, void*)>
createVec3AttributeTransformationFunction(std::function<glm::vec3(const glm::vec3&)> f);

} // namespace vexa::mesh
