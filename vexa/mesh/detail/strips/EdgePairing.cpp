#include "vexa/mesh/detail/strips/EdgePairing.h"

#include "vexa/mesh/detail/strips/DenseIndices.h"
#include "vexa/mesh/detail/strips/EdgeTable.h"
#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/PendingEdges.h"
#include "vexa/mesh/detail/strips/TriangleList.h"
#include "vexa/mesh/detail/strips/UpwardEdges.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

namespace {

void link(CompactGraph& graph, HalfEdgeId a, HalfEdgeId b) {
    CompactTriangle& one = graph[triangleOf(a)];
    CompactTriangle& other = graph[triangleOf(b)];
    one.twin[placeOf(a)] = b;
    other.twin[placeOf(b)] = a;
    ++one.state;
    ++other.state;
}

/// Links, and marks triangles that share several edges as irregular.
void linkAndMark(CompactGraph& graph, HalfEdgeId a, HalfEdgeId b) {
    CompactTriangle& one = graph[triangleOf(a)];
    CompactTriangle& other = graph[triangleOf(b)];
    bool isNeighbour = false;
    for (const HalfEdgeId across : one.twin) {
        isNeighbour |= triangleOf(across) == triangleOf(b);
    }
    if (isNeighbour) {
        one.isIrregular = true;
        other.isIrregular = true;
    }
    link(graph, a, b);
}

/// Unlinks a half-edge and its twin, if it has one.
void unlink(CompactGraph& graph, HalfEdgeId halfEdge) {
    CompactTriangle& one = graph[triangleOf(halfEdge)];
    const HalfEdgeId twin = std::exchange(one.twin[placeOf(halfEdge)], graph.border());
    if (!graph.isSentinel(twin)) {
        CompactTriangle& other = graph[triangleOf(twin)];
        other.twin[placeOf(twin)] = graph.border();
        --one.state;
        --other.state;
    }
}

/// Edges that are marked by their ends: few others have both a lower and a higher end that is marked.
class MarkedEdges {
public:
    explicit MarkedEdges(std::uint32_t vertexCount) : vertexCount_(vertexCount) {}

    void mark(std::uint32_t lower, std::uint32_t higher) {
        ends_.resize(vertexCount_);
        ends_[lower] |= isLower;
        ends_[higher] |= isHigher;
    }
    [[nodiscard]] bool isEmpty() const { return ends_.empty(); }
    [[nodiscard]] bool mayHave(std::uint32_t a, std::uint32_t b) const {
        return (ends_[std::min(a, b)] & isLower) != 0 && (ends_[std::max(a, b)] & isHigher) != 0;
    }
    /// Whether a triangle may have a marked edge; a quick test that rules out most triangles without one.
    [[nodiscard]] bool mayTouch(const unsigned int* corners) const {
        return ((ends_[corners[0]] | ends_[corners[1]] | ends_[corners[2]]) & isLower) != 0;
    }

private:
    static constexpr std::uint8_t isLower = 1;
    static constexpr std::uint8_t isHigher = 2;

    std::uint32_t vertexCount_;
    LargeVector<std::uint8_t> ends_; ///< of each vertex; empty while no edge is marked
};

/// Marks triangles that share several edges as irregular during a walk over the triangles.
class SharedEdges {
public:
    void noteTriangle(const std::array<std::uint32_t, 4>&) {}
    void noteWaiting(const PendingEdges&, std::uint32_t, std::uint32_t) {}
    void noteLinks(CompactGraph& graph, TriangleId triangle) {
        const CompactTriangle& record = graph[triangle];
        markIfShared(graph, triangle, record.twin[0], record.twin[1]);
        markIfShared(graph, triangle, record.twin[1], record.twin[2]);
        markIfShared(graph, triangle, record.twin[2], record.twin[0]);
    }

private:
    /// Marks a triangle and a neighbour of it if they share two of its edges.
    static void markIfShared(CompactGraph& graph, TriangleId triangle, HalfEdgeId twin, HalfEdgeId other) {
        if (triangleOf(twin) == triangleOf(other) && !graph.isSentinel(twin)) {
            graph[triangle].isIrregular = true;
            graph[triangleOf(twin)].isIrregular = true;
        }
    }
};

/// Finds the edges at which more than two half-edges meet, during a walk: a half-edge that comes to one of them has to
/// wait, and either another waits that runs the same way, or both directions were seen before. For the latter each vertex
/// has a set of bits, one for each end of its half-edges, so that few other edges are marked too.
class CrowdedEnds {
public:
    CrowdedEnds(std::uint32_t vertexCount, MarkedEdges& marked) : seen_(vertexCount), marked_(marked) {}

    void noteTriangle(const std::array<std::uint32_t, 4>& corners) {
        for (std::size_t i = 0; i < 3; ++i) {
            seen_[corners[i]] |= bitOf(corners[i + 1]);
        }
    }
    void noteWaiting(const PendingEdges& pending, std::uint32_t from, std::uint32_t to) {
        const bool wereBothSeen = (seen_[from] & bitOf(to)) != 0 && (seen_[to] & bitOf(from)) != 0;
        if (wereBothSeen || pending.mayHave(from, to)) {
            marked_.mark(std::min(from, to), std::max(from, to));
        }
    }
    void noteLinks(CompactGraph&, TriangleId) {}

private:
    /// One of 32 bits, by the multiplicative hash of a vertex (Knuth: Sorting and Searching, 1998, 6.4).
    static std::uint32_t bitOf(std::uint32_t vertex) { return std::uint32_t{1} << (vertex * 0x9e3779b1U >> 27); }

    LargeVector<std::uint32_t> seen_; ///< of each vertex
    MarkedEdges& marked_;
};

/// Pairs in one walk over the triangles: each takes the half-edges that wait for its own, and leaves those that find none.
///
/// \param notes called with each half-edge that waits, then with each triangle
/// \return false where too many wait at one vertex; the graph is unfinished then
template <class Notes>
bool pairAsTheyCome(const DenseIndices& dense, CompactGraph& graph, Notes& notes, const Poll& poll) {
    constexpr std::size_t ahead = 16 * 3;
    const std::span<const unsigned int> triangles = dense.indices();
    const CompactTriangle alone{{graph.border(), graph.border(), graph.border()}, 0, 0, 0, false};
    PendingEdges pending(dense.vertexCount());
    bool fits = true;
    const auto goesOn = [&] {
        if (poll) {
            poll();
        }
        return fits;
    };
    forEachWhile(graph.count(), goesOn, [&](TriangleId triangle) {
        const std::size_t i = std::size_t{3} * triangle;
        if (i + ahead < triangles.size()) {
            pending.prefetch(triangles[i + ahead]);
            pending.prefetch(triangles[i + ahead + 1]);
            pending.prefetch(triangles[i + ahead + 2]);
        }
        const std::array<std::uint32_t, 4> corners = {triangles[i], triangles[i + 1], triangles[i + 2], triangles[i]};
        CompactTriangle& record = graph[triangle];
        record = alone;
        if (isCollapsed(corners.data())) {
            return;
        }
        // All are looked up before anything is written, which the next look-up would have to wait for.
        std::array<unsigned int, 3> found;
        for (std::uint32_t place = 0; place < 3; ++place) {
            found[place] = pending.find(corners[place + 1], corners[place]);
        }
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId halfEdge = halfEdgeOf(triangle, place);
            const HalfEdgeId twin = pending.take(corners[place + 1], corners[place], found[place]);
            if (twin != noHalfEdge) {
                link(graph, twin, halfEdge);
            } else {
                notes.noteWaiting(pending, corners[place], corners[place + 1]);
                fits &= pending.add(corners[place], corners[place + 1], halfEdge);
            }
        }
        notes.noteTriangle(corners);
        notes.noteLinks(graph, triangle);
    });
    return fits;
}

/// Whether a walk takes less memory than the lists of all half-edges, as it does for meshes: 32 bytes per vertex.
bool isWalkSmall(const DenseIndices& dense) {
    return dense.vertexCount() <= dense.indices().size() / 3;
}

/// Links the half-edges of edges that have at most two. Where there are more, links are arbitrary and the edge is
/// marked; a few others may be marked too.
CompactGraph pairUpToTwo(const DenseIndices& dense, MarkedEdges& marked) {
    CompactGraph graph(dense.indices().size() / 3);
    if (isWalkSmall(dense)) {
        CrowdedEnds notes(dense.vertexCount(), marked);
        if (pairAsTheyCome(dense, graph, notes, {})) {
            return graph;
        }
    }
    UpwardEdges upward(dense.indices(), dense.vertexCount(), graph, {});
    std::vector<std::pair<std::uint32_t, std::uint32_t>> downwardAlone;
    forEachDownward(dense.indices(), upward, {}, [&](std::span<const DownwardEdge> edges) {
        for (const auto& [lower, higher, halfEdge] : edges) {
            const UpwardEdges::OnlyEdge twin = upward.takeOnly(lower, higher);
            if (!twin.isOnly) {
                marked.mark(lower, higher);
            } else if (twin.halfEdge != noHalfEdge) {
                link(graph, twin.halfEdge, halfEdge);
            } else {
                downwardAlone.emplace_back(higher, lower);
            }
        }
    });
    // Left to look for are three half-edges that run the same way, with none against them.
    upward.forEachTriple([&](std::uint32_t from, std::uint32_t to) { marked.mark(from, to); });
    std::sort(downwardAlone.begin(), downwardAlone.end());
    for (std::size_t i = 2; i < downwardAlone.size(); ++i) {
        if (downwardAlone[i - 2] == downwardAlone[i]) {
            marked.mark(downwardAlone[i].second, downwardAlone[i].first);
        }
    }
    return graph;
}

/// Links marked edges once more, by the triangles in their order, and splits off those that come to a full edge. All
/// other edges have room for their triangles.
class OrderedPairing {
public:
    OrderedPairing(CompactGraph& graph, std::span<const unsigned int> triangles, const MarkedEdges& marked)
        : graph_(graph), triangles_(triangles), marked_(marked) {}

    /// \return number of triangles that were split off; 0 if no edge has more than two half-edges
    TriangleId run() {
        for (TriangleId triangle = 0; triangle < graph_.count(); ++triangle) {
            const unsigned int* const corners = &triangles_[std::size_t{3} * triangle];
            if (marked_.mayTouch(corners) && !isCollapsed(corners)) {
                visit(triangle, corners);
            }
        }
        return splitOff_;
    }

private:
    using Table = EdgeTable<HalfEdgeId, noHalfEdge>;

    void visit(TriangleId triangle, const unsigned int* corners) {
        std::array<bool, 3> isMarked{};
        std::array<Table::Occupants, 3> occupants;
        for (std::size_t i = 0; i < 3; ++i) {
            const unsigned int to = corners[(i + 1) % 3];
            isMarked[i] = marked_.mayHave(corners[i], to);
            if (isMarked[i]) {
                occupants[i] = edges_.find(corners[i], to);
            }
        }
        const bool isSplitOff =
            std::any_of(occupants.begin(), occupants.end(), [](const auto& edge) { return edge.count == 2; });
        for (std::uint32_t i = 0; i < 3; ++i) {
            const HalfEdgeId halfEdge = halfEdgeOf(triangle, i);
            if (isSplitOff || isMarked[i]) {
                unlink(graph_, halfEdge);
            }
            if (isSplitOff || !isMarked[i]) {
                continue;
            }
            if (occupants[i].opposite != noHalfEdge) {
                link(graph_, occupants[i].opposite, halfEdge);
            }
            edges_.add(corners[i], corners[(i + 1) % 3], halfEdge);
        }
        if (isSplitOff) {
            graph_[triangle].state = stateSplitOff;
            ++splitOff_;
        }
    }

    CompactGraph& graph_;
    std::span<const unsigned int> triangles_;
    const MarkedEdges& marked_;
    Table edges_;
    TriangleId splitOff_ = 0;
};

} // namespace

CompactGraph pairEdges(std::span<const unsigned int> triangles, const Poll& poll) {
    CompactGraph graph(triangles.size() / 3);
    const DenseIndices dense(triangles);
    if (SharedEdges notes; isWalkSmall(dense) && pairAsTheyCome(dense, graph, notes, poll)) {
        return graph;
    }
    UpwardEdges upward(dense.indices(), dense.vertexCount(), graph, poll);
    forEachDownward(dense.indices(), upward, poll, [&](std::span<const DownwardEdge> edges) {
        for (const auto& [lower, higher, halfEdge] : edges) {
            if (const HalfEdgeId twin = upward.take(lower, higher); twin != noHalfEdge) {
                linkAndMark(graph, twin, halfEdge);
            }
        }
    });
    return graph;
}

std::optional<CompactGraph> pairManifoldEdges(std::span<const unsigned int> triangles) {
    const DenseIndices dense(triangles);
    MarkedEdges marked(dense.vertexCount());
    std::optional<CompactGraph> graph = pairUpToTwo(dense, marked);
    if (!marked.isEmpty() && OrderedPairing(*graph, dense.indices(), marked).run() != 0) {
        graph.reset();
    }
    return graph;
}

std::optional<CompactGraph> pairInOrder(std::span<const unsigned int> triangles, std::uint64_t maxTriangles) {
    if (triangles.size() / 3 > maxTriangles) {
        return std::nullopt;
    }
    const DenseIndices dense(triangles);
    MarkedEdges marked(dense.vertexCount());
    CompactGraph graph = pairUpToTwo(dense, marked);
    if (!marked.isEmpty()) {
        OrderedPairing(graph, dense.indices(), marked).run();
    }
    return graph;
}

} // namespace vexa::mesh::detail
