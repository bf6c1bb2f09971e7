#include "vexa/mesh/detail/graph/EdgeOccupants.h"

#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <new>

namespace vexa::mesh::detail {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;
using Occupants = CrowdedEdges::Table::Occupants;

/// Longer lists are not read for every edge.
constexpr std::size_t longList = 64;

bool isLinkable(const Triangle& triangle) {
    return triangle.state != Triangle::splitOff && !isCollapsed(triangle);
}

/// Counts the occupants in the list of corner `i`: half-edges in the direction of edge `i`, and half-edges opposite to
/// the edge that ends there.
void findAtCorner(const VertexList& list, const unsigned int* corners, std::size_t i, TriangleOccupants& edges) {
    const std::size_t arriving = (i + 2) % 3;
    const unsigned int leavesTo = corners[(i + 1) % 3];
    const unsigned int arrivesFrom = corners[arriving];
    for (const auto& [end, halfEdge] : list) {
        if (end == leavesTo && isLinkable(*halfEdge->triangle)) {
            ++edges[i].count;
        } else if (end == arrivesFrom && isLinkable(*halfEdge->triangle)) {
            ++edges[arriving].count;
            edges[arriving].opposite = halfEdge;
        }
    }
}

/// Reads the list of one end of an edge, which shows every triangle there: either the half-edge leaves for the other
/// end, or the preceding one comes from there.
Occupants findThrough(const VertexList& list, unsigned int from, unsigned int otherEnd) {
    Occupants edge;
    for (const auto& [end, halfEdge] : list) {
        HalfEdge* const incoming = halfEdge->next->next;
        HalfEdge* const onEdge = end == otherEnd ? halfEdge : incoming->vertex == otherEnd ? incoming : nullptr;
        if (onEdge == nullptr || !isLinkable(*halfEdge->triangle)) {
            continue;
        }
        edge.opposite = onEdge->vertex != from ? onEdge : edge.opposite;
        if (++edge.count == 2) {
            break;
        }
    }
    return edge;
}

/// The occupants of an edge between two crowded vertices, through the list of one of them.
Occupants findCrowded(const VertexList& list, unsigned int vertex, unsigned int from, unsigned int to,
                      std::unique_ptr<CrowdedEdges>& crowded) noexcept {
    try {
        if (!crowded) {
            crowded = std::make_unique<CrowdedEdges>();
        }
        crowded->enter(vertex, list);
        return crowded->find(from, to);
    } catch (const std::bad_alloc&) {
        return findThrough(list, from, vertex == from ? to : from);
    }
}

} // namespace

bool isCollapsed(const Triangle& triangle) {
    const HalfEdge* const edges = triangle.halfEdge;
    return isCollapsed(edges[0].vertex, edges[1].vertex, edges[2].vertex);
}

void CrowdedEdges::enter(std::uint32_t vertex, const VertexList& list) {
    if (entered_[vertex] > list.size()) { // the caller has shortened it
        *this = {};
    }
    std::size_t& entered = entered_[vertex];
    // Half-edges that were added before an exception are added again, which changes nothing.
    std::for_each(list.begin() + static_cast<std::ptrdiff_t>(entered), list.end(), [this](const auto& entry) {
        HalfEdge* const leaving = entry.second;
        HalfEdge* const arriving = leaving->next->next;
        if (isLinkable(*leaving->triangle)) {
            edges_.add(leaving->vertex, leaving->next->vertex, leaving);
            edges_.add(arriving->vertex, leaving->vertex, arriving);
        }
    });
    entered = list.size();
}

TriangleOccupants findOccupants(const std::vector<VertexList>& vertexHalfEdges, const unsigned int* corners,
                                std::unique_ptr<CrowdedEdges>& crowded) noexcept {
    TriangleOccupants edges;
    const std::array<const VertexList*, 3> lists{&vertexHalfEdges[corners[0]], &vertexHalfEdges[corners[1]],
                                                 &vertexHalfEdges[corners[2]]};
    if (std::max({lists[0]->size(), lists[1]->size(), lists[2]->size()}) <= longList) {
        for (std::size_t i = 0; i < 3; ++i) {
            findAtCorner(*lists[i], corners, i, edges);
        }
        return edges;
    }
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t j = (i + 1) % 3;
        const std::size_t through = lists[i]->size() < lists[j]->size() ? i : j;
        edges[i] = lists[through]->size() <= longList
                       ? findThrough(*lists[through], corners[i], corners[through == i ? j : i])
                       : findCrowded(*lists[through], corners[through], corners[i], corners[j], crowded);
    }
    return edges;
}

} // namespace vexa::mesh::detail
