#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/GlmLayout.h"

#include <functional>
#include <glm/vec3.hpp>

/// Octahedral encoding of normals in two bytes: the normal is projected onto the octahedron |x| + |y| + |z| = 1, the
/// lower half is folded over the upper one, and the remaining two coordinates are stored as unsigned bytes.
///
/// Source: Meyer, Süßmuth, Sußner, Stamminger, Greiner: On Floating-Point Normal Vectors (2010).
///
/// All functions are pure and may run in several threads at the same time. The sign and payload of a NaN that they
/// compute are not specified.
namespace vexa::mesh {

/// Folds one coordinate of the lower half: (1 - |b|) with the sign of a, where zeros of both signs count as positive
/// and NaN as negative. Computed in double precision and rounded to float.
VEXA_MESH_EXPORT float wrapOctahedronNormalValue(float a, float b);

/// Encodes a normal of any length as two coordinates from 0 to 1. A zero normal gives NaNs.
///
/// \param x, y, z the normal; a z of minus zero is in the upper half
/// \param u, v    receive the coordinates
VEXA_MESH_EXPORT void encodeOctahedronNormal(float x, float y, float z, float& u, float& v);

/// Packs a normal into two bytes: the coordinates times 255, truncated. NaN becomes 255.
///
/// \param normal one vector of any length; must not be null
/// \param out    receives two bytes; must not be null
VEXA_MESH_EXPORT void quantizeNormal(glm::vec3* normal, unsigned char* out);

/// Unpacks a normal. It lies on the octahedron, |x| + |y| + |z| = 1: its length is not 1.
///
/// \param in     two bytes; must not be null, not changed
/// \param normal receives the vector; must not be null
VEXA_MESH_EXPORT void dequantizeNormal(unsigned char* in, glm::vec3* normal);

/// quantizeNormal for transformAttributes: from elements of three floats to elements of two unsigned bytes.
VEXA_MESH_EXPORT std::function<void(void*, void*)> quantizeNormals();

/// dequantizeNormal for transformAttributes: from elements of two unsigned bytes to elements of three floats.
VEXA_MESH_EXPORT std::function<void(void*, void*)> dequantizeNormals();

} // namespace vexa::mesh
