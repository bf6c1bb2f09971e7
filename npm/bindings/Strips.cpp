#include "Calls.h"

#include <vexa/mesh/Edges.h>
#include <vexa/mesh/Statistics.h>
#include <vexa/mesh/StripBound.h>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Strips.h>

namespace vexa::wasm {

namespace {

using namespace vexa::mesh;

StripJoin joinOf(bool isDegenerate) {
    return isDegenerate ? StripJoin::Degenerate : StripJoin::Restart;
}

StripBufferOptions optionsOf(unsigned effort, bool isDegenerate, double microseconds, std::uint32_t seed,
                             std::uint32_t maxTriangles, bool forVertexCache, std::uint32_t annealingPasses) {
    StripBufferOptions options;
    options.effort = effort;
    options.join = joinOf(isDegenerate);
    options.microsecondsPerTriangle = microseconds;
    options.seed = seed;
    options.maxTriangles = maxTriangles;
    options.forVertexCache = forVertexCache;
    options.annealingPasses = annealingPasses;
    options.onProgress = [](const StripProgress& progress) { return goesOn(progress.fraction); };
    return options;
}

} // namespace

VEXA_CALL bool vexaStrip(const unsigned int* triangles, std::size_t count, unsigned effort, bool isDegenerate,
                         double microseconds, std::uint32_t seed, std::uint32_t maxTriangles, bool forVertexCache,
                         std::uint32_t annealingPasses) {
    return guarded([&](Results& results) {
        const std::vector<unsigned int> strip =
            buildStripBuffer({triangles, count}, optionsOf(effort, isDegenerate, microseconds, seed, maxTriangles,
                                                           forVertexCache, annealingPasses));
        results.add(strip);
    });
}

/// Results: the indices of all strips, and how many each has.
VEXA_CALL bool vexaStrips(const unsigned int* triangles, std::size_t count, unsigned effort, double microseconds,
                          std::uint32_t seed, std::uint32_t maxTriangles, bool forVertexCache,
                          std::uint32_t annealingPasses) {
    return guarded([&](Results& results) {
        std::vector<unsigned int> indices;
        std::vector<std::uint32_t> counts;
        for (const IndexedPrimitive& strip :
             buildStrips({triangles, count},
                         optionsOf(effort, false, microseconds, seed, maxTriangles, forVertexCache, annealingPasses))) {
            indices.insert(indices.end(), strip.indices.begin(), strip.indices.end());
            counts.push_back(static_cast<std::uint32_t>(strip.indices.size()));
        }
        results.add(indices);
        results.add(counts);
    });
}

VEXA_CALL bool vexaUnstrip(const unsigned int* strip, std::size_t count) {
    return guarded([&](Results& results) { results.add(toTriangles(TRIANGLE_STRIP, {strip, count})); });
}

/// Results: one number, as a double.
VEXA_CALL bool vexaMinIndexCount(const unsigned int* triangles, std::size_t count, bool isDegenerate, unsigned sweeps) {
    return guarded([&](Results& results) {
        BoundOptions options;
        options.sweeps = sweeps;
        options.onProgress = [](double fraction) { return goesOn(fraction); };
        results.add(std::vector{static_cast<double>(minIndexCount({triangles, count}, joinOf(isDegenerate), options))});
    });
}

/// Results: two vertices for each edge, and how many triangles each has.
VEXA_CALL bool vexaEdges(const unsigned int* triangles, std::size_t count) {
    return guarded([&](Results& results) {
        std::vector<std::uint32_t> vertices;
        std::vector<std::uint32_t> counts;
        for (const Edge& edge : buildEdges({triangles, count})) {
            vertices.insert(vertices.end(), edge.vertices.begin(), edge.vertices.end());
            counts.push_back(edge.triangleCount);
        }
        results.add(vertices);
        results.add(counts);
    });
}

/// Results: the fields of the statistics as doubles, in order, and their ratios.
VEXA_CALL bool vexaAnalyze(const unsigned int* indices, std::size_t count, bool isStrip, bool isLru,
                           std::uint32_t cacheSize) {
    return guarded([&](Results& results) {
        const IndexStats stats =
            computeStats(isStrip ? TRIANGLE_STRIP : TRIANGLES, {indices, count},
                         {.cache = isLru ? CacheModel::Lru : CacheModel::Fifo, .cacheSize = cacheSize});
        const std::uint64_t numbers[] = {stats.indexCount,        stats.vertexCount,  stats.triangleCount,
                                         stats.degenerateCount,   stats.restartCount, stats.stripCount,
                                         stats.maxStripTriangles, stats.swapCount,    stats.cacheMisses};
        std::vector<double> values(std::begin(numbers), std::end(numbers));
        values.insert(values.end(), {stats.indicesPerTriangle(), stats.acmr(), stats.atvr()});
        results.add(values);
    });
}

} // namespace vexa::wasm
