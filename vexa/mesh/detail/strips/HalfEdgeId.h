#pragma once

#include <cstdint>

namespace vexa::mesh::detail {

/// A half-edge in one word: four times its triangle's id, and its place 0, 1 or 2 in the triangle.
using HalfEdgeId = std::uint32_t;
using TriangleId = std::uint32_t;

constexpr HalfEdgeId noHalfEdge = ~HalfEdgeId{0};

constexpr HalfEdgeId halfEdgeOf(TriangleId triangle, std::uint32_t place) {
    return 4 * triangle + place;
}
constexpr TriangleId triangleOf(HalfEdgeId halfEdge) {
    return halfEdge >> 2;
}
constexpr std::uint32_t placeOf(HalfEdgeId halfEdge) {
    return halfEdge & 3;
}
constexpr HalfEdgeId nextOf(HalfEdgeId halfEdge) {
    return placeOf(halfEdge) == 2 ? halfEdge - 2 : halfEdge + 1;
}
constexpr HalfEdgeId prevOf(HalfEdgeId halfEdge) {
    return placeOf(halfEdge) == 0 ? halfEdge + 2 : halfEdge - 1;
}

// The same without a branch, for walks around vertices: places cannot be predicted there.
constexpr HalfEdgeId nextUnpredicted(HalfEdgeId halfEdge) {
    return halfEdge + 1 - 3 * (halfEdge >> 1 & 1);
}
constexpr HalfEdgeId prevUnpredicted(HalfEdgeId halfEdge) {
    return halfEdge + 2 - 3 * ((halfEdge | halfEdge >> 1) & 1);
}

} // namespace vexa::mesh::detail
