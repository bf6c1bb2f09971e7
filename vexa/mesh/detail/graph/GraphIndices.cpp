#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Strips.h"
#include "vexa/mesh/Types.h"
#include "vexa/mesh/detail/graph/TriangleLists.h"
#include "vexa/mesh/detail/strips/StripWalk.h"

#include <array>
#include <cstddef>

namespace vexa::mesh {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Primitive = HalfEdgeGraph::Primitive;
using Triangle = HalfEdgeGraph::Triangle;

/// The links between a graph's triangles, as a strip that is costed follows them.
struct RecordLinks {
    using Triangle = const HalfEdgeGraph::Triangle*;
    using HalfEdge = const HalfEdgeGraph::HalfEdge*;
    static constexpr Triangle noTriangle = nullptr;
    static constexpr HalfEdge noHalfEdge = nullptr;

    static HalfEdge findExit(Triangle triangle, Triangle successor) {
        for (const HalfEdgeGraph::HalfEdge& halfEdge : triangle->halfEdge) {
            if (halfEdge.twin != nullptr && halfEdge.twin->triangle == successor) {
                return &halfEdge;
            }
        }
        return nullptr;
    }
    static HalfEdge twin(HalfEdge halfEdge) { return halfEdge->twin; }
    static HalfEdge prev(HalfEdge halfEdge) { return halfEdge->next->next; }
    static HalfEdge next(HalfEdge halfEdge) { return halfEdge->next; }
};

/// As a strip that is written follows them: the exit is the one that the successor sees.
struct WrittenLinks : RecordLinks {
    static HalfEdge findExit(Triangle triangle, Triangle successor) {
        return RecordLinks::findExit(triangle, successor)->twin->twin;
    }
};

struct RecordCorners {
    static unsigned int from(const HalfEdge* edge) { return edge->vertex; }
    static unsigned int to(const HalfEdge* edge) { return edge->next->vertex; }
    static unsigned int apex(const HalfEdge* edge) { return edge->next->next->vertex; }
    static std::array<unsigned int, 3> around(const HalfEdge* edge) {
        const HalfEdge* const first = edge->next->next;
        return {from(first), to(first), apex(first)};
    }
};

class VectorSink {
public:
    explicit VectorSink(std::vector<unsigned int>& indices) : indices_(indices) {}

    void push(unsigned int index) { indices_.push_back(index); }
    void swap(bool isSwap, unsigned int index, unsigned int newest) {
        if (isSwap) {
            indices_.back() = index;
            indices_.push_back(newest);
        }
    }

private:
    std::vector<unsigned int>& indices_;
};

const Triangle* beginOf(const HalfEdgeGraph::TriangleList& strip, bool reversed) {
    return reversed ? strip.last : strip.first;
}

const Triangle* successorOf(const Triangle& triangle, bool reversed) {
    return reversed ? triangle.prev : triangle.next;
}

/// Returns the triangles of a strip, one with every call and null at the end; calls `onTriangle` for each of them.
template <class OnTriangle>
auto trianglesOf(const HalfEdgeGraph::TriangleList& strip, bool reversed, OnTriangle onTriangle) {
    return [upcoming = beginOf(strip, reversed), reversed, onTriangle]() mutable {
        const Triangle* const triangle = upcoming;
        if (triangle != nullptr) {
            onTriangle();
            upcoming = successorOf(*triangle, reversed);
        }
        return triangle;
    };
}

void fillIndexFromBatch(std::vector<unsigned int>& indices, const HalfEdgeGraph::TriangleList& batch) {
    indices.resize(std::size_t{3} * detail::countTriangles(batch));
    auto index = indices.begin();
    for (const Triangle* triangle = batch.first; triangle != nullptr; triangle = triangle->next) {
        for (const HalfEdge& halfEdge : triangle->halfEdge) {
            *index++ = halfEdge.vertex;
        }
    }
}

/// `HalfEdgeGraph::fillIndexFromStrip`, with a call to `onTriangle` for each triangle that it comes to.
template <class OnTriangle>
std::uint32_t fillFromStrip(std::vector<unsigned int>& indices, const HalfEdgeGraph::TriangleList& strip, bool reversed,
                            OnTriangle onTriangle) {
    const Triangle* const first = beginOf(strip, reversed);
    if (first == nullptr) {
        return 0;
    }
    indices.reserve(32);
    indices.clear();
    if (successorOf(*first, reversed) == nullptr) {
        onTriangle();
        const HalfEdge* const edge = first->halfEdge;
        indices = {RecordCorners::from(edge), RecordCorners::to(edge), RecordCorners::apex(edge)};
    } else {
        VectorSink sink(indices);
        detail::IndexEmitter emitter(RecordCorners{}, sink);
        detail::walkStrip(detail::LinkedPath(WrittenLinks{}, trianglesOf(strip, reversed, onTriangle)), emitter);
    }
    return static_cast<std::uint32_t>(indices.size());
}

void fillFromFan(const HalfEdgeGraph& graph, std::vector<unsigned int>& indices, const Primitive& fan) {
    const auto& aroundCentre = graph.vertexHalfEdges[fan.first];
    graph.fillIndexFromFan(indices, aroundCentre.empty() ? nullptr : aroundCentre.front().second);
}

void claim(HalfEdgeGraph& graph, const Primitive& primitive) {
    detail::splice(graph.claimedTriangles, *primitive.second);
    delete primitive.second;
}

/// Removes the last of the graph's fans or strips.
void claimLast(HalfEdgeGraph& graph, std::vector<Primitive>& primitives) {
    claim(graph, primitives.back());
    primitives.pop_back();
}

void claimBatch(HalfEdgeGraph& graph) {
    claim(graph, graph.triangleLists.front());
    for (std::size_t i = 1; i < graph.triangleLists.size(); ++i) {
        delete graph.triangleLists[i].second;
    }
    graph.triangleLists.clear();
}

/// Prefetches both ends of a triangle's record.
void prefetch(const Triangle* triangle) {
    __builtin_prefetch(triangle, 1);
    __builtin_prefetch(&triangle->halfEdge[2]);
}

/// Appends edges to a list of lines, in blocks.
class EdgeWriter {
public:
    /// \param halfEdgeCount most of them are assumed to be shared
    EdgeWriter(std::vector<unsigned int>& lines, bool withShareFlag, std::size_t halfEdgeCount)
        : lines_(lines), stride_(withShareFlag ? 3 : 2) {
        lines_.reserve(stride_ * (halfEdgeCount / 2 + halfEdgeCount / 64));
    }

    /// Writes an edge and keeps it only if it is wanted, which is cheaper than an unpredictable branch.
    void write(std::uint32_t from, std::uint32_t to, bool isShared, bool isWanted) {
        if (used_ + 3 > block_.size()) {
            flush();
        }
        block_[used_] = from;
        block_[used_ + 1] = to;
        block_[used_ + 2] = isShared ? 1 : 0;
        used_ += isWanted ? stride_ : 0;
        edgeCount_ += isWanted ? 1 : 0;
    }
    /// Returns the number of edges.
    std::uint32_t finish() {
        flush();
        return edgeCount_;
    }

private:
    void flush() {
        lines_.insert(lines_.end(), block_.begin(), block_.begin() + static_cast<std::ptrdiff_t>(used_));
        used_ = 0;
    }

    std::vector<unsigned int>& lines_;
    std::size_t stride_;
    std::array<unsigned int, 1024> block_;
    std::size_t used_ = 0;
    std::uint32_t edgeCount_ = 0;
};

} // namespace

int HalfEdgeGraph::getPrimitive(std::vector<unsigned int>& indices, int primitiveType) {
    const auto isWanted = [primitiveType](PrimitiveType type) { return primitiveType == 0 || primitiveType == type; };
    // An entry is removed only after its indices are written: when that throws, it is still there.
    indices.clear();
    if (!fans.empty() && isWanted(TRIANGLE_FAN)) {
        fillFromFan(*this, indices, fans.back());
        claimLast(*this, fans);
        return TRIANGLE_FAN;
    }
    if (!strips.empty() && isWanted(TRIANGLE_STRIP)) {
        constexpr std::size_t ahead = 8;
        std::size_t upcoming = upcomingBegin_;
        fillFromStrip(indices, *strips.back().second, strips.back().first != 0, [&] {
            if (upcoming + ahead < upcoming_.size()) {
                prefetch(upcoming_[upcoming + ahead]);
            }
            ++upcoming;
        });
        upcomingBegin_ = upcoming;
        claimLast(*this, strips);
        return TRIANGLE_STRIP;
    }
    if (triangleLists.empty() || !isWanted(TRIANGLES)) {
        return 0;
    }
    fillIndexFromBatch(indices, *triangleLists.front().second);
    claimBatch(*this);
    return TRIANGLES;
}

std::uint32_t HalfEdgeGraph::calcStripCost(TriangleList& strip, bool reversed) const {
    const Triangle* const first = beginOf(strip, reversed);
    if (first == nullptr) {
        return 0;
    }
    if (successorOf(*first, reversed) == nullptr) {
        return 3;
    }
    detail::StripCost cost;
    detail::walkStrip(detail::LinkedPath(RecordLinks{}, trianglesOf(strip, reversed, [] {})), cost);
    return cost.total();
}

std::uint32_t HalfEdgeGraph::fillIndexFromStrip(std::vector<unsigned int>& indices, TriangleList& strip,
                                                bool reversed) const {
    return fillFromStrip(indices, strip, reversed, [] {});
}

std::uint32_t HalfEdgeGraph::calcEgdeLines(std::vector<unsigned int>& lines, bool withShareFlag) const {
    constexpr std::size_t ahead = 8;
    lines.clear();
    std::size_t halfEdgeCount = 0;
    for (const auto& list : vertexHalfEdges) {
        halfEdgeCount += list.size();
    }
    EdgeWriter writer(lines, withShareFlag, halfEdgeCount);
    for (std::size_t vertex = 0; vertex < vertexHalfEdges.size(); ++vertex) {
        if (vertex + 2 * ahead < vertexHalfEdges.size()) {
            __builtin_prefetch(vertexHalfEdges[vertex + 2 * ahead].data());
            for (const auto& [end, halfEdge] : vertexHalfEdges[vertex + ahead]) {
                __builtin_prefetch(halfEdge);
                __builtin_prefetch(halfEdge + 1);
            }
        }
        for (const auto& [end, halfEdge] : vertexHalfEdges[vertex]) {
            const bool isShared = halfEdge->twin != nullptr;
            const std::uint32_t to = halfEdge->next->vertex;
            writer.write(halfEdge->vertex, to, isShared, !isShared || halfEdge->vertex < to);
        }
    }
    return writer.finish();
}

std::vector<IndexedPrimitive> takePrimitives(HalfEdgeGraph& graph) {
    std::vector<IndexedPrimitive> primitives;
    primitives.reserve(graph.fans.size() + graph.strips.size() + 1);
    for (auto fan = graph.fans.rbegin(); fan != graph.fans.rend(); ++fan) {
        fillFromFan(graph, primitives.emplace_back(IndexedPrimitive{TRIANGLE_FAN, {}}).indices, *fan);
    }
    for (auto strip = graph.strips.rbegin(); strip != graph.strips.rend(); ++strip) {
        std::vector<unsigned int>& indices = primitives.emplace_back(IndexedPrimitive{TRIANGLE_STRIP, {}}).indices;
        graph.fillIndexFromStrip(indices, *strip->second, strip->first != 0);
        indices.shrink_to_fit();
    }
    if (!graph.triangleLists.empty()) {
        std::vector<unsigned int>& indices = primitives.emplace_back(IndexedPrimitive{TRIANGLES, {}}).indices;
        fillIndexFromBatch(indices, *graph.triangleLists.front().second);
    }
    // Nothing that follows can throw.
    while (!graph.fans.empty()) {
        claimLast(graph, graph.fans);
    }
    while (!graph.strips.empty()) {
        claimLast(graph, graph.strips);
    }
    if (!graph.triangleLists.empty()) {
        claimBatch(graph);
    }
    return primitives;
}

} // namespace vexa::mesh
