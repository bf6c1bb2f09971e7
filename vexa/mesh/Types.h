#pragma once

#include "vexa/mesh/Export.h"

#include <cstdint>
#include <string>

namespace vexa::mesh {

/// Scalar type of one component of a buffer element, by the code that graphics APIs and glTF use.
///
/// Every 32-bit value can be held and is passed through unchecked; the functions below say what they do with others.
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
    POINTS = 0,
    LINES = 1,
    LINE_LOOP = 2,
    LINE_STRIP = 3,
    TRIANGLES = 4,
    TRIANGLE_STRIP = 5,
    TRIANGLE_FAN = 6
};

/// Size of one component in bytes: 1, 2 or 4; 0 for a value that is none of the seven types.
VEXA_MESH_EXPORT unsigned long getComponentSizeInBytes(ComponentType type);

/// Display text of a component type, for example "unsigned byte"; the empty string for any other value.
VEXA_MESH_EXPORT std::string getStringForComponentType(ComponentType type);

/// Vertices of one primitive of a list in which primitives share none: 1, 2 or 3; 0 for any other value.
///
/// Loops, strips and fans count like independent lines and triangles: 2 and 3.
VEXA_MESH_EXPORT unsigned long getVertexCountForPrimitiveType(PrimitiveType type);

/// Display text of a primitive type, its enumerator's name; "(invalid)" for any other value.
VEXA_MESH_EXPORT std::string getStringForPrimitiveType(PrimitiveType type);

} // namespace vexa::mesh
