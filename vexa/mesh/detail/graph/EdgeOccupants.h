#pragma once

#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/strips/EdgeTable.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace vexa::mesh::detail {

using VertexList = std::vector<HalfEdgeGraph::VertexHalfEdge>;

/// Whether a triangle has two equal corners.
bool isCollapsed(const HalfEdgeGraph::Triangle& triangle);

/// The edges at vertices with many triangles, for which reading the vertex lists would take long. Vertices are entered
/// when an edge there is first searched for.
class CrowdedEdges {
public:
    using Table = EdgeTable<HalfEdgeGraph::HalfEdge*, nullptr>;

    /// Enters the triangles that joined the list of a vertex since it was last entered.
    ///
    /// \throw std::bad_alloc no memory; the call may be repeated
    void enter(std::uint32_t vertex, const VertexList& list);
    /// The occupants of an edge of which one end is entered up to its newest triangle.
    [[nodiscard]] Table::Occupants find(std::uint32_t from, std::uint32_t to) const { return edges_.find(from, to); }

private:
    std::unordered_map<std::uint32_t, std::size_t> entered_; ///< per vertex, length of the list when it was entered
    Table edges_;
};

using TriangleOccupants = std::array<CrowdedEdges::Table::Occupants, 3>;

/// The occupants of the edges of a triangle that is not collapsed: half-edges of earlier triangles that are neither
/// collapsed nor split off.
///
/// \param crowded null until it is first needed
/// Cost: constant in the mean over all calls, whatever the numbers of triangles at the vertices and the edges, unless
/// memory runs out: then the shorter of the lists at the ends of each edge.
TriangleOccupants findOccupants(const std::vector<VertexList>& vertexHalfEdges, const unsigned int* corners,
                                std::unique_ptr<CrowdedEdges>& crowded) noexcept;

} // namespace vexa::mesh::detail
