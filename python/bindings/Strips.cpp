#include "Arrays.h"
#include "Bindings.h"

#include <vexa/mesh/Edges.h>
#include <vexa/mesh/Statistics.h>
#include <vexa/mesh/StripBuffer.h>

#include <pybind11/functional.h>
#include <pybind11/stl.h>

#include <optional>

namespace py = pybind11;

namespace vexa::python {

namespace {

using namespace vexa::mesh;

using Indices = Array<std::uint32_t>;
using Progress = std::optional<py::function>;

/// Calls back into Python from a search that runs without the interpreter lock: for signals, as Ctrl-C, and for the
/// caller's own function.
///
/// \return false if the caller wants the search to end
bool report(const Progress& progress, double fraction) {
    const py::gil_scoped_acquire lock;
    if (PyErr_CheckSignals() != 0) {
        throw py::error_already_set();
    }
    if (!progress) {
        return true;
    }
    const py::object result = (*progress)(fraction);
    // A function that returns nothing just watches.
    return result.is_none() || py::cast<bool>(result);
}

StripBufferOptions makeOptions(unsigned effort, bool degenerate, double microseconds, std::uint32_t seed,
                               std::uint32_t maxTriangles, bool forVertexCache, unsigned threads,
                               std::uint32_t annealingPasses, const Progress& progress) {
    StripBufferOptions options;
    options.threads = threads;
    options.effort = effort;
    options.join = degenerate ? StripJoin::Degenerate : StripJoin::Restart;
    options.microsecondsPerTriangle = microseconds;
    options.seed = seed;
    options.maxTriangles = maxTriangles;
    options.forVertexCache = forVertexCache;
    options.annealingPasses = annealingPasses;
    options.onProgress = [&progress](const StripProgress& state) { return report(progress, state.fraction); };
    return options;
}

Indices stripBuffer(const Indices& triangles, unsigned effort, bool degenerate, double microseconds, std::uint32_t seed,
                    std::uint32_t maxTriangles, bool forVertexCache, unsigned threads, std::uint32_t annealingPasses,
                    const Progress& progress) {
    const auto options = makeOptions(effort, degenerate, microseconds, seed, maxTriangles, forVertexCache, threads,
                                     annealingPasses, progress);
    std::vector<unsigned int> strip;
    {
        const py::gil_scoped_release unlocked;
        strip = buildStripBuffer(elementsOf(triangles), options);
    }
    return toArray(std::move(strip));
}

py::list stripList(const Indices& triangles, unsigned effort, double microseconds, std::uint32_t seed,
                   std::uint32_t maxTriangles, bool forVertexCache, unsigned threads, std::uint32_t annealingPasses,
                   const Progress& progress) {
    const auto options = makeOptions(effort, false, microseconds, seed, maxTriangles, forVertexCache, threads,
                                     annealingPasses, progress);
    std::vector<IndexedPrimitive> strips;
    {
        const py::gil_scoped_release unlocked;
        strips = buildStrips(elementsOf(triangles), options);
    }
    py::list list;
    for (IndexedPrimitive& strip : strips) {
        list.append(toArray(std::move(strip.indices)));
    }
    return list;
}

Indices trianglesOfStrip(const Indices& strip) {
    std::vector<unsigned int> triangles;
    {
        const py::gil_scoped_release unlocked;
        triangles = toTriangles(TRIANGLE_STRIP, elementsOf(strip));
    }
    return toArray(std::move(triangles));
}

std::uint64_t lowerBound(const Indices& triangles, bool degenerate, unsigned sweeps, unsigned threads,
                         const Progress& progress) {
    BoundOptions options;
    options.threads = threads;
    options.sweeps = sweeps;
    options.onProgress = [&progress](double fraction) { return report(progress, fraction); };
    const py::gil_scoped_release unlocked;
    return minIndexCount(elementsOf(triangles), degenerate ? StripJoin::Degenerate : StripJoin::Restart, options);
}

/// The vertices of the edges, two each, and how many triangles each edge has.
py::tuple edgesOf(const Indices& triangles) {
    std::vector<std::uint32_t> vertices;
    std::vector<std::uint32_t> counts;
    {
        const py::gil_scoped_release unlocked;
        const std::vector<Edge> edges = buildEdges(elementsOf(triangles));
        vertices.reserve(2 * edges.size());
        counts.reserve(edges.size());
        for (const Edge& edge : edges) {
            vertices.insert(vertices.end(), edge.vertices.begin(), edge.vertices.end());
            counts.push_back(edge.triangleCount);
        }
    }
    return py::make_tuple(toArray(std::move(vertices)), toArray(std::move(counts)));
}

/// The fields of the statistics, in order, and their ratios.
py::tuple statsOf(const Indices& indices, bool isStrip, bool isLru, std::uint32_t cacheSize) {
    IndexStats stats;
    {
        const py::gil_scoped_release unlocked;
        stats = computeStats(isStrip ? TRIANGLE_STRIP : TRIANGLES, elementsOf(indices),
                             {.cache = isLru ? CacheModel::Lru : CacheModel::Fifo, .cacheSize = cacheSize});
    }
    return py::make_tuple(stats.indexCount, stats.vertexCount, stats.triangleCount, stats.degenerateCount,
                          stats.restartCount, stats.stripCount, stats.maxStripTriangles, stats.swapCount,
                          stats.cacheMisses, stats.indicesPerTriangle(), stats.acmr(), stats.atvr());
}

} // namespace

void addStrips(py::module_& module) {
    module.def("strip_buffer", &stripBuffer);
    module.def("strip_list", &stripList);
    module.def("triangles_of_strip", &trianglesOfStrip);
    module.def("lower_bound", &lowerBound);
    module.def("edges", &edgesOf);
    module.def("analyze", &statsOf);
}

} // namespace vexa::python
