#pragma once

#include "vexa/mesh/HalfEdgeGraph.h"

#include <cstdint>

namespace vexa::mesh::detail {

using Triangle = HalfEdgeGraph::Triangle;
using TriangleList = HalfEdgeGraph::TriangleList;

inline std::uint32_t countTriangles(const TriangleList& list) {
    std::uint32_t count = 0;
    for (const Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
        ++count;
    }
    return count;
}

/// Appends a triangle that is in no list.
inline void append(TriangleList& list, Triangle& triangle) noexcept {
    triangle.next = nullptr;
    triangle.prev = list.last;
    (list.last != nullptr ? list.last->next : list.first) = &triangle;
    list.last = &triangle;
}

/// Takes a triangle out of the list that holds it. One that is in no list leaves `list` as it is.
inline void unlink(TriangleList& list, Triangle& triangle) noexcept {
    if (triangle.prev != nullptr) {
        triangle.prev->next = triangle.next;
    } else if (list.first == &triangle) {
        list.first = triangle.next;
    }
    if (triangle.next != nullptr) {
        triangle.next->prev = triangle.prev;
    } else if (list.last == &triangle) {
        list.last = triangle.prev;
    }
    triangle.next = nullptr;
    triangle.prev = nullptr;
}

/// Moves all triangles of `source`, in their order, to the end of `target`; either may be empty.
inline void splice(TriangleList& target, TriangleList& source) noexcept {
    if (source.first == nullptr) {
        return;
    }
    source.first->prev = target.last;
    (target.last != nullptr ? target.last->next : target.first) = source.first;
    target.last = source.last;
    source = {};
}

} // namespace vexa::mesh::detail
