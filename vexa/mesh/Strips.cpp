#include "vexa/mesh/Strips.h"

#include "vexa/mesh/detail/strips/EdgePairing.h"
#include "vexa/mesh/detail/strips/FanSearch.h"
#include "vexa/mesh/detail/strips/IndexWriter.h"
#include "vexa/mesh/detail/strips/ManyLists.h"
#include "vexa/mesh/detail/strips/StripSearch.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <cstddef>

namespace vexa::mesh {

namespace {

/// Passes the passes of a search on to the caller.
class PassObserver final : public detail::SearchObserver {
public:
    explicit PassObserver(const StripOptions& options) : options_(options) {}

    bool onPass(std::uint32_t number, std::int32_t cost, std::int32_t best, std::int32_t worst) override {
        return !options_.onPass ||
               options_.onPass({number, options_.iterations, static_cast<std::uint32_t>(cost),
                                static_cast<std::uint32_t>(best), static_cast<std::uint32_t>(worst)});
    }

private:
    const StripOptions& options_;
};

detail::SearchResult findStrips(detail::CompactGraph& graph, const StripOptions& options, std::uint32_t fanCost) {
    if (!options.buildStrips || options.iterations == 0) {
        return detail::leaveAll(graph);
    }
    detail::OwnRandom random;
    PassObserver observer(options);
    detail::SearchResult found =
        detail::searchStrips(graph, {options.iterations, options.allStrips, graph.count(), fanCost}, random, observer);
    if (options.iterations == 1) {
        const auto leftOver = static_cast<std::uint32_t>(found.leftOver.size());
        const auto cost = static_cast<std::int32_t>(3 * leftOver + found.cost + fanCost);
        observer.onPass(1, cost, cost, cost);
    }
    return found;
}

/// \param triangles as checked by checkStripTriangles
std::vector<IndexedPrimitive> cutPrimitives(std::span<const unsigned int> triangles, const StripOptions& options) {
    detail::CompactGraph graph = detail::pairEdges(triangles);
    detail::FanSet fans;
    if (options.buildFans) {
        fans = detail::cutFans(graph, detail::findFanCandidates(triangles, options.minFanTriangles));
    }
    const detail::SearchResult found = findStrips(graph, options, fans.cost);

    // The newest come first; they are written in the order in which they were found, which is the one in memory.
    const bool hasBatch = !options.allStrips && !found.leftOver.empty();
    const std::size_t fanCount = fans.fans.size();
    const std::size_t stripCount = found.strips.size();
    std::vector<IndexedPrimitive> primitives(fanCount + stripCount + (hasBatch ? 1 : 0));
    detail::IndexWriter writer(triangles, graph);
    for (std::size_t i = 0; i < fanCount; ++i) {
        primitives[fanCount - 1 - i] = writer.fan(fans.fans[i].start);
    }
    for (std::size_t i = 0; i < stripCount; ++i) {
        primitives[fanCount + stripCount - 1 - i] = writer.strip(found.strips[i]);
    }
    if (hasBatch) {
        primitives.back() = writer.batch(found.leftOver);
    }
    return primitives;
}

} // namespace

std::vector<IndexedPrimitive> buildPrimitives(std::span<const unsigned int> triangles, const StripOptions& options) {
    detail::checkStripTriangles("buildPrimitives", triangles);
    return cutPrimitives(triangles, options);
}

std::vector<std::vector<IndexedPrimitive>> buildPrimitives(std::span<const std::span<const unsigned int>> meshes,
                                                           const StripOptions& options, const Executor& executor) {
    std::vector<std::vector<IndexedPrimitive>> primitives(meshes.size());
    detail::forEachList("buildPrimitives", meshes, executor,
                        [&](std::size_t i) { primitives[i] = cutPrimitives(meshes[i], options); });
    return primitives;
}

} // namespace vexa::mesh
