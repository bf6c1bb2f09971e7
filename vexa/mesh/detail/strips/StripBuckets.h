#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/Random.h"
#include "vexa/mesh/detail/strips/RandomPick.h"
#include "vexa/mesh/detail/strips/RankedBucket.h"
#include "vexa/mesh/detail/strips/StripSet.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>

namespace vexa::mesh::detail {

/// The bucket for triangles of this state.
constexpr std::size_t bucketOf(std::int8_t state) {
    return state >= 0 && state <= 3 ? static_cast<std::size_t>(state) : 3;
}

/// The triangle that a strip begins with, and its place.
struct Pick {
    TriangleId triangle;
    std::size_t bucket;
    std::uint32_t position; ///< within a ranked bucket
};

/// The buckets of a single pass, which always picks the first triangle of the lowest one.
///
/// A triangle's state only decreases, so it enters each bucket once; entries with another state by now are skipped.
/// Bucket 3 only loses triangles and is scanned by id instead.
class FirstBuckets {
public:
    static constexpr bool isRanked = false;

    explicit FirstBuckets(const CompactGraph& graph) : graph_(graph) {
        for (Log& log : logs_) {
            log.grow(std::max<std::uint32_t>(graph.count() / 32, 256));
        }
    }

    /// Adds a triangle before the first strip, in the order of the ids.
    void start(std::size_t bucket, TriangleId triangle) {
        if (bucket != 3) {
            push(bucket, triangle);
        }
    }
    void push(std::size_t bucket, TriangleId triangle) {
        Log& log = logs_[bucket];
        if (log.end == log.capacity) {
            makeRoom(bucket);
        }
        log.entries[log.end++] = triangle;
    }
    void erase(std::size_t, TriangleId) {}
    void prefetch(TriangleId) const {}

    /// Finds the triangle that the next strip begins with; false when there is none.
    bool pick(std::size_t startBucket, RandomSource&, Pick& picked) {
        for (std::size_t bucket = startBucket; bucket < 3; ++bucket) {
            Log& log = logs_[bucket];
            for (; log.begin != log.end; ++log.begin) {
                if (isIn(log.entries[log.begin], bucket)) {
                    picked = {log.entries[log.begin], bucket, 0};
                    return true;
                }
            }
        }
        for (; firstOfThree_ != graph_.count(); ++firstOfThree_) {
            if (isIn(firstOfThree_, 3)) {
                picked = {firstOfThree_, 3, 0};
                return true;
            }
        }
        return false;
    }

    template <class Visit>
    void forEachIsolated(Visit visit) const {
        const Log& log = logs_[0];
        for (std::uint32_t i = log.begin; i < log.end; ++i) {
            if (isIn(log.entries[i], 0)) {
                visit(log.entries[i]);
            }
        }
    }

private:
    struct Log {
        LargeArray<TriangleId> entries;
        std::uint32_t capacity = 0;
        std::uint32_t begin = 0;
        std::uint32_t end = 0;

        void grow(std::uint32_t newCapacity) {
            LargeArray<TriangleId> grown(newCapacity);
            std::copy(entries.get() + begin, entries.get() + end, grown.get());
            entries = std::move(grown);
            capacity = newCapacity;
            end -= begin;
            begin = 0;
        }
    };

    [[nodiscard]] bool isIn(TriangleId triangle, std::size_t bucket) const {
        const std::int8_t state = graph_[triangle].state;
        return state == static_cast<std::int8_t>(bucket) || (bucket == 3 && state == stateReported);
    }

    /// Removes the entries that have left the bucket, and doubles the log if most have not.
    void makeRoom(std::size_t bucket) {
        Log& log = logs_[bucket];
        const auto hasLeft = [&](TriangleId triangle) { return !isIn(triangle, bucket); };
        TriangleId* const kept = std::remove_if(log.entries.get() + log.begin, log.entries.get() + log.end, hasLeft);
        log.end = static_cast<std::uint32_t>(kept - log.entries.get());
        if (log.end - log.begin > log.capacity / 2) {
            log.grow(2 * log.capacity);
        } else {
            std::copy(log.entries.get() + log.begin, kept, log.entries.get());
            log.end -= log.begin;
            log.begin = 0;
        }
    }

    const CompactGraph& graph_;
    std::array<Log, 3> logs_;
    TriangleId firstOfThree_ = 0;
};

/// The buckets of several passes, which pick random triangles of the lowest one.
class RankedBuckets {
public:
    static constexpr bool isRanked = true;

    explicit RankedBuckets(const CompactGraph& graph)
        : buckets_{RankedBucket(graph.count()), RankedBucket(graph.count()), RankedBucket(graph.count()),
                   RankedBucket(graph.count())},
          positions_(graph.count()) {}

    void start(std::size_t bucket, TriangleId triangle) { push(bucket, triangle); }
    void push(std::size_t bucket, TriangleId triangle) { positions_[triangle] = buckets_[bucket].push(triangle); }
    void erase(std::size_t bucket, TriangleId triangle) { buckets_[bucket].erase(positions_[triangle]); }
    /// Prefetches the data for moving a triangle.
    void prefetch(TriangleId triangle) const { __builtin_prefetch(&positions_[triangle], 1); }

    bool pick(std::size_t startBucket, RandomSource& random, Pick& picked) {
        for (std::size_t bucket = startBucket; bucket <= 3; ++bucket) {
            if (const std::uint32_t size = buckets_[bucket].size(); size != 0) {
                const std::uint32_t position = buckets_[bucket].find(pickPosition(size, random.draw()));
                picked = {buckets_[bucket].entry(position), bucket, position};
                return true;
            }
        }
        return false;
    }
    void erase(const Pick& picked) { buckets_[picked.bucket].erase(picked.position); }

    template <class Visit>
    void forEachIsolated(Visit visit) const {
        buckets_[0].forEach(visit);
    }

    [[nodiscard]] std::uint32_t countIsolated() const { return buckets_[0].size(); }

    /// Puts every triangle back: first those without free neighbours, then `taken`, each into the bucket of its degree.
    void restart(CompactGraph& graph, std::span<const StripTriangle> taken) {
        std::array<std::uint32_t, 4> ends{};
        const auto put = [&](TriangleId triangle) {
            CompactTriangle& record = graph[triangle];
            record.state = static_cast<std::int8_t>(record.degree);
            const std::size_t bucket = record.degree;
            positions_[triangle] = ends[bucket];
            buckets_[bucket].log()[ends[bucket]++] = triangle;
        };
        buckets_[0].forEach(put);
        constexpr std::size_t ahead = StripSet::lookAhead / 2;
        for (const StripTriangle& triangle : taken) {
            const TriangleId upcoming = triangleOf((&triangle)[ahead]);
            __builtin_prefetch(&graph[upcoming], 1);
            prefetch(upcoming);
            put(triangleOf(triangle));
        }
        for (std::size_t bucket = 0; bucket <= 3; ++bucket) {
            buckets_[bucket].restart(ends[bucket]);
        }
    }

private:
    std::array<RankedBucket, 4> buckets_;
    LargeArray<std::uint32_t> positions_;
};

} // namespace vexa::mesh::detail
