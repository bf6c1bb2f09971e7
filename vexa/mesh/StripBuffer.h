#pragma once

#include "vexa/mesh/Executor.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/StripBound.h" // IWYU pragma: export
#include "vexa/mesh/Strips.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace vexa::mesh {

/// The step that `buildStripBuffer` is at.
enum class StripPhase { Pairing, Greedy, Flow, Tunnelling, Annealing, Joining };

/// Reported by `buildStripBuffer` and `buildStrips` while they run.
struct StripProgress {
    StripPhase phase;
    double fraction; ///< of the whole work, from 0 to 1, estimated; never falls
};

/// How `buildStripBuffer` and `buildStrips` search for strips.
struct StripBufferOptions {
    /// Each higher effort takes longer and needs fewer indices. 0: the greedy search of `buildPrimitives`. 1: its strips,
    /// extended through one another. 2: strips around the vertices whose triangles leave no way out, extended likewise.
    /// 3: these, improved by simulated annealing. 4: the same, then annealed as long as `microsecondsPerTriangle` allows.
    unsigned effort = 2;
    StripJoin join = StripJoin::Restart; ///< what separates two strips; `buildStrips` counts indices the same way
    double microsecondsPerTriangle = 10; ///< effort 4 only: time for the search; the others never look at the clock
    std::uint32_t seed = 1;              ///< of the random numbers at efforts 3 and 4
    std::uint32_t maxTriangles = 0;      ///< most triangles of a strip; 0 for any number
    /// Orders short strips such that they find many of their vertices in the vertex cache of a graphics processor: fewer
    /// vertices are transformed, for more indices. Strips are cut to 16 triangles, or to 20 in regular meshes.
    bool forVertexCache = false;
    /// Called from the calling thread, at each phase and at least every 50 ms of work. False ends the search early: steps that every result
    /// needs are completed without further calls, and the best strips so far are returned. Whatever it throws leaves the
    /// function.
    std::function<bool(const StripProgress&)> onProgress = {};
    unsigned threads = 1; ///< most threads to work in, the calling one included; 0 for as many as the processor runs
    /// Passes of the annealing at efforts 3 and 4; 0 for 88. Fewer than 40 start without sweeps of the lower bound: 10 save
    /// almost two thirds of the indices that 88 save, in less than a third of the time.
    std::uint32_t annealingPasses = 0;
};

/// Turns a triangle list into one `TRIANGLE_STRIP` index list with as few indices as the effort finds.
///
/// The result holds every input triangle that is not collapsed (two equal corners) once, in its winding. It depends on
/// the input and the options only, not on the machine, the compiler or the number of threads; at effort 4 also on time. It never
/// has more indices than that of a lower effort with the same options, nor, without `maxTriangles`, than `buildPrimitives`
/// with `allStrips`, joined by `joinStrips` in the same way. With `forVertexCache`, it promises no such thing in meshes of
/// 16,384 triangles or more.
///
/// Any list of triangles will do: more than two triangles on an edge, duplicates, both windings next to one another and
/// closed surfaces. May run in several threads at once.
///
/// \param triangles vertex indices, three per triangle in winding order; may be empty
/// \param options   see StripBufferOptions
/// \return the indices; strips are joined as `options.join` says. Empty when no triangle is left
/// \throw std::invalid_argument the number of indices is not a multiple of 3, an index is 4294967295, the effort is
///                              above 4, or the time per triangle is negative or not a number
/// \throw std::length_error     2^30 - 2 triangles or more
/// \throw any exception of `options.onProgress`
/// Cost: linear in the number of triangles.
VEXA_MESH_EXPORT std::vector<unsigned int> buildStripBuffer(std::span<const unsigned int> triangles,
                                                            const StripBufferOptions& options = {});

/// The same in the threads of an executor: it shares the search at efforts 3 and 4, and no thread is started.
///
/// \param options  `onProgress` is called from the calling thread only: between the steps of the search if the executor leaves
///                 no work to that thread. `threads`, if above 1, is the most tasks that the executor is given at a time;
///                 otherwise as many as the processor runs threads
/// \param executor see Executor; the result does not depend on it
/// Also throws whatever the executor throws.
VEXA_MESH_EXPORT std::vector<unsigned int>
buildStripBuffer(std::span<const unsigned int> triangles, const StripBufferOptions& options, const Executor& executor);

/// The buffers of several triangle lists, each as `buildStripBuffer(triangles, options)` returns it, in the order of the
/// lists.
///
/// \param meshes   vertex indices of each; may be empty
/// \param options  of each of them. `onProgress` is called in the thread that works on a mesh, and may be called in several
///                 threads at once; false ends the search in that mesh only
/// \param executor shares the meshes between threads; the result does not depend on it
/// \throw std::invalid_argument as for one, with the first such mesh: "buildStripBuffer: mesh N: ..."; before any work begins
/// Also throws std::length_error as for one, and whatever the executor throws; meshes that have not begun are then left out.
VEXA_MESH_EXPORT std::vector<std::vector<unsigned int>>
buildStripBuffer(std::span<const std::span<const unsigned int>> meshes, const StripBufferOptions& options,
                 const Executor& executor);

/// The same strips one by one, each a `TRIANGLE_STRIP` primitive that begins at an even position.
///
/// The parameters, exceptions and guarantees are those of `buildStripBuffer`.
VEXA_MESH_EXPORT std::vector<IndexedPrimitive> buildStrips(std::span<const unsigned int> triangles,
                                                           const StripBufferOptions& options = {});

/// How a pass of the search of `buildStripBuffer` has made or changed strips.
enum class StripChange {
    Greedy,     ///< made by the greedy search
    Flow,       ///< made around the vertices whose triangles leave no way out
    Tunnelling, ///< extended through one another
    Annealing,  ///< made from annealed labels
    Parity      ///< rid of indices that were repeated for parity
};

/// The strips at the end of a pass.
struct StripStep {
    StripChange change;
    std::uint64_t indices; ///< that these strips need, joined as the options say
    /// A `TRIANGLE_STRIP` each, which begins at an even position; of any length. They hold every triangle that is not collapsed
    /// once, in its winding.
    std::vector<IndexedPrimitive> strips;
};

/// Does what `buildStripBuffer` does, and shows the strips after each pass on the way.
///
/// The result is that of `buildStripBuffer(triangles, options)`, except at effort 4, where showing takes some of the time. It
/// may have more indices than the last step, if `maxTriangles` or `forVertexCache` cut the strips, or fewer: annealed strips
/// that are not better are dropped, and a lower effort that may need fewer indices is tried without showing its strips.
///
/// \param triangles, options as for `buildStripBuffer`
/// \param onStep called from the calling thread with each step, which it may keep; must not be empty. Whatever it
///               throws leaves the function
/// \throw std::invalid_argument, std::length_error as `buildStripBuffer`: "traceStripBuffer: ..."
/// Also throws any exception of `options.onProgress`, which is not called while strips are shown.
/// Cost: that of the search; linear in the number of triangles for each step.
VEXA_MESH_EXPORT std::vector<unsigned int> traceStripBuffer(std::span<const unsigned int> triangles,
                                                            const StripBufferOptions& options,
                                                            const std::function<void(StripStep)>& onStep);

} // namespace vexa::mesh
