#pragma once

#include "vexa/mesh/Export.h"

#include <cstdint>
#include <string>

namespace vexa::mesh {

/// Scalar type of one component of a buffer element, by the code that graphics APIs and glTF use.
///
/// Any other 32-bit value can be stored and is passed through unchecked; the functions below document their result.
enum ComponentType : std::int32_t {
    BYTE = 5120,           ///< signed 8-bit integer
    UNSIGNED_BYTE = 5121,  ///< unsigned 8-bit integer
    SHORT = 5122,          ///< signed 16-bit integer
    UNSIGNED_SHORT = 5123, ///< unsigned 16-bit integer
    INT = 5124,            ///< signed 32-bit integer
    UNSIGNED_INT = 5125,   ///< unsigned 32-bit integer
    FLOAT = 5126           ///< 32-bit float
};

/// Topology that a list of vertices or indices describes, by the code that graphics APIs and glTF use.
enum PrimitiveType : std::int32_t {
    POINTS = 0,         ///< one vertex each
    LINES = 1,          ///< two vertices each
    LINE_LOOP = 2,      ///< a line from each vertex to the next, and from the last to the first
    LINE_STRIP = 3,     ///< a line from each vertex to the next
    TRIANGLES = 4,      ///< three vertices each, in winding order
    TRIANGLE_STRIP = 5, ///< each vertex makes a triangle with the two preceding ones; every second one is read reversed
    TRIANGLE_FAN = 6    ///< each vertex makes a triangle with the preceding one and the first
};

/// The index that separates two primitives in a 32-bit index list. It does not refer to a vertex.
constexpr std::uint32_t restartIndex = 4294967295U;

/// Size of one component in bytes: 1, 2 or 4; 0 for any other value.
VEXA_MESH_EXPORT unsigned long getComponentSizeInBytes(ComponentType type);

/// Display text of a component type, for example "unsigned byte"; the empty string for any other value.
VEXA_MESH_EXPORT std::string getStringForComponentType(ComponentType type);

/// Number of vertices of one primitive in a list whose primitives share none: 1, 2 or 3; 0 for any other value.
///
/// Loops, strips and fans count like independent lines and triangles: 2 and 3.
VEXA_MESH_EXPORT unsigned long getVertexCountForPrimitiveType(PrimitiveType type);

/// Display text of a primitive type, its enumerator's name; "(invalid)" for any other value.
VEXA_MESH_EXPORT std::string getStringForPrimitiveType(PrimitiveType type);

} // namespace vexa::mesh
