#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/Mesh.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vexa::mesh {

/// How bad a fault is: a note describes, a warning may spoil algorithms, an error makes the mesh unusable.
enum class FaultSeverity { Note, Warning, Error };

/// The kinds of faults. The name that getStringForFaultCode returns is the same in words, such as "missing-position".
enum class FaultCode {
    MissingPosition,      ///< the attribute "position" is missing (error)
    EmptyBuffer,          ///< an attribute buffer is an empty pointer (error)
    DuplicateName,        ///< a preceding attribute has the same name (warning)
    UnequalElementCounts, ///< another number of elements than positions (fewer: error; more: warning)
    SizeOverflow,         ///< elements overlap or end after their storage, or 2^32 - 1 vertices or more (error)
    IndexOutOfRange,      ///< an index is not below the number of vertices (error)
    RestartInList,        ///< a list of points, lines or triangles contains a restart index (warning)
    IncompletePrimitive,  ///< indices that are too few for a primitive (warning)
    NonFiniteValue,       ///< a float is infinite or not a number (error)
    NonUnitNormal,        ///< the length of a "normal" of three floats is not 1 (warning)
    CollapsedTriangle,    ///< two corners of a triangle of a list or fan are one vertex (warning)
    ZeroAreaTriangle,     ///< the corners of a triangle that is not collapsed are on one line (warning)
    DuplicateTriangle,    ///< a preceding triangle has the same corners, in any order (warning)
    InconsistentWinding,  ///< an edge along which its two triangles run the same way (warning)
    NonManifoldEdge,      ///< an edge of more than two triangles (warning)
    OpenBorder,           ///< an edge of one triangle (note)
    IsolatedVertex        ///< a vertex that no index refers to (note)
};

/// The place of a fault.
struct FaultSite {
    /// Position of an attribute, position of an index, vertex, triangle, or lower vertex of an edge, whichever the fault
    /// concerns. The n-th triangle of strips and fans is counted with the collapsed ones.
    std::uint64_t element = 0;
    double value = 0; ///< the index, count, component, length or area found there, or the other vertex of an edge
};

/// All faults of one code, and of one attribute if they concern one.
struct MeshFault {
    FaultCode code{};
    FaultSeverity severity{};
    std::string attribute;        ///< name; empty for faults that concern no attribute
    std::uint64_t total = 0;      ///< exact
    std::vector<FaultSite> sites; ///< the first of them, in order
    std::string text;             ///< "3 of 36 indices are out of range, first 99 at 17: the mesh has 24 vertices"
};

/// Options of `findFaults`.
struct FaultOptions {
    FaultSeverity minSeverity = FaultSeverity::Note; ///< faults below are not looked for
    std::uint64_t maxSites = 16;                     ///< of each fault; totals stay exact
    float unitTolerance = 1e-3F;                     ///< how far the length of a normal may be from 1
};

/// Finds everything that is wrong with a mesh.
///
/// Triangles with an index that is out of range are left out of what is said of the surface. Edges are those between
/// vertices, as in `buildEdges`: at a seam of equal positions, two borders meet. Strips are joined by collapsed
/// triangles, which are not reported.
///
/// \param mesh    any implementation; not changed
/// \param options see FaultOptions
/// \return the worst first, in order of their codes; empty for a mesh without faults
/// \throw std::bad_alloc if memory runs out; nothing else, whatever the mesh contains
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<MeshFault> findFaults(const Mesh& mesh, const FaultOptions& options = {});

/// The name of a code, for example "index-out-of-range"; the empty string for any other value.
VEXA_MESH_EXPORT std::string getStringForFaultCode(FaultCode code);

/// "note", "warning" or "error"; the empty string for any other value.
VEXA_MESH_EXPORT std::string getStringForFaultSeverity(FaultSeverity severity);

} // namespace vexa::mesh
