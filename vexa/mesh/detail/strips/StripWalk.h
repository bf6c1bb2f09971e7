#pragma once

#include "vexa/mesh/detail/strips/StripSet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <tuple>
#include <utility>

namespace vexa::mesh::detail {

/// Walks a strip of at least two triangles and shows the visitor every edge that it crosses.
///
/// A strip alternates: at its second triangle, its fourth and so on (the odd ones) it continues over the edge before
/// the one by which it entered, at the others over the one after. The other edge takes a swap, which is one more index:
/// [a b c d] continues over (c, d), and [a b c b d] over (b, d).
///
/// \param path    yields the strip's edges: `exit()` is the half-edge by which the strip leaves the first triangle, `enter(exit)`
///                the one by which the next triangle is entered, and `leave(entry, isOdd)` the one by which that is
///                left, with whether it takes a swap; `isAtEnd()` is true in the last triangle
/// \param visitor `start(exit)` is called for the first triangle, `enter(entry)` for each other one, and
///                `leave(exit, isOdd, isSwap)` where the strip goes on from there
template <class Path, class Visitor>
void walkStrip(Path path, Visitor& visitor) {
    auto exit = path.exit();
    visitor.start(exit);
    for (bool isOdd = true;;) {
        const auto entry = path.enter(exit);
        visitor.enter(entry);
        if (path.isAtEnd()) {
            return;
        }
        bool isSwap = false;
        std::tie(exit, isSwap) = path.leave(entry, isOdd);
        visitor.leave(exit, isOdd, isSwap);
        isOdd ^= !isSwap;
    }
}

/// A visitor that counts the indices of a strip.
class StripCost {
public:
    template <class Edge>
    void start(const Edge&) {
        total_ = 3;
    }
    template <class Edge>
    void enter(const Edge&) {
        ++total_;
    }
    template <class Edge>
    void leave(const Edge&, bool, bool isSwap) {
        total_ += isSwap ? 1 : 0;
    }
    [[nodiscard]] std::uint32_t total() const { return total_; }

private:
    std::uint32_t total_ = 0;
};

/// A visitor that writes the indices of a strip.
///
/// \tparam Corners the corners of a triangle seen from one of its edges: `from(edge)`, `to(edge)` and the third one,
///                 `apex(edge)`; and `around(edge)`, all of them from the third one on
/// \tparam Sink    receives the indices: `push(index)`, and `swap(isSwap, index, newest)`, which for a swap replaces the
///                 last index by `index` and appends `newest`
template <class Corners, class Sink>
class IndexEmitter {
public:
    IndexEmitter(Corners corners, Sink& sink) : corners_(corners), sink_(sink) {}

    template <class Edge>
    void start(const Edge& exit) {
        for (const unsigned int corner : corners_.around(exit)) {
            sink_.push(corner);
        }
    }
    template <class Edge>
    void enter(const Edge& entry) {
        sink_.push(corners_.apex(entry));
    }
    /// A swap repeats the newest vertex after the other one of the exit, in a degenerate triangle.
    template <class Edge>
    void leave(const Edge& exit, bool isOdd, bool isSwap) {
        const unsigned int from = corners_.from(exit);
        const unsigned int to = corners_.to(exit);
        sink_.swap(isSwap, isOdd ? from : to, isOdd ? to : from);
    }

private:
    Corners corners_;
    Sink& sink_;
};

/// The path over the links between triangles: each is left by the first edge that it shares with its successor.
///
/// \tparam Links     the types `Triangle` and `HalfEdge`, and `findExit(triangle, successor)`, `twin(halfEdge)`,
///                   `prev(halfEdge)` and `next(halfEdge)`. Without a shared edge there is no exit: `noHalfEdge`
/// \tparam Successor returns the next triangle of the strip with every call, `Links::noTriangle` after the last
template <class Links, class Successor>
class LinkedPath {
public:
    using Triangle = typename Links::Triangle;
    using HalfEdge = typename Links::HalfEdge;

    LinkedPath(Links links, Successor successor)
        : links_(links), successor_(std::move(successor)), current_(successor_()), upcoming_(successor_()) {}

    [[nodiscard]] HalfEdge exit() const { return links_.findExit(current_, upcoming_); }
    [[nodiscard]] bool isAtEnd() const { return upcoming_ == Links::noTriangle; }
    HalfEdge enter(HalfEdge exit) {
        current_ = std::exchange(upcoming_, successor_());
        return exit != Links::noHalfEdge ? links_.twin(exit) : exit;
    }
    [[nodiscard]] std::pair<HalfEdge, bool> leave(HalfEdge entry, bool isOdd) const {
        const HalfEdge left = exit();
        const bool continues = entry != Links::noHalfEdge && left != Links::noHalfEdge &&
                               left == (isOdd ? links_.prev(entry) : links_.next(entry));
        return {left, !continues};
    }

private:
    Links links_;
    Successor successor_;
    Triangle current_;
    Triangle upcoming_;
};

/// The half-edge by which a strip leaves a triangle: the first of those that it shares with its successor, `noHalfEdge`
/// when it shares none.
///
/// \tparam Graph `twin(halfEdge)` is the half-edge across
template <class Graph>
HalfEdgeId findExit(const Graph& graph, TriangleId triangle, TriangleId successor) {
    for (std::uint32_t place = 0; place < 3; ++place) {
        if (triangleOf(graph.twin(halfEdgeOf(triangle, place))) == successor) {
            return halfEdgeOf(triangle, place);
        }
    }
    return noHalfEdge;
}

/// The links between triangles by id.
template <class Graph>
struct GraphLinks {
    using Triangle = TriangleId;
    using HalfEdge = HalfEdgeId;
    static constexpr TriangleId noTriangle = ~TriangleId{0};
    static constexpr HalfEdgeId noHalfEdge = detail::noHalfEdge;

    [[nodiscard]] HalfEdgeId findExit(TriangleId triangle, TriangleId successor) const {
        return detail::findExit(graph, triangle, successor);
    }
    [[nodiscard]] HalfEdgeId twin(HalfEdgeId halfEdge) const { return graph.twin(halfEdge); }
    static HalfEdgeId prev(HalfEdgeId halfEdge) { return prevOf(halfEdge); }
    static HalfEdgeId next(HalfEdgeId halfEdge) { return nextOf(halfEdge); }

    const Graph& graph;
};

/// The path of a strip over its links, from the first triangle to the last or back.
template <class Graph>
auto linkedPath(const Graph& graph, std::span<const StripTriangle> strip, bool isReversed) {
    const auto successor = [strip, isReversed, i = std::size_t{0}]() mutable {
        if (i == strip.size()) {
            return GraphLinks<Graph>::noTriangle;
        }
        ++i;
        return triangleOf(strip[isReversed ? strip.size() - i : i - 1]);
    };
    return LinkedPath(GraphLinks<Graph>{graph}, successor);
}

/// The corners of triangles by id.
struct ListCorners {
    const unsigned int* triangles; ///< three vertex indices per triangle

    [[nodiscard]] unsigned int from(HalfEdgeId edge) const {
        return triangles[std::size_t{3} * triangleOf(edge) + placeOf(edge)];
    }
    [[nodiscard]] unsigned int to(HalfEdgeId edge) const { return from(nextOf(edge)); }
    [[nodiscard]] unsigned int apex(HalfEdgeId edge) const { return from(prevOf(edge)); }
    [[nodiscard]] std::array<unsigned int, 3> around(HalfEdgeId edge) const {
        return {apex(edge), from(edge), to(edge)};
    }
};

/// The path of a strip in the order in which it was built. It follows the ways out and reads only the corners of the
/// triangles.
class BuiltPath {
public:
    struct Edge {
        unsigned int from;
        unsigned int to;
        unsigned int apex;
    };

    /// \param triangles three vertex indices per triangle
    /// \param strip     `StripSet::lookAhead` words can be read after it
    BuiltPath(const unsigned int* triangles, std::span<const StripTriangle> strip)
        : triangles_(triangles), current_(strip.data()), last_(strip.data() + strip.size() - 1) {}

    [[nodiscard]] Edge exit() const {
        const unsigned int* const corners = cornersOf(*current_);
        const std::uint32_t place = placeOf(*current_);
        return {corners[place], corners[(place + 1) % 3], corners[(place + 2) % 3]};
    }
    [[nodiscard]] bool isAtEnd() const { return current_ == last_; }
    Edge enter(const Edge& exit) {
        ++current_;
        __builtin_prefetch(cornersOf(current_[StripSet::lookAhead / 2]));
        const unsigned int* const corners = cornersOf(*current_);
        return {exit.from, exit.to, corners[0] ^ corners[1] ^ corners[2] ^ exit.from ^ exit.to};
    }
    [[nodiscard]] std::pair<Edge, bool> leave(const Edge& entry, bool isOdd) const {
        const bool isBefore = placeOf(*current_) == leavesBefore;
        return {{isBefore ? entry.apex : entry.from, isBefore ? entry.to : entry.apex, 0}, isOdd != isBefore};
    }

private:
    [[nodiscard]] const unsigned int* cornersOf(StripTriangle triangle) const {
        return &triangles_[std::size_t{3} * triangleOf(triangle)];
    }

    const unsigned int* triangles_;
    const StripTriangle* current_;
    const StripTriangle* last_;
};

struct EdgeCorners {
    using Edge = BuiltPath::Edge;
    static unsigned int from(const Edge& edge) { return edge.from; }
    static unsigned int to(const Edge& edge) { return edge.to; }
    static unsigned int apex(const Edge& edge) { return edge.apex; }
    static std::array<unsigned int, 3> around(const Edge& edge) { return {edge.apex, edge.from, edge.to}; }
};

} // namespace vexa::mesh::detail
