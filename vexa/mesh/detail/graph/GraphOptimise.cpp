#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/FanSearch.h"
#include "vexa/mesh/detail/GraphNumbering.h"
#include "vexa/mesh/detail/LogRecord.h"
#include "vexa/mesh/detail/StripSearch.h"
#include "vexa/mesh/detail/TriangleLists.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <new>
#include <utility>

// The function that the records name; neither compiler's own text for it is this one.
#define LOG_CALC_OPT_PRIM(severity)                                                                                    \
    VEXA_MESH_LOG(severity, "uint32_t vexa::mesh::HalfEdgeGraph::calcOptPrim(uint32_t, bool, bool, uint32_t, bool)",   \
                  "vexa/mesh/HalfEdgeGraph")

namespace vexa::mesh {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;
using TriangleList = HalfEdgeGraph::TriangleList;
using Primitive = HalfEdgeGraph::Primitive;

class LoggingObserver final : public detail::SearchObserver {
public:
    void onInvalidTriangle() override { LOG_CALC_OPT_PRIM(warning) << "INVALID TRIANGLE IN VALID TRIANGLE BAG"; }
    void onPass(std::int32_t cost, std::int32_t best, std::int32_t worst) override {
        LOG_CALC_OPT_PRIM(info) << " cost/best/worst: " << cost << "/" << best << "/" << worst;
    }
};

void logRange(std::int32_t best, std::int32_t worst) {
    const std::int64_t scaled = (std::int64_t{worst} - best) * 100;
    // The sign of 0 / 0 differs between compilers.
    const float percentage =
        best != 0 ? static_cast<float>(scaled) / static_cast<float>(best) : std::numeric_limits<float>::quiet_NaN();
    LOG_CALC_OPT_PRIM(warning) << "range: " << best << "/" << worst << " " << static_cast<double>(percentage) << "%";
}

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

/// What a search found, and its way into the graph's records.
struct Outcome {
    detail::FanSet fans;
    detail::StripSet strips;
    bool isSearched;       ///< strips were built
    bool takesStripsApart; ///< the strips stored so far are in `strips` or left over
    bool allStrips;        ///< no batch; the claimed triangles were searched too
};

void claim(TriangleList& list, Triangle& triangle, std::int32_t state) noexcept {
    triangle.state = state;
    detail::append(list, triangle);
}

/// Space for the way through the strips, or none when there is no memory: it only saves time.
std::vector<const Triangle*> allocateUpcoming(std::size_t count) noexcept {
    try {
        return std::vector<const Triangle*>(count);
    } catch (const std::bad_alloc&) {
        return {};
    }
}

/// Links the strips' triangles, which are all over the pool, while those to come are being fetched. `upcoming` receives
/// where they are, the newest strip first, if it has room.
void linkStrips(std::vector<Primitive>& primitives, const detail::StripSet& strips, NewLists& lists,
                const detail::GraphNumbering& numbering, std::vector<const Triangle*>& upcoming) noexcept {
    std::size_t begin = upcoming.size();
    constexpr std::size_t pointersAhead = detail::StripSet::lookAhead;
    constexpr std::size_t trianglesAhead = pointersAhead / 2;
    for (std::size_t i = 0; i < strips.size(); ++i) {
        const detail::StripSet::Strip strip = strips[i];
        TriangleList& list = *lists.handOver();
        primitives.emplace_back(strip.isReversed ? 1 : 0, &list);
        for (const detail::StripTriangle& triangle : strip.triangles) {
            numbering.fetchPointer(detail::triangleOf((&triangle)[pointersAhead]));
            numbering.fetchTriangle(detail::triangleOf((&triangle)[trianglesAhead]));
            claim(list, numbering.triangle(detail::triangleOf(triangle)), Triangle::inStrip);
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
TriangleList linkLeftOver(const Outcome& outcome, const detail::GraphNumbering& numbering) noexcept {
    TriangleList rest;
    for (const detail::TriangleId id : outcome.strips.leftOver) {
        claim(rest, numbering.triangle(id), outcome.isSearched ? 0 : numbering.currentState(id));
    }
    return rest;
}

/// Stores the outcome in the graph. Everything that can throw comes first.
///
/// \return number of triangles in the batch
std::uint32_t commit(HalfEdgeGraph& graph, const Outcome& outcome, detail::GraphNumbering& numbering,
                     std::vector<const Triangle*>& upcoming) {
    NewLists lists(outcome.fans.fans.size() + outcome.strips.size() + 1);
    reserveMore(graph.fans, outcome.fans.fans.size());
    reserveMore(graph.strips, outcome.strips.size());
    reserveMore(graph.triangleLists, 1);

    numbering.handOverStates();
    if (outcome.isSearched) {
        numbering.releaseLinks();
        upcoming = allocateUpcoming(outcome.strips.triangleCount());
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
    for (const detail::FanSet::Fan& fan : outcome.fans.fans) {
        graph.fans.emplace_back(fan.centre, lists.handOver());
        for (const detail::TriangleId id : outcome.fans.triangles(fan)) {
            claim(*graph.fans.back().second, numbering.triangle(id), Triangle::inFan);
        }
    }
    linkStrips(graph.strips, outcome.strips, lists, numbering, upcoming);
    TriangleList rest = linkLeftOver(outcome, numbering);
    if (outcome.allStrips) {
        return 0;
    }
    detail::splice(rest, graph.claimedTriangles);
    std::uint32_t count = 0;
    for (const Triangle* triangle = rest.first; triangle != nullptr; triangle = triangle->next) {
        ++count;
    }
    if (count != 0) {
        graph.triangleLists.emplace_back(0, lists.handOver());
        *graph.triangleLists.back().second = rest;
    }
    return count;
}

/// The bucket in which a triangle of this state waits.
TriangleList& bucketOf(std::int32_t state, TriangleList* buckets) {
    return buckets[state >= 0 && state <= 3 ? state : 3];
}

} // namespace

std::uint32_t HalfEdgeGraph::calcOptPrim(std::uint32_t iterations, bool buildStrips, bool buildFans,
                                         std::uint32_t minFanTriangles, bool allStrips) {
    detail::ProcessRandom random;
    random.seed(1);
    const bool isSearched = iterations != 0 && buildStrips;
    const bool takesStripsApart = isSearched && iterations > 1;
    detail::GraphNumbering numbering(*this, {allStrips, takesStripsApart, buildFans, minFanTriangles});

    Outcome outcome{{}, {}, isSearched, takesStripsApart, allStrips};
    outcome.fans = detail::cutFans(numbering.graph(), numbering.fanCandidates());
    if (isSearched) {
        LoggingObserver observer;
        outcome.strips = detail::searchStrips(
            numbering.graph(), {iterations, allStrips, numbering.freeCount(), outcome.fans.cost}, random, observer);
    } else {
        outcome.strips = detail::leaveAll(numbering.graph());
    }
    if (iterations > 1) {
        logRange(outcome.strips.best, outcome.strips.worst);
    }
    std::vector<const Triangle*> upcoming;
    const std::uint32_t batched = commit(*this, outcome, numbering, upcoming);
    upcoming_ = std::move(upcoming);
    upcomingBegin_ = 0;
    return outcome.strips.cost + outcome.fans.cost + 3 * batched;
}

void HalfEdgeGraph::dropOutTriangle(Triangle& triangle, TriangleList* buckets) {
    detail::unlink(bucketOf(triangle.state, buckets), triangle);
    triangle.state = Triangle::inStrip;
    for (const HalfEdge& halfEdge : triangle.halfEdge) {
        if (halfEdge.twin == nullptr || halfEdge.twin->triangle->state <= 0) {
            continue;
        }
        Triangle& neighbour = *halfEdge.twin->triangle;
        detail::unlink(bucketOf(neighbour.state, buckets), neighbour);
        --neighbour.state;
        detail::append(bucketOf(neighbour.state, buckets), neighbour);
    }
}

} // namespace vexa::mesh
