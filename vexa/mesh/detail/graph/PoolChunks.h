#pragma once

#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/strips/HugePages.h"

#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace vexa::mesh::detail {

using Chunk = HalfEdgeGraph::TrianglePool::Chunk;

constexpr std::uint32_t defaultChunkSize = 2048;

inline bool isFull(const HalfEdgeGraph::TrianglePool& pool) {
    return pool.chunks == nullptr || pool.used >= pool.chunks->capacity;
}

/// Chunks for a number of triangles beyond what the newest chunk of a pool still holds, first to be used first.
inline std::unique_ptr<Chunk> allocateChunks(const HalfEdgeGraph::TrianglePool& pool, unsigned long triangleCount) {
    const unsigned long available = isFull(pool) ? 0 : pool.chunks->capacity - pool.used;
    std::unique_ptr<Chunk> first;
    Chunk* last = nullptr;
    const std::uint64_t capacity = pool.chunkSize != 0 ? pool.chunkSize : defaultChunkSize;
    for (unsigned long allocated = available; allocated < triangleCount; allocated += capacity) {
        auto chunk = std::make_unique<Chunk>();
        // Not constructed before they are handed out: a large batch would be through the caches twice.
        chunk->triangles =
            static_cast<HalfEdgeGraph::Triangle*>(::operator new[](capacity * sizeof(HalfEdgeGraph::Triangle)));
        adviseHugePages(chunk->triangles, capacity * sizeof(HalfEdgeGraph::Triangle));
        chunk->capacity = capacity;
        Chunk* const newest = chunk.get();
        if (last != nullptr) {
            last->next = chunk.release();
        } else {
            first = std::move(chunk);
        }
        last = newest;
    }
    return first;
}

/// Memory for the next triangle of a pool, which takes its next chunk from `spare` when its newest is full. The caller
/// constructs the triangle there.
inline HalfEdgeGraph::Triangle* takeTriangle(HalfEdgeGraph::TrianglePool& pool,
                                             std::unique_ptr<Chunk>& spare) noexcept {
    if (isFull(pool)) {
        Chunk* const newest = spare.release();
        spare.reset(newest->next);
        newest->next = pool.chunks;
        pool.chunks = newest;
        pool.used = 0;
    }
    return &pool.chunks->triangles[pool.used++];
}

} // namespace vexa::mesh::detail
