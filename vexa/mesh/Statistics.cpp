#include "vexa/mesh/Statistics.h"

#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/Views.h"
#include "vexa/mesh/detail/elements/MeshBuffers.h"
#include "vexa/mesh/detail/strips/DenseIndices.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

namespace vexa::mesh {

namespace {

/// A cache that replaces the vertex that entered it first.
class FifoCache {
public:
    FifoCache(std::uint32_t size, std::uint32_t vertexCount) : size_(size), entries_(vertexCount, 0) {}

    /// Returns whether the vertex was missing.
    bool lookUp(std::uint32_t vertex) {
        // Entries count from 1; as many later ones as the cache holds push a vertex out.
        const bool isMissing = entries_[vertex] == 0 || entryCount_ - entries_[vertex] >= size_;
        if (isMissing) {
            entries_[vertex] = ++entryCount_;
        }
        return isMissing;
    }

private:
    std::uint64_t size_;
    std::uint64_t entryCount_ = 0;
    std::vector<std::uint64_t> entries_;
};

/// A cache that replaces the vertex whose last use is the longest ago: a ring of slots, linked from the most recent to
/// the least recent.
class LruCache {
public:
    LruCache(std::uint32_t size, std::uint32_t vertexCount)
        : slots_(std::min(size, std::max(vertexCount, 1U))), slotOf_(vertexCount, noSlot) {
        for (std::uint32_t i = 0; i < slots_.size(); ++i) {
            slots_[i].next = i + 1 == slots_.size() ? 0 : i + 1;
            slots_[i].previous = i == 0 ? static_cast<std::uint32_t>(slots_.size()) - 1 : i - 1;
        }
    }

    /// Returns whether the vertex was missing.
    bool lookUp(std::uint32_t vertex) {
        const bool isMissing = slotOf_[vertex] == noSlot;
        if (isMissing) {
            const std::uint32_t last = slots_[first_].previous;
            if (slots_[last].vertex != noVertex) {
                slotOf_[slots_[last].vertex] = noSlot;
            }
            slots_[last].vertex = vertex;
            slotOf_[vertex] = last;
        }
        moveToFront(slotOf_[vertex]);
        return isMissing;
    }

private:
    static constexpr std::uint32_t noSlot = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::uint32_t noVertex = restartIndex;

    struct Slot {
        std::uint32_t vertex = noVertex;
        std::uint32_t next = 0;
        std::uint32_t previous = 0;
    };

    void moveToFront(std::uint32_t slot) {
        const std::uint32_t last = slots_[first_].previous;
        if (slot != first_ && slot != last) {
            slots_[slots_[slot].previous].next = slots_[slot].next;
            slots_[slots_[slot].next].previous = slots_[slot].previous;
            slots_[slot].previous = last;
            slots_[slot].next = first_;
            slots_[last].next = slot;
            slots_[first_].previous = slot;
        }
        first_ = slot; // in a ring, the last slot becomes the first one by turning it
    }

    std::vector<Slot> slots_;
    std::vector<std::uint32_t> slotOf_;
    std::uint32_t first_ = 0;
};

template <typename Cache>
std::uint64_t countMisses(Cache cache, std::span<const unsigned int> vertices) {
    return static_cast<std::uint64_t>(
        std::count_if(vertices.begin(), vertices.end(), [&](unsigned int vertex) { return cache.lookUp(vertex); }));
}

void simulate(IndexStats& stats, std::span<const unsigned int> indices, const StatsOptions& options) {
    std::vector<unsigned int> vertices;
    if (stats.restartCount != 0) {
        vertices.reserve(indices.size() - stats.restartCount);
        std::remove_copy(indices.begin(), indices.end(), std::back_inserter(vertices), restartIndex);
        indices = vertices;
    }
    const detail::DenseIndices dense(indices);
    std::vector<bool> isUsed(dense.vertexCount());
    for (const unsigned int vertex : dense.indices()) {
        isUsed[vertex] = true;
    }
    stats.vertexCount = static_cast<std::uint64_t>(std::count(isUsed.begin(), isUsed.end(), true));
    stats.cacheMisses = options.cache == CacheModel::Lru
                            ? countMisses(LruCache(options.cacheSize, dense.vertexCount()), dense.indices())
                            : countMisses(FifoCache(options.cacheSize, dense.vertexCount()), dense.indices());
}

/// Counts the triangles of one strip or fan after the other.
class StripCounter {
public:
    explicit StripCounter(IndexStats& stats) : stats_(stats) {}

    void add(bool isDegenerate) {
        if (isDegenerate) {
            ++stats_.degenerateCount;
            ++degenerateRun_;
            return;
        }
        if (triangles_ != 0 && degenerateRun_ == 1) {
            ++stats_.swapCount;
        } else if (degenerateRun_ > 1) {
            end();
        }
        degenerateRun_ = 0;
        ++triangles_;
        ++stats_.triangleCount;
    }

    void end() {
        stats_.stripCount += triangles_ != 0 ? 1 : 0;
        stats_.maxStripTriangles = std::max(stats_.maxStripTriangles, triangles_);
        triangles_ = 0;
        degenerateRun_ = 0;
    }

private:
    IndexStats& stats_;
    std::uint64_t triangles_ = 0;
    std::uint64_t degenerateRun_ = 0;
};

void countTriangles(IndexStats& stats, PrimitiveType type, std::span<const unsigned int> part, StripCounter& strips) {
    if (type == TRIANGLES) {
        for (std::size_t i = 0; i + 2 < part.size(); i += 3) {
            ++(detail::isCollapsed(&part[i]) ? stats.degenerateCount : stats.triangleCount);
        }
        return;
    }
    for (std::size_t i = 2; i < part.size(); ++i) {
        const bool isFan = type == TRIANGLE_FAN;
        const bool isDegenerate = detail::isCollapsed(part[isFan ? 0 : i - 2], part[i - 1], part[i]);
        if (isFan && isDegenerate) {
            ++stats.degenerateCount; // does not interrupt a fan
        } else {
            strips.add(isDegenerate);
        }
    }
    strips.end();
}

double ratio(std::uint64_t a, std::uint64_t b) {
    return b == 0 ? 0.0 : static_cast<double>(a) / static_cast<double>(b);
}

} // namespace

double IndexStats::indicesPerTriangle() const {
    return ratio(indexCount, triangleCount);
}

double IndexStats::acmr() const {
    return ratio(cacheMisses, triangleCount);
}

double IndexStats::atvr() const {
    return ratio(cacheMisses, vertexCount);
}

IndexStats computeStats(PrimitiveType type, std::span<const unsigned int> indices, const StatsOptions& options) {
    detail::checkContainsTriangles("computeStats", type);
    if (options.cacheSize < 3) {
        throw std::invalid_argument("computeStats: a cache of " + std::to_string(options.cacheSize) +
                                    " vertices cannot hold a triangle; use 3 or more");
    }
    IndexStats stats;
    stats.indexCount = indices.size();
    StripCounter strips(stats);
    for (auto begin = indices.begin();;) {
        const auto end = std::find(begin, indices.end(), restartIndex);
        countTriangles(stats, type, {begin, end}, strips);
        if (end == indices.end()) {
            break;
        }
        ++stats.restartCount;
        begin = end + 1;
    }
    simulate(stats, indices, options);
    return stats;
}

IndexStats computeStats(const Mesh& mesh, const StatsOptions& options) {
    const PrimitiveType type = mesh.getPrimitiveType();
    if (const auto indices = mesh.getIndexBuffer()) {
        return computeStats(type, toIndices(*indices), options);
    }
    std::vector<unsigned int> vertices(detail::countVertices(mesh));
    std::iota(vertices.begin(), vertices.end(), 0U);
    IndexStats stats = computeStats(type, vertices, options);
    stats.indexCount = 0;
    return stats;
}

} // namespace vexa::mesh
