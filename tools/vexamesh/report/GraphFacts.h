#pragma once

#include "Stripping.h"
#include "io/Document.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vexa::tool {

/// What the passes of the optimiser cost, from its own records: indices before strips are joined.
struct PassCosts {
    std::vector<std::int64_t> totals; ///< of each pass
    std::int64_t best = 0;
    std::int64_t worst = 0;

    /// Adds the passes of another primitive, which is searched on its own: pass to pass, best to best.
    void add(const PassCosts& other);
};

/// What the half-edge graph of a primitive says.
struct GraphFacts {
    std::vector<std::string> lines; ///< its report
    std::vector<bool> isSplitOff;   ///< of each triangle that is not degenerate, in the order of the input
    PassCosts passes;               ///< without totals when fewer than two passes were wanted
};

/// \param iterations passes to cut the graph with; with fewer than 2 it is not cut
/// \param onPass     if set, it is told after each pass how many are done, and of how many
GraphFacts describeGraph(const Primitive& primitive, const mesh::StripOptions& options, std::uint32_t iterations,
                         const std::function<void(std::size_t, std::size_t)>& onPass = {});

} // namespace vexa::tool
