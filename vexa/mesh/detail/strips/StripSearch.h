#pragma once

#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/Random.h"
#include "vexa/mesh/detail/strips/StripSet.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace vexa::mesh::detail {

/// Called by a search while it runs. May throw, which ends the search.
class SearchObserver {
public:
    virtual ~SearchObserver() = default;
    /// A free triangle came with a negative state.
    virtual void onInvalidTriangle() {}
    /// Called every few thousand triangles.
    virtual void onWork() {}
    /// One of several passes, counted from 1, has finished.
    ///
    /// \return false makes the next pass the last, which repeats the best so far and is not reported
    virtual bool onPass(std::uint32_t /*number*/, std::int32_t /*cost*/, std::int32_t /*best*/,
                        std::int32_t /*worst*/) {
        return true;
    }
};

struct SearchOptions {
    std::uint32_t iterations; ///< at least 1
    bool allStrips;           ///< strips of triangles without free neighbours too
    std::uint32_t
        freeCount;         ///< triangles to search: the first ids. The others are in strips of an earlier search, which
                           ///< are undone after the first of several passes
    std::uint32_t fanCost; ///< indices of the fans, included in the cost of a pass
    /// A single pass ends, with triangles left, when its strips have as many indices more than triangles: joined by restart,
    /// those for parity and the last joint not counted.
    std::uint64_t maxExcess = std::numeric_limits<std::uint64_t>::max();
};

/// The outcome of a search.
struct SearchResult {
    StripSet strips;
    std::vector<TriangleId> leftOver; ///< free triangles that no strip took, in order
    std::uint32_t cost = 0;           ///< indices of all strips
    std::int32_t best = 0;            ///< lowest and highest cost of several passes; 0 after a single one
    std::int32_t worst = 0;
};

/// Cuts the free triangles of a graph, whose irregular ones are known, into strips; see `HalfEdgeGraph::calcOptPrim`.
///
/// Sets the state of triangles in strips to `stateInStrip` and that of the others to 0.
SearchResult searchStrips(CompactGraph& graph, const SearchOptions& options, RandomSource& random,
                          SearchObserver& observer);

/// No strips: every triangle that no fan holds is left over.
SearchResult leaveAll(const CompactGraph& graph);

} // namespace vexa::mesh::detail
