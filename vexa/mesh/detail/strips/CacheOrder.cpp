#include "vexa/mesh/detail/strips/CacheOrder.h"

#include "vexa/mesh/detail/strips/DenseIndices.h"
#include "vexa/mesh/detail/strips/JoinOrder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace vexa::mesh::detail {

namespace {

using StripId = std::uint32_t;

/// A first-in first-out vertex cache. A vertex is in it until as many others have been loaded as it holds.
class FifoCache {
public:
    explicit FifoCache(std::uint32_t vertexCount) : loadedAt_(vertexCount) { loaded_.reserve(vertexCount); }

    /// Between the caches of 16 and 32 entries that are common.
    static constexpr std::uint32_t size = 28;

    [[nodiscard]] bool holds(unsigned int vertex, std::uint32_t now) const {
        return loadedAt_[vertex] != 0 && now - loadedAt_[vertex] <= size;
    }
    [[nodiscard]] std::uint32_t now() const { return static_cast<std::uint32_t>(loaded_.size()) + 1; }
    void use(unsigned int vertex) {
        if (!holds(vertex, now())) {
            loadedAt_[vertex] = now();
            loaded_.push_back(vertex);
        }
    }
    /// The vertices loaded last, oldest first.
    [[nodiscard]] std::span<const unsigned int> newest() const {
        return std::span(loaded_).last(std::min<std::size_t>(loaded_.size(), size));
    }

private:
    std::vector<std::uint32_t> loadedAt_; ///< per vertex, when it was loaded last; 0 for never
    std::vector<unsigned int> loaded_;
};

/// For each vertex, the strips that use it.
class StripsOfVertices {
public:
    StripsOfVertices(std::span<const unsigned int> indices, std::span<const std::uint32_t> begins,
                     std::uint32_t vertexCount, const Poll& poll)
        : begins_(vertexCount + 1), ends_(vertexCount), strips_(indices.size()) {
        forEachPolled(static_cast<std::uint32_t>(indices.size()), poll,
                      [&](std::uint32_t i) { ++begins_[indices[i] + 1]; });
        for (std::size_t vertex = 0; vertex < vertexCount; ++vertex) {
            begins_[vertex + 1] += begins_[vertex];
            ends_[vertex] = begins_[vertex];
        }
        forEachPolled(static_cast<StripId>(begins.size() - 1), poll, [&](StripId strip) {
            for (const unsigned int vertex : indices.subspan(begins[strip], begins[strip + 1] - begins[strip])) {
                strips_[ends_[vertex]++] = strip;
            }
        });
    }

    /// Calls `visit(strip)` for strips at a vertex that are not done, a few of them at a vertex with very many. Some
    /// come several times.
    template <class IsDone, class Visit>
    void forEach(unsigned int vertex, IsDone isDone, Visit visit) {
        constexpr int mostStrips = 64;
        int visited = 0;
        for (std::uint32_t i = begins_[vertex]; i < ends_[vertex] && visited < mostStrips;) {
            if (isDone(strips_[i])) {
                strips_[i] = strips_[--ends_[vertex]];
            } else {
                visit(strips_[i++]);
                ++visited;
            }
        }
    }

private:
    std::vector<std::uint32_t> begins_;
    std::vector<std::uint32_t> ends_;
    std::vector<StripId> strips_;
};

/// All strips in one index list.
struct StripList {
    std::vector<unsigned int> indices;
    std::vector<std::uint32_t> begins{0}; ///< of each strip, and the end of the last

    [[nodiscard]] StripId count() const { return static_cast<StripId>(begins.size() - 1); }
    template <class Index>
    [[nodiscard]] std::span<Index> of(std::span<Index> list, StripId strip) const {
        return list.subspan(begins[strip], begins[strip + 1] - begins[strip]);
    }
};

class CacheOrder {
public:
    CacheOrder(const StripList& list, const Poll& poll)
        : list_(list), dense_(list.indices), cache_(dense_.vertexCount()),
          stripsOf_(dense_.indices(), list.begins, dense_.vertexCount(), poll), isDone_(list.count()),
          lastRound_(list.count()) {}

    StripId takeNext() {
        const StripId strip = findNext();
        isDone_[strip] = 1;
        for (const unsigned int vertex : list_.of(dense_.indices(), strip)) {
            cache_.use(vertex);
        }
        return strip;
    }

private:
    /// Share of the first indices of a strip that the cache holds.
    struct Hits {
        std::uint32_t count = 0;
        std::uint32_t indices = 0;

        bool operator>(const Hits& other) const {
            return std::uint64_t{count} * other.indices > std::uint64_t{other.count} * indices;
        }
    };

    [[nodiscard]] Hits countHits(StripId strip) const {
        constexpr std::size_t lookAhead = 64;
        const std::span<const unsigned int> indices = list_.of(dense_.indices(), strip);
        Hits hits{0, static_cast<std::uint32_t>(std::min(indices.size(), lookAhead))};
        std::uint32_t now = cache_.now();
        for (const unsigned int vertex : indices.first(hits.indices)) {
            const bool isHit = cache_.holds(vertex, now);
            hits.count += isHit ? 1 : 0;
            now += isHit ? 0 : 1;
        }
        return hits;
    }

    StripId findNext() {
        std::optional<StripId> best;
        Hits bestHits;
        ++round_;
        const std::span<const unsigned int> newest = cache_.newest();
        for (std::size_t i = newest.size(); i-- > 0;) {
            stripsOf_.forEach(
                newest[i], [this](StripId strip) { return isDone_[strip] != 0; },
                [&](StripId strip) {
                    if (std::exchange(lastRound_[strip], round_) == round_) {
                        return;
                    }
                    const Hits hits = countHits(strip);
                    if (!best || hits > bestHits) {
                        best = strip;
                        bestHits = hits;
                    }
                });
        }
        if (best) {
            return *best;
        }
        while (isDone_[firstLeft_] != 0) {
            ++firstLeft_;
        }
        return firstLeft_;
    }

    const StripList& list_;
    DenseIndices dense_;
    FifoCache cache_;
    StripsOfVertices stripsOf_;
    std::vector<std::uint8_t> isDone_;
    std::vector<std::uint32_t> lastRound_; ///< in which each strip was looked at
    std::uint32_t round_ = 0;
    StripId firstLeft_ = 0;
};

} // namespace

std::uint32_t cacheStripLength(const StripPartition& partition) {
    return countExtraIndices(partition) * 15 < partition.liveCount() ? 20 : 16;
}

std::vector<IndexedPrimitive> orderForCache(std::span<const unsigned int> triangles, StripPartition& partition,
                                            StripMonitor& monitor) {
    StripList list;
    list.indices.reserve(std::size_t{partition.count()} + partition.count() / 2);
    forEachStrip(triangles, partition, monitor, [&](std::span<const unsigned int> strip) {
        list.indices.insert(list.indices.end(), strip.begin(), strip.end());
        list.begins.push_back(static_cast<std::uint32_t>(list.indices.size()));
    });
    CacheOrder order(list, monitor.poller());
    std::vector<IndexedPrimitive> ordered;
    ordered.reserve(list.count());
    for (StripId i = 0; i < list.count(); ++i) {
        if (i % 256 == 0) {
            monitor.poll(i, list.count());
        }
        const auto indices = list.of(std::span<const unsigned int>(list.indices), order.takeNext());
        ordered.push_back({TRIANGLE_STRIP, {indices.begin(), indices.end()}});
    }
    return ordered;
}

} // namespace vexa::mesh::detail
