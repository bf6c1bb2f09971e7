#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/Types.h"

#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh {

/// One primitive of an index list: its topology and its vertex indices.
struct IndexedPrimitive {
    PrimitiveType type;
    std::vector<unsigned int> indices;
};

/// How `buildPrimitives` cuts a mesh.
struct StripOptions {
    std::uint32_t iterations = 1;      ///< passes; more search for a cheaper cut. 0 builds no strips
    bool buildStrips = true;           ///< false leaves everything but the fans to the batch
    bool buildFans = false;            ///< cut closed fans around vertices first
    std::uint32_t minFanTriangles = 6; ///< fewest triangles around a vertex that make it the centre of a fan
    bool allStrips = false;            ///< no `TRIANGLES` batch: single triangles become strips too
};

/// What `joinStrips` puts between two strips: repeated vertices (degenerate triangles) or the restart index 4294967295.
enum class StripJoin { Degenerate, Restart };

/// Cuts a triangle list into fans, strips and one left-over `TRIANGLES` batch.
///
/// They come in the order in which `HalfEdgeGraph::getPrimitive(indices, 0)` hands them out, and on a mesh without
/// non-manifold edges they are index for index what the graph gives for the same parameters. On a non-manifold edge
/// nothing is split off: a half-edge pairs with the earliest opposite half-edge of another triangle on that edge that
/// has no partner yet, so that four triangles on an edge make two pairs.
///
/// Neither reads nor changes the state of `rand`, logs nothing, and may run in several threads at once.
///
/// \param triangles vertex indices, three per triangle in winding order; may be empty
/// \param options   see StripOptions
/// \return the primitives; together they hold every input triangle once, in its winding (except that `allStrips`
///         without strips to be built gives only the fans, as it does with the graph)
/// \throw std::invalid_argument the number of indices is no multiple of 3, or an index is 4294967295
/// \throw std::length_error     2^30 - 2 triangles or more
/// Cost: linear in the number of triangles for one pass; each further pass adds O(n log n).
VEXA_MESH_EXPORT std::vector<IndexedPrimitive> buildPrimitives(std::span<const unsigned int> triangles,
                                                               const StripOptions& options = {});

/// Joins strips into one `TRIANGLE_STRIP` index list in which every triangle keeps its winding.
///
/// \param strips primitives of type `TRIANGLE_STRIP`; those of fewer than three indices are skipped
/// \param join   `Degenerate` repeats the last vertex of a strip and the first of the next (unless they are the same),
///               and that once more where the next strip would begin at an odd position; `Restart` puts 4294967295
///               between two strips
/// \throw std::invalid_argument a primitive is no `TRIANGLE_STRIP`
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<unsigned int> joinStrips(std::span<const IndexedPrimitive> strips, StripJoin join);

/// Decodes a list into its oriented triangles.
///
/// \param type    `TRIANGLES`, `TRIANGLE_STRIP` or `TRIANGLE_FAN`
/// \param indices vertex indices; 4294967295 ends a strip or a fan, and the next index begins a new one (in a
///                `TRIANGLES` list it drops what is left of an unfinished triangle)
/// \return three indices per triangle in winding order; triangles with two equal corners are dropped
/// \throw std::invalid_argument any other type
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<unsigned int> toTriangles(PrimitiveType type, std::span<const unsigned int> indices);

/// Whether two triangle lists hold the same oriented triangles, each as often, in whatever order and from whatever
/// corner.
///
/// \param a, b three vertex indices per triangle; one or two indices behind the last whole triangle are ignored
/// Cost: O(n log n) time and a copy of both lists.
VEXA_MESH_EXPORT bool sameTriangles(std::span<const unsigned int> a, std::span<const unsigned int> b);

} // namespace vexa::mesh
