#pragma once

#include "vexa/mesh/Executor.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/Strips.h"

#include <cstdint>
#include <functional>
#include <span>

namespace vexa::mesh {

/// How `minIndexCount` searches for a high bound.
struct BoundOptions {
    unsigned sweeps = 32; ///< more of them take longer and never prove less by more than rounding; 64 prove little more
    /// Called from the calling thread at least every 50 ms once the mesh is set up, with the part of the sweeps that is
    /// done, from 0 to 1; false ends the search, and the bound is what is proven so far. Whatever it throws leaves the
    /// function.
    std::function<bool(double)> onProgress = {};
    unsigned threads = 1; ///< most threads to work in, the calling one included; 0 for as many as the processor runs
};

/// A proven lower bound on the number of indices of a `TRIANGLE_STRIP` list that draws these triangles.
///
/// No list that draws every triangle that is not collapsed (two equal corners) once, in its winding, has fewer indices:
/// - with `StripJoin::Restart`, no list in which strips are separated by 4294967295 and two degenerate triangles never
///   follow one another (strips use single ones to turn),
/// - with `StripJoin::Degenerate`, no list at all, however its strips are joined.
///
/// The result depends on the input and the options only: not on the machine, the compiler or the number of threads. It is a whole
/// number of integers' sums, so that rounding cannot make it too high. May run in several threads at once.
///
/// \param triangles vertex indices, three per triangle in winding order; may be empty
/// \param join      which lists the bound is for, see above
/// \param options   see BoundOptions
/// \return the bound; 0 when all triangles are collapsed
/// \throw std::invalid_argument the number of indices is not a multiple of 3, or an index is 4294967295
/// \throw std::length_error     more than 2^28 triangles
/// Cost: linear in the number of triangles, for every sweep; O(n log n) where more than two triangles share an edge.
VEXA_MESH_EXPORT std::uint64_t minIndexCount(std::span<const unsigned int> triangles, StripJoin join,
                                             const BoundOptions& options = {});

/// The same in the threads of an executor; no thread is started.
///
/// \param options  `onProgress` is called from the calling thread only: between the steps of the search if the executor leaves
///                 no work to that thread. `threads`, if above 1, is the most tasks that the executor is given at a time;
///                 otherwise as many as the processor runs threads
/// \param executor see Executor; the result does not depend on it
/// Also throws whatever the executor throws.
VEXA_MESH_EXPORT std::uint64_t minIndexCount(std::span<const unsigned int> triangles, StripJoin join,
                                             const BoundOptions& options, const Executor& executor);

} // namespace vexa::mesh
