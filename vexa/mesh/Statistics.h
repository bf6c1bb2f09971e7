#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/Types.h"

#include <cstdint>
#include <span>

namespace vexa::mesh {

/// How a vertex cache chooses the vertex that a new one replaces.
enum class CacheModel {
    Fifo, ///< the one that was transformed first
    Lru   ///< the one that was used least recently
};

/// The vertex cache that `computeStats` simulates. Graphics processors differ from either model; the figures serve to
/// compare orders of the same triangles.
struct StatsOptions {
    CacheModel cache = CacheModel::Fifo;
    std::uint32_t cacheSize = 16; ///< in vertices; at least 3
};

/// Size and vertex cache behaviour of an index list.
///
/// A triangle of a list, strip or fan is degenerate if two of its corners are equal. In a `TRIANGLE_STRIP`, a single
/// degenerate triangle between two others swaps the direction of the strip; a run of two or more ends it, as a restart
/// index does: this is how `joinStrips` separates strips without restart indices.
struct VEXA_MESH_EXPORT IndexStats {
    std::uint64_t indexCount = 0;        ///< restart indices included; 0 for a mesh without indices
    std::uint64_t vertexCount = 0;       ///< distinct vertices
    std::uint64_t triangleCount = 0;     ///< without degenerate ones
    std::uint64_t degenerateCount = 0;   ///< degenerate triangles
    std::uint64_t restartCount = 0;      ///< restart indices
    std::uint64_t stripCount = 0;        ///< strips or fans with at least one triangle; 0 for lists
    std::uint64_t maxStripTriangles = 0; ///< most triangles of one strip or fan; 0 for lists
    std::uint64_t swapCount = 0;         ///< swaps within strips
    std::uint64_t cacheMisses = 0;       ///< vertices transformed, when each index is looked up once, in order

    /// Indices per triangle that is not degenerate; 0 if there are none. The same holds for the following ratios.
    [[nodiscard]] double indicesPerTriangle() const;
    /// Average cache miss ratio: misses per triangle, from 0.5 in large regular meshes to 3.
    [[nodiscard]] double acmr() const;
    /// Average transform to vertex ratio: misses per distinct vertex, at best 1.
    [[nodiscard]] double atvr() const;
};

/// Counts what an index list holds and how often its vertices are transformed.
///
/// For triangle lists and `CacheModel::Fifo` the misses are those that meshoptimizer's `analyzeVertexCache` counts.
///
/// \param type    `TRIANGLES`, `TRIANGLE_STRIP` or `TRIANGLE_FAN`
/// \param indices vertices, and `restartIndex` between strips or fans
/// \throw std::invalid_argument any other type, or a cache of fewer than 3 vertices
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear; O(n log n) for vertices with large gaps between them.
VEXA_MESH_EXPORT IndexStats computeStats(PrimitiveType type, std::span<const unsigned int> indices,
                                         const StatsOptions& options = {});

/// The same for a mesh of any implementation; without an index buffer, for its vertices in order (see `trianglesOf`).
///
/// \throw std::length_error also if an index needs more than 32 bits, as `toIndices`
VEXA_MESH_EXPORT IndexStats computeStats(const Mesh& mesh, const StatsOptions& options = {});

} // namespace vexa::mesh
