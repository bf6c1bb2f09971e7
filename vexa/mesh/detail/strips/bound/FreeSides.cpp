#include "vexa/mesh/detail/strips/bound/FreeSides.h"

#include "vexa/mesh/detail/strips/LargeVector.h"
#include <algorithm>
#include <tuple>

namespace vexa::mesh::detail {

namespace {

/// A half-edge with the ends of its edge.
struct Side {
    unsigned int lower;
    unsigned int higher;
    HalfEdgeId halfEdge;
};

bool isOnSameEdge(const Side& a, const Side& b) {
    return a.lower == b.lower && a.higher == b.higher;
}

LargeVector<Side> sortedByEdge(std::span<const unsigned int> triangles) {
    LargeVector<Side> sides;
    sides.reserve(triangles.size());
    for (TriangleId id = 0; id < triangles.size() / 3; ++id) {
        for (std::uint32_t place = 0; place < 3; ++place) {
            const unsigned int from = triangles[std::size_t{3} * id + place];
            const unsigned int to = triangles[std::size_t{3} * id + (place + 1) % 3];
            sides.push_back({std::min(from, to), std::max(from, to), halfEdgeOf(id, place)});
        }
    }
    std::sort(sides.begin(), sides.end(), [](const Side& a, const Side& b) {
        return std::tuple(a.lower, a.higher, a.halfEdge) < std::tuple(b.lower, b.higher, b.halfEdge);
    });
    return sides;
}

} // namespace

std::vector<TrianglePair> freeSharedSides(CompactGraph& graph, std::span<const unsigned int> triangles) {
    const LargeVector<Side> sides = sortedByEdge(triangles);
    std::vector<TrianglePair> joined;
    for (auto first = sides.begin(); first != sides.end();) {
        const auto end =
            std::find_if_not(first, sides.end(), [&](const Side& side) { return isOnSameEdge(side, *first); });
        const auto upward = std::count_if(first, end, [&](const Side& side) {
            return triangles[std::size_t{3} * triangleOf(side.halfEdge) + placeOf(side.halfEdge)] == side.lower;
        });
        if (end - first > 2 && upward != 0 && upward != end - first) {
            for (auto side = first; side != end; ++side) {
                graph[triangleOf(side->halfEdge)].twin[placeOf(side->halfEdge)] = graph.claimed();
                joined.emplace_back(triangleOf(first->halfEdge), triangleOf(side->halfEdge));
            }
        }
        first = end;
    }
    return joined;
}

} // namespace vexa::mesh::detail
