#include "vexa/mesh/detail/StripSearch.h"

#include "vexa/mesh/detail/RandomPick.h"
#include "vexa/mesh/detail/RankedBucket.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vexa::mesh::detail {

namespace {

/// The bucket in which a triangle of this state waits.
constexpr std::size_t bucketOf(std::int8_t state) {
    return state >= 0 && state <= 3 ? static_cast<std::size_t>(state) : 3;
}

/// Number of indices that a strip needs from its last triangle to its first, by the same walk as
/// `HalfEdgeGraph::calcStripCost`: right for irregular strips too.
std::uint32_t reversedStripCost(const CompactGraph& graph, std::span<const StripTriangle> strip) {
    if (strip.size() == 1) {
        return 3;
    }
    const auto at = [&](std::size_t i) { return triangleOf(strip[strip.size() - 1 - i]); };
    std::uint32_t cost = 4;
    bool isOdd = true;
    HalfEdgeId leaving = graph.findExit(at(0), at(1));
    for (std::size_t i = 1; i + 1 < strip.size(); ++i) {
        const HalfEdgeId entering = leaving != noHalfEdge ? graph.twin(leaving) : noHalfEdge;
        leaving = graph.findExit(at(i), at(i + 1));
        const bool continues =
            entering != noHalfEdge && leaving != noHalfEdge && leaving == (isOdd ? prevOf(entering) : nextOf(entering));
        cost += continues ? 1 : 2;
        isOdd ^= continues;
    }
    return cost;
}

} // namespace

/// The triangle that a strip begins with, and where it waits.
struct Pick {
    TriangleId triangle;
    std::size_t bucket;
    std::uint32_t position; ///< within a ranked bucket
};

/// The buckets of a single pass, which always begins with the first triangle of the lowest one.
///
/// A triangle's state only falls, so that it enters each bucket once; an entry is in its bucket as long as the state
/// says so. Bucket 3 only loses triangles and needs no entries: it holds them by their ids.
class FirstBuckets {
public:
    static constexpr bool isRanked = false;

    explicit FirstBuckets(const CompactGraph& graph) : graph_(graph) {
        for (Log& log : logs_) {
            log.grow(std::max<std::uint32_t>(graph.count() / 32, 256));
        }
    }

    /// Puts in a triangle before the first strip, in the order of the ids.
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
    void erase(const Pick&) {}
    void fetch(TriangleId) const {}

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
    void forEachWithoutNeighbours(Visit visit) const {
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

    /// Drops the entries that have left the bucket, and doubles the log when most of them have not.
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

/// The buckets of several passes, which begin with random triangles of the lowest one.
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
    /// Brings near what moving a triangle needs.
    void fetch(TriangleId triangle) const { __builtin_prefetch(&positions_[triangle], 1); }

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
    void forEachWithoutNeighbours(Visit visit) const {
        buckets_[0].forEach(visit);
    }

    [[nodiscard]] std::uint32_t countWithoutNeighbours() const { return buckets_[0].size(); }

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
            fetch(upcoming);
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

/// What the strip cost from its last triangle to its first, for either parity that it could be entered with, while the
/// strip grows at its end: there, each new turn comes first, mirrored.
class ReversedCost {
public:
    void addTurn(bool isBefore) {
        const std::uint32_t first = first_;
        first_ = isBefore ? first + 2 : second_ + 1;
        second_ = isBefore ? first + 1 : second_ + 2;
    }
    [[nodiscard]] std::uint32_t total() const { return 4 + first_; }

private:
    std::uint32_t first_ = 0;
    std::uint32_t second_ = 0;
};

template <class Buckets>
class StripSearch {
public:
    StripSearch(CompactGraph& graph, const SearchOptions& options, RandomSource& random, SearchObserver& observer)
        : graph_(graph), options_(options), random_(random), observer_(observer), buckets_(graph),
          startBucket_(options.allStrips ? 0 : 1) {
        set_.order_ = LargeArray<StripTriangle>(graph.count() + StripSet::lookAhead);
    }

    StripSet run() {
        fillBuckets();
        if constexpr (Buckets::isRanked) {
            graph_.countDegrees();
            runPasses();
        } else {
            runPass(true);
        }
        buckets_.forEachWithoutNeighbours([this](TriangleId triangle) { set_.leftOver.push_back(triangle); });
        pad();
        return std::move(set_);
    }

private:
    void fillBuckets() {
        for (TriangleId triangle = 0; triangle < options_.freeCount; ++triangle) {
            const std::int8_t state = graph_[triangle].state;
            if (state == stateInFan) {
                continue;
            }
            if (state == stateReported) {
                observer_.onInvalidTriangle();
            }
            buckets_.start(bucketOf(state), triangle);
        }
    }

    void runPasses() {
        // Strips of an earlier search are taken apart with those of the first pass.
        for (TriangleId triangle = options_.freeCount; triangle < graph_.count(); ++triangle) {
            set_.order_[set_.taken_++] = halfEdgeOf(triangle, 0);
        }
        const bool isRegular = graph_.isRegular();
        std::uint32_t bestSeed = 1;
        for (std::uint32_t remaining = options_.iterations - 1;; --remaining) {
            const std::uint32_t seed = remaining != 0 ? random_.draw() : bestSeed;
            random_.seed(seed);
            runPass(remaining == 0);

            const std::uint32_t total = 3 * buckets_.countWithoutNeighbours() + set_.cost + options_.fanCost;
            const auto cost = static_cast<std::int32_t>(total);
            if (cost < set_.best || set_.best == 0) {
                set_.best = cost;
                bestSeed = seed;
            }
            set_.worst = std::max(set_.worst, cost);
            observer_.onPass(cost, set_.best, set_.worst);
            if (remaining == 0) {
                return;
            }
            pad();
            buckets_.restart(graph_, {set_.order_.get(), set_.taken_});
            set_.taken_ = 0;
            areStatesExact_ = isRegular;
        }
    }

    void pad() { std::fill_n(set_.order_.get() + set_.taken_, StripSet::lookAhead, StripTriangle{0}); }

    /// Builds strips until no bucket from the start bucket on holds a triangle. Only the last pass keeps them.
    void runPass(bool isLast) {
        set_.cost = 0;
        for (Pick start{}; buckets_.pick(startBucket_, random_, start);) {
            const std::uint32_t begin = set_.taken_;
            const bool isReversed =
                start.bucket == 0 && areStatesExact_ ? takeAlone(start) : buildStrip(start.triangle);
            if (isLast) {
                set_.strips_.push_back({begin & 0x3fffffff, isReversed, isIrregular_});
            }
        }
    }

    /// A strip of a triangle that is known to have no free neighbour. Nothing waits for its record: it may be far away.
    bool takeAlone(const Pick& start) {
        buckets_.erase(start);
        graph_[start.triangle].state = stateInStrip;
        set_.order_[set_.taken_++] = halfEdgeOf(start.triangle, 1);
        set_.cost += 3;
        isIrregular_ = false;
        return false;
    }

    /// Returns whether the strip is cheaper from its last triangle to its first.
    bool buildStrip(TriangleId start) {
        const std::uint32_t begin = set_.taken_;
        const std::uint32_t cost = growStrip(start);
        if constexpr (Buckets::isRanked) {
            const std::uint32_t reversedCost = calcReversedCost(begin);
            set_.cost += std::min(cost, reversedCost);
            return reversedCost < cost;
        }
        set_.cost += cost;
        return false;
    }

    /// Takes the start triangle and as many behind it as follow one another; returns the number of indices.
    std::uint32_t growStrip(TriangleId start) {
        reversedCost_ = {};
        isIrregular_ = false;
        HalfEdgeId leaving = findFirstExit(start);
        if (leaving == noHalfEdge) {
            take(start, 1);
            return 3;
        }
        take(start, placeOf(leaving));
        std::uint32_t cost = 4;
        bool isOdd = true;
        for (;;) {
            const HalfEdgeId entering = graph_.twin(leaving);
            const TriangleId triangle = triangleOf(entering);
            const std::int8_t state = graph_[triangle].state;
            if (state == 0) {
                // The last one: no neighbour of it is free any more.
                take(triangle, leavesBehind);
                return cost;
            }
            if (state <= stateInStrip) {
                // The predecessor's state promised a neighbour that it has not.
                isIrregular_ = true;
                return cost;
            }
            const HalfEdgeId before = prevOf(entering);
            const HalfEdgeId behind = nextOf(entering);
            const bool continues = graph_.state(graph_.twin(isOdd ? before : behind)) > 0;
            const bool isBefore = isOdd == continues;
            leaving = isBefore ? before : behind;
            cost += continues ? 1 : 2;
            isOdd ^= continues;
            if constexpr (Buckets::isRanked) {
                reversedCost_.addTurn(isBefore);
            }
            take(triangle, isBefore ? leavesBefore : leavesBehind);
        }
    }

    /// The edge over which a strip leaves its first triangle: the first one behind which it could go on twice, else the
    /// last one behind which it could go on at all. Judged while the first triangle itself is still free.
    [[nodiscard]] HalfEdgeId findFirstExit(TriangleId start) const {
        HalfEdgeId leaving = noHalfEdge;
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId across = graph_[start].twin[place];
            if (graph_.state(across) <= 0) {
                continue;
            }
            leaving = halfEdgeOf(start, place);
            if (graph_.state(graph_.twin(prevOf(across))) > 0) {
                break;
            }
        }
        return leaving;
    }

    /// Moves a free triangle into the current strip, and its free neighbours one bucket down.
    void take(TriangleId triangle, std::uint32_t wayOut) {
        CompactTriangle& record = graph_[triangle];
        buckets_.erase(bucketOf(record.state), triangle);
        record.state = stateInStrip;
        isIrregular_ |= record.isIrregular;
        set_.order_[set_.taken_++] = halfEdgeOf(triangle, wayOut);
        for (const HalfEdgeId across : record.twin) {
            const TriangleId neighbour = triangleOf(across);
            std::int8_t& state = graph_[neighbour].state;
            if (state > 0) {
                // The strip may run there next; what surrounds it is looked at then.
                for (const HalfEdgeId beyond : graph_[neighbour].twin) {
                    __builtin_prefetch(&graph_[triangleOf(beyond)]);
                    buckets_.fetch(triangleOf(beyond));
                }
                buckets_.erase(bucketOf(state), neighbour);
                --state;
                buckets_.push(bucketOf(state), neighbour);
            }
        }
    }

    [[nodiscard]] std::uint32_t calcReversedCost(std::uint32_t begin) const {
        const std::span<const StripTriangle> strip(set_.order_.get() + begin, set_.taken_ - begin);
        if (isIrregular_) {
            return reversedStripCost(graph_, strip);
        }
        return strip.size() == 1 ? 3 : reversedCost_.total();
    }

    CompactGraph& graph_;
    const SearchOptions& options_;
    RandomSource& random_;
    SearchObserver& observer_;
    Buckets buckets_;
    std::size_t startBucket_;
    StripSet set_;
    ReversedCost reversedCost_;
    bool isIrregular_ = false;
    bool areStatesExact_ = false; ///< every state is the number of free neighbours, which need not hold for the states
                                  ///< that the triangles came with
};

StripSet searchStrips(CompactGraph& graph, const SearchOptions& options, RandomSource& random,
                      SearchObserver& observer) {
    if (options.iterations == 1) {
        return StripSearch<FirstBuckets>(graph, options, random, observer).run();
    }
    return StripSearch<RankedBuckets>(graph, options, random, observer).run();
}

StripSet leaveAll(const CompactGraph& graph) {
    StripSet set;
    for (TriangleId triangle = 0; triangle < graph.count(); ++triangle) {
        if (graph[triangle].state != stateInFan) {
            set.leftOver.push_back(triangle);
        }
    }
    return set;
}

} // namespace vexa::mesh::detail
