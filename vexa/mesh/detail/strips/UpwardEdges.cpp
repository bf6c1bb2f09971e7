#include "vexa/mesh/detail/strips/UpwardEdges.h"

#include <numeric>

namespace vexa::mesh::detail {

UpwardEdges::UpwardEdges(std::span<const unsigned int> triangles, std::uint32_t vertexCount, CompactGraph& graph,
                         const Poll& poll)
    : ends_(vertexCount) {
    const auto prefetchEnd = [this](std::uint32_t vertex) { __builtin_prefetch(&ends_[vertex], 1); };
    const CompactTriangle alone{{graph.border(), graph.border(), graph.border()}, 0, 0, 0, false};
    forEachHalfEdge(
        triangles, poll, [&](TriangleId triangle) { graph[triangle] = alone; }, prefetchEnd,
        [this](HalfEdgeId, std::uint32_t from, std::uint32_t to) { ends_[from] += from < to ? 1 : 0; });
    const std::uint32_t edgeCount = std::accumulate(ends_.begin(), ends_.end(), std::uint32_t{0});
    std::exclusive_scan(ends_.begin(), ends_.end(), ends_.begin(), std::uint32_t{0});
    edges_ = LargeArray<UpwardEdge>(std::size_t{edgeCount} + 1);
    const auto prefetchList = [this](std::uint32_t vertex) { __builtin_prefetch(edges_.get() + ends_[vertex], 1); };
    forEachHalfEdge(
        triangles, poll, [](TriangleId) {}, prefetchList,
        [&](HalfEdgeId halfEdge, std::uint32_t from, std::uint32_t to) {
            // Downward ones go after the end of all lists: a branch could not be predicted.
            const std::uint32_t isUpward = from < to ? 1 : 0;
            std::uint32_t& end = ends_[from];
            edges_[edgeCount + ((end - edgeCount) & (0 - isUpward))] = {to, halfEdge};
            end += isUpward;
        });
    sortLongLists();
}

void UpwardEdges::sortLongLists() {
    std::uint32_t begin = 0;
    for (const std::uint32_t end : ends_) {
        if (end - begin > longList) {
            std::sort(edges_.get() + begin, edges_.get() + end, [](const UpwardEdge& a, const UpwardEdge& b) {
                return a.to != b.to ? a.to < b.to : a.halfEdge < b.halfEdge;
            });
            taken_.resize(ends_.back());
        }
        begin = end;
    }
}

UpwardEdges::OnlyEdge UpwardEdges::takeOnly(std::uint32_t from, std::uint32_t to) {
    UpwardEdge* const begin = edges_.get() + (from == 0 ? 0 : ends_[from - 1]);
    UpwardEdge* const end = edges_.get() + ends_[from];
    const auto isFound = [to](const UpwardEdge& edge) { return edge.to == to; };
    UpwardEdge* const first = end - begin > longList ? std::lower_bound(begin, end, UpwardEdge{to, 0}, isBefore)
                                                     : std::find_if(begin, end, isFound);
    if (first == end || first->to != to) {
        return {};
    }
    const bool hasOther =
        end - begin > longList ? first + 1 != end && isFound(first[1]) : std::any_of(first + 1, end, isFound);
    const HalfEdgeId halfEdge = std::exchange(first->halfEdge, noHalfEdge);
    return {halfEdge, !hasOther && halfEdge != noHalfEdge};
}

HalfEdgeId UpwardEdges::takeSorted(UpwardEdge* begin, UpwardEdge* end, std::uint32_t to) {
    const UpwardEdge* const first = std::lower_bound(begin, end, UpwardEdge{to, 0}, isBefore);
    if (first == end) {
        return noHalfEdge;
    }
    std::uint32_t& taken = taken_[static_cast<std::size_t>(first - edges_.get())];
    const UpwardEdge* const edge = first + taken;
    if (edge >= end || edge->to != to) {
        return noHalfEdge;
    }
    ++taken;
    return edge->halfEdge;
}

} // namespace vexa::mesh::detail
