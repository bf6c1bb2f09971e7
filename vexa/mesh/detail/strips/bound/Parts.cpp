#include "vexa/mesh/detail/strips/bound/Parts.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vexa::mesh::detail {

namespace {

/// Sets as trees: each member names an earlier one of its set, or itself.
std::uint32_t findRoot(LargeVector<std::uint32_t>& parent, std::uint32_t member) {
    while (parent[member] != member) {
        member = parent[member] = parent[parent[member]];
    }
    return member;
}

void unite(LargeVector<std::uint32_t>& parent, std::uint32_t a, std::uint32_t b) {
    a = findRoot(parent, a);
    b = findRoot(parent, b);
    parent[std::max(a, b)] = std::min(a, b);
}

} // namespace

Parts::Parts(const CompactGraph& graph, std::span<const TrianglePair> joined) : part_(graph.count()) {
    std::iota(part_.begin(), part_.end(), TriangleId{0});
    for (TriangleId id = 0; id < graph.count(); ++id) {
        for (const HalfEdgeId twin : graph[id].twin) {
            if (triangleOf(twin) < id) {
                unite(part_, id, triangleOf(twin));
            }
        }
    }
    for (const auto& [a, b] : joined) {
        unite(part_, a, b);
    }
    numberParts();
}

std::uint32_t Parts::countGroups(std::span<const unsigned int> triangles) const {
    if (count_ <= 1) {
        return count_;
    }
    LargeVector<std::pair<unsigned int, std::uint32_t>> corners(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        corners[i] = {triangles[i], part_[i / 3]};
    }
    std::sort(corners.begin(), corners.end());
    LargeVector<std::uint32_t> parent(count_);
    std::iota(parent.begin(), parent.end(), std::uint32_t{0});
    for (std::size_t i = 1; i < corners.size(); ++i) {
        if (corners[i - 1].first == corners[i].first) {
            unite(parent, corners[i - 1].second, corners[i].second);
        }
    }
    std::uint32_t groups = 0;
    for (std::uint32_t part = 0; part < count_; ++part) {
        groups += parent[part] == part ? 1 : 0;
    }
    return groups;
}

/// Puts numbers without gaps in place of the trees.
void Parts::numberParts() {
    for (TriangleId id = 0; id < part_.size(); ++id) {
        // What it names comes earlier, and has its number already.
        part_[id] = part_[id] == id ? count_++ : part_[part_[id]];
    }
}

} // namespace vexa::mesh::detail
