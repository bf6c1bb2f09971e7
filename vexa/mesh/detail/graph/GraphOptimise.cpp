#include "vexa/mesh/detail/graph/GraphOptimise.h"

#include "vexa/mesh/detail/graph/GraphNumbering.h"
#include "vexa/mesh/detail/graph/TriangleLists.h"
#include "vexa/mesh/detail/strips/FanSearch.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace vexa::mesh::detail {

namespace {

using Triangle = HalfEdgeGraph::Triangle;
using TriangleList = HalfEdgeGraph::TriangleList;
using Primitive = HalfEdgeGraph::Primitive;

/// Lists for primitives that are about to be stored. Freed unless they are handed over.
class NewLists {
public:
    explicit NewLists(std::size_t count) : lists_(count) {
        for (auto& list : lists_) {
            list = std::make_unique<TriangleList>();
        }
    }
    TriangleList* handOver() noexcept { return lists_[handedOver_++].release(); }

private:
    std::vector<std::unique_ptr<TriangleList>> lists_;
    std::size_t handedOver_ = 0;
};

/// Room for some more entries, growing geometrically.
void reserveMore(std::vector<Primitive>& primitives, std::size_t count) {
    if (primitives.capacity() - primitives.size() < count) {
        primitives.reserve(std::max(primitives.size() + count, 2 * primitives.capacity()));
    }
}

/// The result of a search, and how it is to be stored in the graph's records.
struct Outcome {
    FanSet fans;
    SearchResult found;
    bool isSearched;       ///< strips were built
    bool takesStripsApart; ///< the strips stored so far are in `found` or left over
    bool allStrips;        ///< no batch; the claimed triangles were searched too
};

void claim(TriangleList& list, Triangle& triangle, std::int32_t state) noexcept {
    triangle.state = state;
    append(list, triangle);
}

/// Space for the order of the strips' triangles, or none if memory runs out: it only saves time.
std::vector<const Triangle*> allocateUpcoming(std::size_t count) noexcept {
    try {
        return std::vector<const Triangle*>(count);
    } catch (const std::bad_alloc&) {
        return {};
    }
}

/// Links the strips' triangles, which are scattered over the pool, and prefetches the upcoming ones. `upcoming` receives
/// their addresses, the newest strip first, if it has room.
void linkStrips(std::vector<Primitive>& primitives, const StripSet& strips, NewLists& lists,
                const GraphNumbering& numbering, std::vector<const Triangle*>& upcoming) noexcept {
    std::size_t begin = upcoming.size();
    constexpr std::size_t pointersAhead = StripSet::lookAhead;
    constexpr std::size_t trianglesAhead = pointersAhead / 2;
    for (std::size_t i = 0; i < strips.size(); ++i) {
        const StripSet::Strip strip = strips[i];
        TriangleList& list = *lists.handOver();
        primitives.emplace_back(strip.isReversed ? 1 : 0, &list);
        for (const StripTriangle& triangle : strip.triangles) {
            numbering.prefetchPointer(triangleOf((&triangle)[pointersAhead]));
            numbering.prefetchTriangle(triangleOf((&triangle)[trianglesAhead]));
            claim(list, numbering.triangle(triangleOf(triangle)), Triangle::inStrip);
        }
        if (begin == 0) {
            continue;
        }
        begin -= strip.triangles.size();
        std::size_t end = begin;
        for (const Triangle* triangle = strip.isReversed ? list.last : list.first; triangle != nullptr;
             triangle = strip.isReversed ? triangle->prev : triangle->next) {
            upcoming[end++] = triangle;
        }
    }
}

/// The free triangles that no primitive took, with the states that they have now.
TriangleList linkLeftOver(const Outcome& outcome, const GraphNumbering& numbering) noexcept {
    TriangleList rest;
    for (const TriangleId id : outcome.found.leftOver) {
        claim(rest, numbering.triangle(id), outcome.isSearched ? 0 : numbering.currentState(id));
    }
    return rest;
}

/// Stores the outcome in the graph. Everything that can throw comes first.
///
/// \return number of triangles in the batch
std::uint32_t commit(HalfEdgeGraph& graph, const Outcome& outcome, GraphNumbering& numbering,
                     std::vector<const Triangle*>& upcoming) {
    NewLists lists(outcome.fans.fans.size() + outcome.found.strips.size() + 1);
    reserveMore(graph.fans, outcome.fans.fans.size());
    reserveMore(graph.strips, outcome.found.strips.size());
    reserveMore(graph.triangleLists, 1);

    numbering.handOverStates();
    if (outcome.isSearched) {
        numbering.releaseLinks();
        upcoming = allocateUpcoming(outcome.found.strips.triangleCount());
    }
    graph.freeTriangles = {};
    if (outcome.allStrips) {
        graph.claimedTriangles = {};
    }
    if (outcome.takesStripsApart) {
        for (const Primitive& strip : graph.strips) {
            delete strip.second;
        }
        graph.strips.clear();
    }
    for (const FanSet::Fan& fan : outcome.fans.fans) {
        graph.fans.emplace_back(fan.centre, lists.handOver());
        for (const TriangleId id : outcome.fans.triangles(fan)) {
            claim(*graph.fans.back().second, numbering.triangle(id), Triangle::inFan);
        }
    }
    linkStrips(graph.strips, outcome.found.strips, lists, numbering, upcoming);
    TriangleList rest = linkLeftOver(outcome, numbering);
    if (outcome.allStrips) {
        return 0;
    }
    splice(rest, graph.claimedTriangles);
    const std::uint32_t count = countTriangles(rest);
    if (count != 0) {
        graph.triangleLists.emplace_back(0, lists.handOver());
        *graph.triangleLists.back().second = rest;
    }
    return count;
}

} // namespace

OptimisedGraph optimise(HalfEdgeGraph& graph, const OptimiserOptions& options, OptimiserObserver& observer) {
    ProcessRandom random;
    random.seed(1);
    const bool isSearched = options.iterations != 0 && options.buildStrips;
    const bool takesStripsApart = isSearched && options.iterations > 1;
    GraphNumbering numbering(graph, {options.allStrips, takesStripsApart, options.buildFans, options.minFanTriangles});

    Outcome outcome{{}, {}, isSearched, takesStripsApart, options.allStrips};
    outcome.fans = cutFans(numbering.graph(), numbering.fanCandidates());
    if (isSearched) {
        const SearchOptions search{options.iterations, options.allStrips, numbering.freeCount(), outcome.fans.cost};
        outcome.found = searchStrips(numbering.graph(), search, random, observer);
    } else {
        outcome.found = leaveAll(numbering.graph());
    }
    if (options.iterations > 1) {
        observer.onRange(outcome.found.best, outcome.found.worst);
    }
    OptimisedGraph optimised;
    const std::uint32_t batched = commit(graph, outcome, numbering, optimised.upcoming);
    optimised.cost = outcome.found.cost + outcome.fans.cost + 3 * batched;
    return optimised;
}

} // namespace vexa::mesh::detail
