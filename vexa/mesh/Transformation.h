#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/AttributeTransformation.h"
#include "vexa/mesh/Executor.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/GlmLayout.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/Types.h"

#include <functional>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <vector>

/// Placement of meshes in place, by any affine matrix: unit normals, tangents and windings included.
namespace vexa::mesh {

/// The length that transformed normals have.
enum class NormalLength {
    Unit, ///< 1
    L1,   ///< |x| + |y| + |z| = 1, as createClassicTransformation leaves them
    Keep  ///< as the inverse transpose of the matrix leaves them
};

/// Options of `placeMesh`.
struct TransformationOptions {
    NormalLength normals = NormalLength::Unit; ///< tangents are of length 1 unless this is `Keep`
};

/// Whether a matrix turns right-handed into left-handed: its upper left 3 by 3 part has a negative determinant.
VEXA_MESH_EXPORT bool isMirroring(const glm::mat4& matrix);

/// Sets the entries "position", "normal" and "tangent" to functions that transform by a placement matrix.
///
/// Positions are transformed as by createClassicTransformation. Normals are turned by the inverse transpose of the upper
/// left 3 by 3 part, computed in double, so the scale of the matrix does not matter. A matrix that flattens everything to
/// a plane turns all normals to that of the plane; under one that flattens to a line or a point they keep their
/// direction. Zero normals stay zero. Tangents are turned by the 3 by 3 part itself; they are elements of four floats,
/// the last of which changes its sign under a mirroring matrix, or of three.
///
/// The functions run in bulk on the library's own buffers, packed or interleaved. They do not turn windings.
///
/// \param map     other entries are kept
/// \param matrix  copied
/// \param options see TransformationOptions
/// \throw std::bad_alloc if memory runs out; nothing is changed
VEXA_MESH_EXPORT void createTransformation(AttributeTransformationMap& map, const glm::mat4& matrix,
                                           const TransformationOptions& options = {});

/// Places a mesh: transforms the attributes "position", "normal" and "tangent" as createTransformation does, and under a
/// mirroring matrix flips the winding of triangles. Other attributes are kept; lines and points are without winding.
///
/// Buffers change in place, which every mesh that holds them sees.
///
/// \param mesh    any implementation
/// \param matrix  affine
/// \param options see TransformationOptions
/// \throw std::invalid_argument the mesh holds an empty pointer, one of the three attributes does not have three floats
///                              (a tangent: three or four), or as flipWinding; nothing is changed
/// \throw std::length_error, std::bad_alloc as flipWinding; nothing is changed
/// Also throws whatever the interface of a caller's own buffer throws; the preceding buffers are then placed.
/// Cost: linear.
VEXA_MESH_EXPORT void placeMesh(Mesh& mesh, const glm::mat4& matrix, const TransformationOptions& options = {});

/// The same in the threads of an executor, which shares the elements of the library's own buffers between them where there
/// are a million or more. Indices and callers' own buffers are left to the calling thread.
///
/// \param executor see Executor; the result does not depend on it
/// Also throws whatever the executor throws, and std::bad_alloc if memory runs out: the preceding buffers are then placed, and
/// of those in work, any of the elements.
VEXA_MESH_EXPORT void placeMesh(Mesh& mesh, const glm::mat4& matrix, const TransformationOptions& options,
                                const Executor& executor);

/// Flips the winding of all triangles: of [a b c] to [a c b] in lists, by reversing the rim of a fan, by reversing a strip
/// of an odd number of indices, and by repeating the first index of one of an even number. Flipping twice gives back the
/// same indices: a strip of an odd number of indices that begins with a repeated one loses it. Strips and fans are those
/// between restart indices; indices of an incomplete triangle are kept.
///
/// \param type    `TRIANGLES`, `TRIANGLE_STRIP` or `TRIANGLE_FAN`
/// \param indices changed in place; `restartIndex` separates strips and fans
/// \throw std::invalid_argument "flipWinding: TYPE does not contain triangles": any other type; nothing is changed
/// \throw std::bad_alloc        if memory runs out; nothing is changed
/// Cost: linear.
VEXA_MESH_EXPORT void flipWinding(PrimitiveType type, std::vector<unsigned int>& indices);

/// The same for a mesh. One without indices gets them, of 16 bits for up to 65535 vertices, otherwise of 32.
///
/// \param mesh its index buffer changes in place, which every mesh that holds it sees
/// \throw std::invalid_argument as above, or the indices of a caller's own buffer do not fit 32 bits
/// \throw std::length_error     the mesh is not indexed and has more than 4294967295 vertices
/// \throw std::bad_alloc        if memory runs out; nothing is changed
VEXA_MESH_EXPORT void flipWinding(Mesh& mesh);

/// transformAttrib for a buffer that is not held by a `std::shared_ptr` variable.
VEXA_MESH_EXPORT void applyTransformation(AttributeBuffer& buffer, const AttributeTransformationFunction& f);

/// transformMesh for a mesh that is not held by a `MeshPtr` variable, such as a temporary.
VEXA_MESH_EXPORT void applyTransformations(Mesh& mesh, const AttributeTransformationMap& map);

/// The same in the threads of an executor, as `placeMesh` uses it. Callers' own functions are called in the calling thread,
/// in order.
///
/// \param executor see Executor; the result does not depend on it
VEXA_MESH_EXPORT void applyTransformations(Mesh& mesh, const AttributeTransformationMap& map, const Executor& executor);

/// A map entry for elements of three floats from a function on vectors, such as createVec3TransformationFunction returns.
///
/// \param f copied; if it is empty, calling the result throws std::bad_function_call
VEXA_MESH_EXPORT AttributeTransformationFunction
createVec3ElementFunction(std::function<glm::vec3(const glm::vec3&)> f);

} // namespace vexa::mesh
