#pragma once

#include "vexa/mesh/Executor.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/Types.h"

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace vexa::mesh {

/// One primitive of an index list: its topology and its vertex indices.
struct IndexedPrimitive {
    PrimitiveType type;
    std::vector<unsigned int> indices;
};

/// A pass of a search for strips that has just finished. Costs are numbers of indices, those of the fans and of the
/// triangles left to the batch included.
struct StripPass {
    std::uint32_t number; ///< from 1 to `wanted`
    std::uint32_t wanted; ///< `StripOptions::iterations`
    std::uint32_t cost;   ///< of this pass
    std::uint32_t best;   ///< lowest cost so far
    std::uint32_t worst;  ///< highest cost so far
};

/// Options of `buildPrimitives`.
struct StripOptions {
    std::uint32_t iterations = 1;      ///< passes; with more, the cheapest is kept. 0 builds no strips
    bool buildStrips = true;           ///< false puts everything but the fans into the batch
    bool buildFans = false;            ///< cut closed fans around vertices first
    std::uint32_t minFanTriangles = 6; ///< fewest triangles around a vertex that make it the centre of a fan
    bool allStrips = false;            ///< single triangles become strips too; there is no `TRIANGLES` batch

    /// Called after every pass, if set: `iterations` times, unless it stops the search; never if no strips are built.
    ///
    /// The last of several passes repeats the cheapest one and its strips are the result. Its cost can still differ
    /// from the best, because the triangles are drawn from lists that the earlier passes have reordered.
    ///
    /// Return true to continue. False makes the next pass the last: it repeats the cheapest pass so far and is not
    /// reported, so that the result is the one of `iterations` = `number` + 1. After the last pass the value is ignored.
    /// May throw: the exception leaves `buildPrimitives`, which frees everything.
    std::function<bool(const StripPass&)> onPass = {};
};

/// Separator of two strips in `joinStrips`: repeated vertices (degenerate triangles) or `restartIndex`.
enum class StripJoin { Degenerate, Restart };

/// Cuts a triangle list into fans, strips and one left-over `TRIANGLES` batch.
///
/// Their order is that of `HalfEdgeGraph::getPrimitive(indices, 0)`, and for a mesh without non-manifold edges they equal
/// the graph's primitives for the same parameters, index for index. Triangles at a non-manifold edge are not split off:
/// each half-edge is paired with the earliest opposite half-edge of another triangle that is not paired yet, so four
/// triangles on an edge form two pairs.
///
/// Does not read or change the state of `rand`, does not log, and may run in several threads at the same time.
///
/// \param triangles vertex indices, three per triangle in winding order; may be empty
/// \param options   see StripOptions
/// \return the primitives. Together they hold every input triangle once, in its winding, with one exception: `allStrips`
///         together with `iterations` 0 or `buildStrips` false returns only the fans, as the graph does
/// \throw std::invalid_argument "buildPrimitives: N indices are not a whole number of triangles", or "buildPrimitives:
///                              index N is 4294967295, which is reserved for primitive restart"
/// \throw std::length_error     "Strips can be built from at most 1073741821 triangles"
/// \throw std::bad_alloc        if memory runs out
/// Also throws whatever `options.onPass` throws.
/// Cost: linear in the number of triangles for one pass; each further pass adds O(n log n).
VEXA_MESH_EXPORT std::vector<IndexedPrimitive> buildPrimitives(std::span<const unsigned int> triangles,
                                                               const StripOptions& options = {});

/// Cuts several triangle lists, each as above, in the threads of an executor.
///
/// \param meshes   vertex indices of each; may be empty
/// \param options  of all of them. `onPass` is called in the thread that works on a mesh, and may be called in several threads
///                 at once
/// \param executor shares the meshes between threads; the result does not depend on it
/// \return the primitives of each mesh, in the order of the meshes
/// \throw std::invalid_argument as above, with the first such mesh: "buildPrimitives: mesh N: ..."; before any work begins
/// \throw std::length_error, std::bad_alloc as above
/// Also throws whatever `options.onPass` and the executor throw; meshes that have not begun are then left out.
/// Cost: as above for all of them. Memory: that of the meshes in work at a time, beside the result.
VEXA_MESH_EXPORT std::vector<std::vector<IndexedPrimitive>>
buildPrimitives(std::span<const std::span<const unsigned int>> meshes, const StripOptions& options,
                const Executor& executor);

/// Joins strips into one `TRIANGLE_STRIP` index list in which every triangle keeps its winding.
///
/// \param strips primitives of type `TRIANGLE_STRIP`; those of fewer than three indices are skipped
/// \param join   `Degenerate` repeats the last vertex of a strip and the first of the next (unless they are the same),
///               and repeats the latter once more if the next strip would begin at an odd position; `Restart` inserts
///               `restartIndex` between two strips
/// \return the indices; empty when there are no strips
/// \throw std::invalid_argument "joinStrips: primitive N is of type TYPE, not TRIANGLE_STRIP"
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<unsigned int> joinStrips(std::span<const IndexedPrimitive> strips, StripJoin join);

/// Decodes a list into its oriented triangles.
///
/// \param type    `TRIANGLES`, `TRIANGLE_STRIP` or `TRIANGLE_FAN`
/// \param indices vertex indices; after `restartIndex` a new strip or fan begins (in a `TRIANGLES` list it discards an
///                incomplete triangle)
/// \return three indices per triangle in winding order; triangles with two equal corners are dropped
/// \throw std::invalid_argument "toTriangles: TYPE does not contain triangles": any other type
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<unsigned int> toTriangles(PrimitiveType type, std::span<const unsigned int> indices);

/// A checksum of oriented triangles: the same for every order of the triangles, and for every corner that a triangle may
/// begin with. Sets of triangles that differ, even in one triangle only, have different sums but for an accident of
/// probability 2^-128; who wants to can construct two sets with equal sums.
struct VEXA_MESH_EXPORT TriangleSum {
    std::uint64_t count = 0;                   ///< of triangles
    std::array<std::uint64_t, 2> hashes{0, 0}; ///< each the sum of a hash of every triangle, modulo 2^64

    /// Adds the triangles of another part of a mesh.
    TriangleSum& operator+=(const TriangleSum& other);
    bool operator==(const TriangleSum&) const = default;
};

/// The checksum of the triangles that `toTriangles` returns, which it does not store.
///
/// \param type, indices as for `toTriangles`
/// \throw std::invalid_argument "sumTriangles: TYPE does not contain triangles": as `toTriangles`
/// Cost: linear; no memory.
VEXA_MESH_EXPORT TriangleSum sumTriangles(PrimitiveType type, std::span<const unsigned int> indices);

/// Whether two triangle lists hold the same oriented triangles equally often, regardless of their order and of the
/// corner with which each begins. Compares checksums, as `TriangleSum` describes.
///
/// \param a, b three vertex indices per triangle; one or two indices after the last whole triangle are ignored
/// Cost: linear; no memory.
VEXA_MESH_EXPORT bool sameTriangles(std::span<const unsigned int> a, std::span<const unsigned int> b);

} // namespace vexa::mesh
