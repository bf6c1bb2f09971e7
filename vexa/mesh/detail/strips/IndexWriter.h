#pragma once

#include "vexa/mesh/Strips.h"
#include "vexa/mesh/detail/strips/CompactGraph.h"
#include "vexa/mesh/detail/strips/StripSet.h"

#include <cstddef>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// Writes the index lists of primitives that were found on a compact graph.
class IndexWriter {
public:
    /// \param triangles three vertex indices per triangle of the graph
    IndexWriter(std::span<const unsigned int> triangles, const CompactGraph& graph)
        : triangles_(triangles.data()), graph_(graph) {}

    /// The closed fan around the vertex at which a half-edge starts.
    [[nodiscard]] IndexedPrimitive fan(HalfEdgeId start) const;
    [[nodiscard]] IndexedPrimitive strip(const StripSet::Strip& strip);
    [[nodiscard]] IndexedPrimitive batch(std::span<const TriangleId> ids) const;

private:
    const unsigned int* triangles_;
    const CompactGraph& graph_;
    std::vector<unsigned int> scratch_; ///< room for the longest strip so far
};

} // namespace vexa::mesh::detail
