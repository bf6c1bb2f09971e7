#pragma once

#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/strips/StripSearch.h"

#include <cstdint>
#include <vector>

namespace vexa::mesh::detail {

/// The parameters of `HalfEdgeGraph::calcOptPrim`.
struct OptimiserOptions {
    std::uint32_t iterations;
    bool buildStrips;
    bool buildFans;
    std::uint32_t minFanTriangles;
    bool allStrips;
};

class OptimiserObserver : public SearchObserver {
public:
    /// Several passes have finished; nothing is stored in the graph yet.
    virtual void onRange(std::int32_t best, std::int32_t worst) = 0;
};

struct OptimisedGraph {
    std::uint32_t cost = 0; ///< indices of all primitives that were stored
    /// The triangles of the strips in the order in which they will be handed out; empty if memory ran out.
    std::vector<const HalfEdgeGraph::Triangle*> upcoming;
};

/// `HalfEdgeGraph::calcOptPrim` without its records: numbers the triangles, searches, and stores the outcome.
///
/// \throw any exception of the observer. Whatever is thrown, the graph is as it was
OptimisedGraph optimise(HalfEdgeGraph& graph, const OptimiserOptions& options, OptimiserObserver& observer);

} // namespace vexa::mesh::detail
