#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/TriangleLists.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace vexa::mesh {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;
using Chunk = HalfEdgeGraph::TrianglePool::Chunk;
using VertexHalfEdge = HalfEdgeGraph::VertexHalfEdge;
using VertexList = std::vector<VertexHalfEdge>;

constexpr unsigned int restartIndex = std::numeric_limits<unsigned int>::max();
constexpr std::uint32_t defaultChunkSize = 2048;

bool isCollapsed(const Triangle& triangle) {
    const std::uint32_t v0 = triangle.halfEdge[0].vertex;
    const std::uint32_t v1 = triangle.halfEdge[1].vertex;
    const std::uint32_t v2 = triangle.halfEdge[2].vertex;
    return v0 == v1 || v1 == v2 || v2 == v0;
}

/// What stands on one edge before a triangle is inserted there.
struct EdgeOccupants {
    int count = 0;                ///< half-edges of linkable triangles, in either direction; counted up to 2
    HalfEdge* opposite = nullptr; ///< the first that runs the opposite way
};

/// Looks at the edge from `from` to `to` through the list of `through`, one of its ends; `other` is the other end.
EdgeOccupants findOccupants(const std::vector<VertexList>& vertexHalfEdges, unsigned int from, unsigned int through,
                            unsigned int other) {
    EdgeOccupants occupants;
    for (const auto& [end, halfEdge] : vertexHalfEdges[through]) {
        // A triangle with both vertices has an entry here: it leaves to the other end, or comes from there.
        HalfEdge* const incoming = halfEdge->next->next;
        HalfEdge* const onEdge = end == other ? halfEdge : incoming->vertex == other ? incoming : nullptr;
        if (onEdge == nullptr || halfEdge->triangle->state == Triangle::splitOff || isCollapsed(*halfEdge->triangle)) {
            continue;
        }
        if (onEdge->vertex != from && occupants.opposite == nullptr) {
            occupants.opposite = onEdge;
        }
        if (++occupants.count == 2) {
            break;
        }
    }
    return occupants;
}

/// The occupants of the edges of a triangle that is not collapsed. The shorter list of an edge's two ends is searched,
/// so that a vertex with a million triangles costs its neighbours nothing.
std::array<EdgeOccupants, 3> findOccupants(const std::vector<VertexList>& vertexHalfEdges, const Triangle& triangle) {
    std::array<EdgeOccupants, 3> edges;
    for (std::size_t i = 0; i < 3; ++i) {
        const unsigned int from = triangle.halfEdge[i].vertex;
        const unsigned int to = triangle.halfEdge[(i + 1) % 3].vertex;
        const bool throughFrom = vertexHalfEdges[from].size() < vertexHalfEdges[to].size();
        edges[i] = throughFrom ? findOccupants(vertexHalfEdges, from, from, to)
                               : findOccupants(vertexHalfEdges, from, to, from);
    }
    return edges;
}

/// Fills a triangle, links it and enters it into lists that have room for it.
void insert(HalfEdgeGraph& graph, Triangle& triangle, const unsigned int* corners) noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        triangle.halfEdge[i] = {corners[i], &triangle, nullptr, &triangle.halfEdge[(i + 1) % 3]};
    }
    triangle.state = 0;
    std::array<EdgeOccupants, 3> edges;
    bool isSplitOff = false;
    if (!isCollapsed(triangle)) {
        edges = findOccupants(graph.vertexHalfEdges, triangle);
        isSplitOff = std::any_of(edges.begin(), edges.end(), [](const EdgeOccupants& edge) { return edge.count == 2; });
    }
    for (std::size_t i = 0; i < 3; ++i) {
        graph.vertexHalfEdges[corners[i]].emplace_back(corners[(i + 1) % 3], &triangle.halfEdge[i]);
    }
    if (isSplitOff) {
        triangle.state = Triangle::splitOff;
        detail::append(graph.claimedTriangles, triangle);
        return;
    }
    for (std::size_t i = 0; i < 3; ++i) {
        if (HalfEdge* const opposite = edges[i].opposite; opposite != nullptr) {
            triangle.halfEdge[i].twin = opposite;
            opposite->twin = &triangle.halfEdge[i];
            ++opposite->triangle->state;
            ++triangle.state;
        }
    }
    detail::append(graph.freeTriangles, triangle);
}

/// Gives a vertex list room for some more half-edges: for `ifNew` if it is empty, otherwise geometrically, because many
/// calls may each add little to it.
void reserveMore(VertexList& list, std::size_t added, std::size_t ifNew) {
    if (list.capacity() - list.size() < added) {
        list.reserve(list.empty() ? ifNew : std::max(list.size() + added, 2 * list.capacity()));
    }
}

/// Gives every vertex list room for the half-edges that the triangles add to it.
void reserveCounted(std::vector<VertexList>& vertexHalfEdges, const unsigned int* indices, unsigned long indexCount) {
    if (indexCount < vertexHalfEdges.size() / 16) {
        std::vector<unsigned int> sorted(indices, indices + indexCount);
        std::sort(sorted.begin(), sorted.end());
        for (auto vertex = sorted.begin(); vertex != sorted.end();) {
            const auto end = std::upper_bound(vertex, sorted.end(), *vertex);
            const auto added = static_cast<std::size_t>(end - vertex);
            reserveMore(vertexHalfEdges[*vertex], added, added);
            vertex = end;
        }
        return;
    }
    std::vector<std::uint32_t> added(vertexHalfEdges.size());
    for (unsigned long i = 0; i < indexCount; ++i) {
        ++added[indices[i]];
    }
    for (std::size_t vertex = 0; vertex < added.size(); ++vertex) {
        reserveMore(vertexHalfEdges[vertex], added[vertex], added[vertex]);
    }
}

/// Grows the outer list for some vertices, and takes that back unless it is kept.
class VertexGrowth {
public:
    VertexGrowth(std::vector<VertexList>& lists, std::size_t vertexCount) : lists_(lists), oldSize_(lists.size()) {
        if (vertexCount > lists.size()) {
            lists.resize(vertexCount);
        }
    }
    ~VertexGrowth() {
        if (!isKept_) {
            lists_.resize(oldSize_);
        }
    }
    VertexGrowth(const VertexGrowth&) = delete;
    VertexGrowth& operator=(const VertexGrowth&) = delete;

    void keep() { isKept_ = true; }

private:
    std::vector<VertexList>& lists_;
    std::size_t oldSize_;
    bool isKept_ = false;
};

bool isFull(const HalfEdgeGraph::TrianglePool& pool) {
    return pool.chunks == nullptr || pool.used >= pool.chunks->capacity;
}

/// Chunks for a number of triangles beyond what the newest chunk of a pool still holds, first to be used first.
std::unique_ptr<Chunk> allocateChunks(const HalfEdgeGraph::TrianglePool& pool, unsigned long triangleCount) {
    const unsigned long available = isFull(pool) ? 0 : pool.chunks->capacity - pool.used;
    std::unique_ptr<Chunk> first;
    Chunk* last = nullptr;
    const std::uint64_t capacity = pool.chunkSize != 0 ? pool.chunkSize : defaultChunkSize;
    for (unsigned long allocated = available; allocated < triangleCount; allocated += capacity) {
        auto chunk = std::make_unique<Chunk>();
        chunk->triangles = new Triangle[capacity];
        chunk->capacity = capacity;
        Chunk* const newest = chunk.get();
        if (last != nullptr) {
            last->next = chunk.release();
        } else {
            first = std::move(chunk);
        }
        last = newest;
    }
    return first;
}

/// Hands out the next triangle of a pool, which takes its next chunk from `spare` when its newest is full.
Triangle& takeTriangle(HalfEdgeGraph::TrianglePool& pool, std::unique_ptr<Chunk>& spare) noexcept {
    if (isFull(pool)) {
        Chunk* const newest = spare.release();
        spare.reset(newest->next);
        newest->next = pool.chunks;
        pool.chunks = newest;
        pool.used = 0;
    }
    return pool.chunks->triangles[pool.used++];
}

/// After `clear` the ends of the lists still point to triangles that died with the pool.
void forgetDeadTriangles(HalfEdgeGraph& graph) noexcept {
    if (graph.pool.chunks == nullptr && graph.pool.used == 0) {
        graph.freeTriangles = {};
        graph.claimedTriangles = {};
    }
}

void checkIndices(const char* operation, const unsigned int* indices, unsigned long indexCount) {
    const unsigned int* const end = indices + indexCount;
    const unsigned int* const found = std::find(indices, end, restartIndex);
    if (found != end) {
        throw std::invalid_argument(std::string("HalfEdgeGraph::") + operation + ": index " +
                                    std::to_string(found - indices) +
                                    " is 4294967295, which restarts a primitive and names no vertex");
    }
}

} // namespace

HalfEdgeGraph::Triangle* HalfEdgeGraph::addTriangle(unsigned int v0, unsigned int v1, unsigned int v2) {
    const std::array<unsigned int, 3> corners{v0, v1, v2};
    checkIndices("addTriangle", corners.data(), corners.size());
    VertexGrowth growth(vertexHalfEdges, std::size_t{std::max({v0, v1, v2})} + 1);
    for (const unsigned int corner : corners) {
        reserveMore(vertexHalfEdges[corner],
                    static_cast<std::size_t>(std::count(corners.begin(), corners.end(), corner)), 3);
    }
    std::unique_ptr<Chunk> spare = allocateChunks(pool, 1);

    growth.keep();
    forgetDeadTriangles(*this);
    Triangle& triangle = takeTriangle(pool, spare);
    insert(*this, triangle, corners.data());
    return &triangle;
}

void HalfEdgeGraph::addTriangles(const unsigned int* indices, unsigned long indexCount) {
    if (indexCount % 3 != 0) {
        throw std::invalid_argument("HalfEdgeGraph::addTriangles: " + std::to_string(indexCount) +
                                    " indices are no whole number of triangles");
    }
    if (indexCount == 0) {
        forgetDeadTriangles(*this);
        return;
    }
    checkIndices("addTriangles", indices, indexCount);
    VertexGrowth growth(vertexHalfEdges, std::size_t{*std::max_element(indices, indices + indexCount)} + 1);
    reserveCounted(vertexHalfEdges, indices, indexCount);
    std::unique_ptr<Chunk> spare = allocateChunks(pool, indexCount / 3);

    growth.keep();
    forgetDeadTriangles(*this);
    for (unsigned long i = 0; i < indexCount; i += 3) {
        insert(*this, takeTriangle(pool, spare), indices + i);
    }
}

} // namespace vexa::mesh
