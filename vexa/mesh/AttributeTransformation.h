#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/GlmLayout.h"
#include "vexa/mesh/Mesh.h"

#include <functional>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <memory>
#include <string>
#include <unordered_map>

namespace vexa::mesh {

/// Rewrites a copy of one element in place. The function must know the layout of the element; the copy is
/// getElementSizeInBytes() bytes long and aligned for every scalar type (null when that size is 0).
using AttributeTransformationFunction = std::function<void(void*)>;

/// Functions by attribute name.
using AttributeTransformationMap = std::unordered_map<std::string, AttributeTransformationFunction>;

/// Sets the entries "position" and "normal" to functions that transform points and normals by a placement matrix. Both
/// work on elements of three floats; other entries are kept.
///
/// A position p becomes q = m * (p, 1), summed in pairs as glm does, each of x, y and z divided by q.w. A w of zero is
/// not detected and gives infinities or NaNs, whose sign and payload are not specified.
///
/// A normal n becomes t = N * n divided by |t.x| + |t.y| + |t.z|, or t itself when that sum is below 1e-9 or NaN:
/// normals come out with an L1 norm of 1, which suits the octahedral encoding of NormalQuantization.h. N is the inverse
/// transpose of the upper left 3 by 3 part of m, each entry a cofactor divided by the determinant; a part whose
/// determinant is at most 1e-9 in magnitude is used as it is. Everything is computed in single precision.
///
/// \param map receives the entries, "position" first
/// \param m   placement; copied
/// \throw std::bad_alloc if memory runs out; the first entry may already be set
VEXA_MESH_EXPORT void createClassicTransformation(AttributeTransformationMap& map, const glm::mat4& m);

/// Applies a function to each element of a buffer, in order, through a copy of the element.
///
/// \param buffer changed in place; must not be empty
/// \param f      called once per element. If it throws, the preceding elements stay transformed
/// \throw std::bad_function_call f is empty and the buffer is not; nothing is changed
/// \throw std::bad_alloc         if memory runs out; nothing is changed
/// Cost: linear. The functions of createClassicTransformation run in bulk on three packed floats.
VEXA_MESH_EXPORT void transformAttrib(std::shared_ptr<AttributeBuffer>& buffer, AttributeTransformationFunction f);

/// Applies a copy of the map's entry for its name to each attribute buffer, in order. Buffers without an entry, the index
/// buffer and the primitive type are kept; entries without a buffer are ignored.
///
/// \param mesh changed in place; must not be empty
/// \param map  functions by attribute name
/// \throw std::logic_error "Attribute buffer is empty": the mesh holds an empty pointer; the preceding buffers
///                         stay transformed
/// Also throws whatever transformAttrib throws; the preceding buffers then stay transformed.
VEXA_MESH_EXPORT void transformMesh(MeshPtr& mesh, const AttributeTransformationMap& map);

/// Computes each element of one buffer from the element at the same place in another, in order.
///
/// The function is called with copies of both elements. The target's copy is zero at first; later it still holds the
/// function's output for the preceding element.
///
/// If the element counts differ, nothing is changed and the line "Source and target element count are different" is
/// written to the standard error stream.
///
/// \param source not changed; must not be empty; may be the target
/// \param target written; must not be empty
/// \param f      called with a source and a target element. If it throws, the preceding elements are written
/// \throw std::bad_function_call f is empty and the buffers are not; nothing is changed
/// \throw std::bad_alloc         if memory runs out; nothing is changed
/// Cost: linear. The functions of NormalQuantization.h run in bulk on packed elements.
VEXA_MESH_EXPORT void transformAttributes(std::shared_ptr<AttributeBuffer> source,
                                          std::shared_ptr<AttributeBuffer> target, std::function<void(void*, void*)> f);

/// A function that returns the first three components of m * (v, w), summed in pairs as glm does, without a division.
///
/// \param w 1 transforms points, 0 directions
/// \param m copied
VEXA_MESH_EXPORT std::function<glm::vec3(const glm::vec3&)> createVec3TransformationFunction(float w,
                                                                                             const glm::mat4& m);

/// Wraps a function on vectors for transformAttributes: both elements are three floats.
///
/// \param f copied; if it is empty, calling the result throws std::bad_function_call
VEXA_MESH_EXPORT std::function<void(void*, void*)>
createVec3AttributeTransformationFunction(std::function<glm::vec3(const glm::vec3&)> f);

} // namespace vexa::mesh
