#include "vexa/mesh/detail/strips/StripSearch.h"

#include "vexa/mesh/detail/strips/StripBuckets.h"
#include "vexa/mesh/detail/strips/StripWalk.h"

#include <algorithm>
#include <utility>

namespace vexa::mesh::detail {

namespace {

/// Number of indices that a strip needs from its last triangle to its first, irregular ones too.
std::uint32_t reversedStripCost(const CompactGraph& graph, std::span<const StripTriangle> strip) {
    if (strip.size() == 1) {
        return 3;
    }
    StripCost cost;
    walkStrip(linkedPath(graph, strip, true), cost);
    return cost.total();
}

} // namespace

/// The cost of a growing strip from its last triangle to its first, for both parities: each new turn comes first there,
/// mirrored.
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
          startBucket_(options.allStrips ? 0 : 1), strips_(graph.count()) {}

    SearchResult run() {
        fillBuckets();
        if constexpr (Buckets::isRanked) {
            graph_.countDegrees();
            runPasses();
        } else {
            runPass();
        }
        buckets_.forEachIsolated([this](TriangleId triangle) { result_.leftOver.push_back(triangle); });
        result_.strips = strips_.finish();
        return std::move(result_);
    }

private:
    static constexpr std::uint32_t workInterval = 1U << 14;

    void fillBuckets() {
        for (TriangleId triangle = 0; triangle < options_.freeCount; ++triangle) {
            const std::int8_t state = graph_[triangle].state;
            if (triangle % workInterval == 0) {
                observer_.onWork();
            }
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
        // The strips of an earlier search are undone together with those of the first pass.
        if (options_.freeCount != graph_.count()) {
            for (TriangleId triangle = options_.freeCount; triangle < graph_.count(); ++triangle) {
                strips_.add(halfEdgeOf(triangle, 0));
            }
            strips_.endStrip(false, false);
        }
        const bool isRegular = graph_.isRegular();
        std::uint32_t bestSeed = 1;
        bool isStopped = false;
        for (std::uint32_t number = 1;; ++number) {
            const bool isLast = isStopped || number == options_.iterations;
            const std::uint32_t seed = isLast ? bestSeed : random_.draw();
            random_.seed(seed);
            runPass();

            const std::uint32_t total = 3 * buckets_.countIsolated() + result_.cost + options_.fanCost;
            const auto cost = static_cast<std::int32_t>(total);
            if (cost < result_.best || result_.best == 0) {
                result_.best = cost;
                bestSeed = seed;
            }
            result_.worst = std::max(result_.worst, cost);
            if (!isStopped) {
                isStopped = !observer_.onPass(number, cost, result_.best, result_.worst);
            }
            if (isLast) {
                return;
            }
            buckets_.restart(graph_, strips_.triangles());
            strips_.clear();
            areStatesExact_ = isRegular;
        }
    }

    /// Builds strips until all buckets from the start bucket on are empty.
    void runPass() {
        result_.cost = 0;
        for (Pick start{}; buckets_.pick(startBucket_, random_, start);) {
            const bool isReversed =
                start.bucket == 0 && areStatesExact_ ? takeAlone(start) : buildStrip(start.triangle);
            if constexpr (!Buckets::isRanked) {
                excess_ += excessOfStrip();
            }
            strips_.endStrip(isReversed, isIrregular_);
            if (excess_ >= options_.maxExcess) {
                return;
            }
        }
    }

    /// Indices of the current strip and of a restart, beyond one a triangle. A strip whose first turn is a swap can begin
    /// at the other parity without it.
    [[nodiscard]] std::uint64_t excessOfStrip() const {
        const std::span<const StripTriangle> strip = strips_.current();
        const bool startsOdd = strip.size() > 2 && placeOf(strip[1]) == leavesAfter;
        return stripCost_ + 1 - strip.size() - (startsOdd ? 1 : 0);
    }

    /// Makes a strip of an isolated triangle without reading its record, which would be a cache miss.
    bool takeAlone(const Pick& start) {
        if constexpr (Buckets::isRanked) {
            buckets_.erase(start);
        }
        graph_[start.triangle].state = stateInStrip;
        add(halfEdgeOf(start.triangle, 1));
        result_.cost += 3;
        isIrregular_ = false;
        return false;
    }

    /// Returns whether the strip is cheaper from its last triangle to its first.
    bool buildStrip(TriangleId start) {
        const std::uint32_t cost = growStrip(start);
        if constexpr (Buckets::isRanked) {
            const std::uint32_t reversedCost = calcReversedCost();
            result_.cost += std::min(cost, reversedCost);
            return reversedCost < cost;
        }
        result_.cost += cost;
        stripCost_ = cost;
        return false;
    }

    /// Takes the start triangle and its successors as far as the strip can continue; returns the number of indices.
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
                // The last one: none of its neighbours is free.
                take(triangle, leavesAfter);
                return cost;
            }
            if (state <= stateInStrip) {
                // The predecessor's state counted a neighbour that does not exist.
                isIrregular_ = true;
                return cost;
            }
            const HalfEdgeId before = prevOf(entering);
            const HalfEdgeId after = nextOf(entering);
            const bool continues = graph_.state(graph_.twin(isOdd ? before : after)) > 0;
            const bool isBefore = isOdd == continues;
            leaving = isBefore ? before : after;
            cost += continues ? 1 : 2;
            isOdd ^= continues;
            if constexpr (Buckets::isRanked) {
                reversedCost_.addTurn(isBefore);
            }
            take(triangle, isBefore ? leavesBefore : leavesAfter);
        }
    }

    /// The edge over which a strip leaves its first triangle: the first one across which two more triangles can follow,
    /// else the last one across which any can. Evaluated while the first triangle itself is still free.
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
        add(halfEdgeOf(triangle, wayOut));
        for (const HalfEdgeId across : record.twin) {
            const TriangleId neighbour = triangleOf(across);
            std::int8_t& state = graph_[neighbour].state;
            if (state > 0) {
                // The strip may continue there and then reads the states of its neighbours.
                for (const HalfEdgeId beyond : graph_[neighbour].twin) {
                    __builtin_prefetch(&graph_[triangleOf(beyond)]);
                    buckets_.prefetch(triangleOf(beyond));
                }
                buckets_.erase(bucketOf(state), neighbour);
                --state;
                buckets_.push(bucketOf(state), neighbour);
            }
        }
    }

    void add(StripTriangle triangle) {
        if (strips_.add(triangle) % workInterval == 0) {
            observer_.onWork();
        }
    }

    [[nodiscard]] std::uint32_t calcReversedCost() const {
        const std::span<const StripTriangle> strip = strips_.current();
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
    StripSetBuilder strips_;
    SearchResult result_;
    ReversedCost reversedCost_;
    std::uint32_t stripCost_ = 0; ///< of the newest strip of a single pass
    std::uint64_t excess_ = 0;
    bool isIrregular_ = false;
    bool areStatesExact_ = false; ///< every state is the number of free neighbours, unlike possibly the initial ones
};

SearchResult searchStrips(CompactGraph& graph, const SearchOptions& options, RandomSource& random,
                          SearchObserver& observer) {
    if (options.iterations == 1) {
        return StripSearch<FirstBuckets>(graph, options, random, observer).run();
    }
    return StripSearch<RankedBuckets>(graph, options, random, observer).run();
}

SearchResult leaveAll(const CompactGraph& graph) {
    SearchResult result;
    for (TriangleId triangle = 0; triangle < graph.count(); ++triangle) {
        if (graph[triangle].state != stateInFan) {
            result.leftOver.push_back(triangle);
        }
    }
    return result;
}

} // namespace vexa::mesh::detail
