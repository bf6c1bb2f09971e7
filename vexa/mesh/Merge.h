#pragma once

#include "vexa/mesh/Executor.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/GlmLayout.h"
#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/Strips.h"
#include "vexa/mesh/Transformation.h"

#include <cstdint>
#include <glm/mat4x4.hpp>
#include <memory>
#include <span>
#include <vector>

/// Many placed meshes as one, and one mesh as several.
namespace vexa::mesh {

/// A mesh and its place. One mesh may be in any number of instances.
struct MeshInstance {
    std::shared_ptr<const Mesh> mesh;
    glm::mat4 placement = glm::mat4(1.0F); ///< affine
};

/// The treatment of attributes that only some of the meshes have.
enum class MissingAttribute { Throw, FillWithZeros };

/// Options of `mergeMeshes`.
struct MergeOptions {
    IndexWidth indexWidth = IndexWidth::Keep; ///< of the result; `Keep` widens where the vertices of all need it
    bool asTriangles = false;                 ///< a `TRIANGLES` list of meshes whose types of triangles may differ
    StripJoin join = StripJoin::Restart;      ///< between triangle strips; all other strips, loops and fans use Restart
    MissingAttribute missing = MissingAttribute::Throw;
    TransformationOptions transformation = {}; ///< see `placeMesh`
    unsigned threads = 1; ///< most threads to work in, the calling one included; 0 for as many as the processor runs
};

/// The vertices and indices of an instance in a merged mesh.
struct MeshRange {
    std::uint64_t firstVertex = 0;
    std::uint64_t vertexCount = 0;
    std::uint64_t firstIndex = 0;
    std::uint64_t indexCount = 0; ///< 0 in a merged mesh without indices
};

/// Merges meshes into a new one, in order.
///
/// Attributes are matched by name (the second of two equal names with the second), in the order of the first mesh that
/// has them. Instances whose placement is not the identity are placed as `placeMesh` does: also normals and tangents, and
/// under a mirroring placement with their winding flipped; all other values are copied bit by bit. Each buffer of the
/// result is allocated once, and indices are as wide as all vertices together need.
///
/// With several threads, each fills one buffer of the result at a time: the indices or an attribute. Buffers of other classes
/// than the library's must then allow reading them in several threads at once. The result does not depend on the number of
/// threads; if the system cannot start as many, fewer do the work.
///
/// If all meshes lack indices, so does the result, unless strips have to be separated or a winding flipped.
///
/// \param instances at least one; not changed
/// \param options   see MergeOptions
/// \return never empty
/// \throw std::invalid_argument no instance is given, or, naming the first such instance: its mesh is missing or holds
///                              an empty pointer, has another primitive type than the first, attributes of
///                              unequal element counts, an attribute of another type than in the first mesh with it, or
///                              not all attributes (with `MissingAttribute::Throw`); it must be placed and an attribute
///                              is not of floats; or its indices are out of range, or a list contains a restart index
///                              or an incomplete primitive
/// \throw std::length_error     4294967295 vertices or more, or more than the index width allows
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT MeshPtr mergeMeshes(std::span<const MeshInstance> instances, const MergeOptions& options = {});

/// The same in the threads of an executor, which shares the buffers of the result between them; no thread is started.
///
/// \param options  `threads`, if above 1, is the most tasks that the executor is given at a time; otherwise as many as the
///                 processor runs threads
/// \param executor see Executor; the result does not depend on it
/// Also throws whatever the executor throws.
VEXA_MESH_EXPORT MeshPtr mergeMeshes(std::span<const MeshInstance> instances, const MergeOptions& options,
                                     const Executor& executor);

/// The range of each instance in the mesh that `mergeMeshes` makes of the same arguments.
///
/// Throws what `mergeMeshes` throws.
VEXA_MESH_EXPORT std::vector<MeshRange> mergedRanges(std::span<const MeshInstance> instances,
                                                     const MergeOptions& options = {});

/// Copies one range of a merged mesh into a mesh of its own: the inverse of merging, apart from the placement.
///
/// \param mesh  not changed
/// \param range one of those that `mergedRanges` returns
/// \return a mesh of the same primitive and index type with packed buffers
/// \throw std::invalid_argument the range exceeds the mesh, or an index in it refers to a vertex outside of it
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear in the size of the range.
VEXA_MESH_EXPORT MeshPtr extractRange(const Mesh& mesh, const MeshRange& range);

/// Options of `splitMesh`.
struct SplitOptions {
    /// A part has at most 255, 65535 or 4294967295 vertices; `Keep` is the width of the mesh, `Narrowest` 32 bits, stored
    /// in 16 where they suffice.
    IndexWidth indexWidth = IndexWidth::Bits16;
    std::uint64_t maxTriangles = 0; ///< of a part; 0 for any number
};

/// Splits a mesh into parts that fit narrow indices or a number of triangles.
///
/// The triangles keep their order: a part takes as many as fit, and its vertices are in the order of first use. A mesh
/// that fits as a whole becomes one part with all of its vertices. Collapsed triangles are dropped.
///
/// \param mesh    triangles of any type; not changed
/// \param options see SplitOptions
/// \return `TRIANGLES` meshes with indices and packed buffers of their own; none for a mesh without triangles
/// \throw std::invalid_argument the primitive type does not contain triangles, the mesh holds an empty pointer, its
///                              attributes differ in their number of elements, or an index is out of range
/// \throw std::length_error     4294967295 vertices or more
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<MeshPtr> splitMesh(const Mesh& mesh, const SplitOptions& options = {});

} // namespace vexa::mesh
