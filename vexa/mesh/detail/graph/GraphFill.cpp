#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/graph/EdgeOccupants.h"
#include "vexa/mesh/detail/graph/PoolChunks.h"
#include "vexa/mesh/detail/graph/TriangleLists.h"
#include "vexa/mesh/detail/strips/EdgePairing.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <memory>
#include <optional>

namespace vexa::mesh {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;
using detail::Chunk;
using detail::VertexList;

/// Constructs a triangle in the pool's memory in one step. Clearing the memory first would take twice as long.
Triangle& construct(Triangle* memory, std::int32_t state, const unsigned int* corners,
                    const std::array<HalfEdge*, 3>& twins) noexcept {
    HalfEdge* const edges = memory->halfEdge;
    return *new (memory) Triangle{state,
                                  nullptr,
                                  nullptr,
                                  {{corners[0], memory, twins[0], edges + 1},
                                   {corners[1], memory, twins[1], edges + 2},
                                   {corners[2], memory, twins[2], edges}}};
}

/// Enters a triangle into the vertex lists, which have room for it, and into the list of its state.
void enter(HalfEdgeGraph& graph, Triangle& triangle, const unsigned int* corners) noexcept {
    for (std::size_t i = 0; i < 3; ++i) {
        graph.vertexHalfEdges[corners[i]].emplace_back(corners[(i + 1) % 3], &triangle.halfEdge[i]);
    }
    detail::append(triangle.state == Triangle::splitOff ? graph.claimedTriangles : graph.freeTriangles, triangle);
}

/// Constructs a triangle, links it and enters it into lists that have room for it.
void insert(HalfEdgeGraph& graph, std::unique_ptr<detail::CrowdedEdges>& crowded, Triangle* memory,
            const unsigned int* corners) noexcept {
    Triangle& triangle = construct(memory, 0, corners, {});
    detail::TriangleOccupants edges;
    if (!detail::isCollapsed(triangle)) {
        edges = detail::findOccupants(graph.vertexHalfEdges, corners, crowded);
    }
    if (std::any_of(edges.begin(), edges.end(), [](const auto& edge) { return edge.count >= 2; })) {
        triangle.state = Triangle::splitOff;
        edges = {};
    }
    enter(graph, triangle, corners);
    for (std::size_t i = 0; i < 3; ++i) {
        if (HalfEdge* const opposite = edges[i].opposite; opposite != nullptr) {
            triangle.halfEdge[i].twin = opposite;
            opposite->twin = &triangle.halfEdge[i];
            ++opposite->triangle->state;
            ++triangle.state;
        }
    }
}

/// Reserves room for some more half-edges in a vertex list: `ifNew` if it is empty, otherwise geometrically, because
/// there may be many calls that each add a few.
void reserveMore(VertexList& list, std::size_t added, std::size_t ifNew) {
    if (list.capacity() - list.size() < added) {
        list.reserve(list.empty() ? ifNew : std::max(list.size() + added, 2 * list.capacity()));
    }
}

/// Reserves room in every vertex list for the half-edges that the triangles add.
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

/// Grows the outer list to a number of vertices, and shrinks it back unless `keep` is called.
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

/// After `clear`, the ends of the lists still point to freed triangles.
void forgetDeadTriangles(HalfEdgeGraph& graph) noexcept {
    if (graph.pool.chunks == nullptr && graph.pool.used == 0) {
        graph.freeTriangles = {};
        graph.claimedTriangles = {};
    }
}

/// Prefetches the vertex lists of upcoming triangles: first the lists, then their entries.
void prefetchLists(const std::vector<VertexList>& vertexHalfEdges, const unsigned int* indices, unsigned long left) {
    constexpr unsigned long listsAhead = 3 * 16;
    constexpr unsigned long entriesAhead = 3 * 8;
    if (left < listsAhead + 3) {
        return;
    }
    for (unsigned long i = 0; i < 3; ++i) {
        __builtin_prefetch(&vertexHalfEdges[indices[listsAhead + i]]);
        const VertexList& list = vertexHalfEdges[indices[entriesAhead + i]];
        __builtin_prefetch(list.data() + list.size(), 1);
    }
}

/// Whether all lists are empty, so that the triangles of a batch can only be linked to each other.
bool isEmpty(const HalfEdgeGraph& graph) {
    return graph.pool.chunks == nullptr && std::all_of(graph.vertexHalfEdges.begin(), graph.vertexHalfEdges.end(),
                                                       [](const VertexList& list) { return list.empty(); });
}

/// The future addresses of the triangles of a batch, which fill new chunks of equal size.
class BatchAddresses {
public:
    /// \param first the chunk of the batch's first triangle
    explicit BatchAddresses(const Chunk* first)
        : capacity_(first->capacity), inverse_(std::numeric_limits<std::uint64_t>::max() / capacity_ + 1) {
        for (const Chunk* chunk = first; chunk != nullptr; chunk = chunk->next) {
            chunks_.push_back(chunk->triangles);
        }
    }
    [[nodiscard]] HalfEdge* operator[](detail::HalfEdgeId id) const {
        const detail::TriangleId triangle = detail::triangleOf(id);
        const std::uint64_t chunk = divide(triangle);
        return &chunks_[chunk][triangle - chunk * capacity_].halfEdge[detail::placeOf(id)];
    }

private:
    /// triangle / capacity, as the upper half of a product with 2^64 / capacity, rounded up: exact for numbers of 32
    /// bits (Lemire, Kaser, Kurz: Faster remainder by direct computation, 2019). The inverse of 1 does not fit.
    [[nodiscard]] std::uint64_t divide(detail::TriangleId triangle) const {
#ifdef __SIZEOF_INT128__
        __extension__ using Product = unsigned __int128;
        const Product product = Product{triangle} * inverse_;
        // cppcheck-suppress shiftTooManyBits  // it mistakes the product for a number of 64 bits
        return inverse_ == 0 ? triangle : static_cast<std::uint64_t>(product >> 64);
#else
        return triangle / capacity_;
#endif
    }

    std::uint64_t capacity_;
    std::uint64_t inverse_;
    std::vector<Triangle*> chunks_;
};

/// Fills an empty graph with triangles whose links are known.
void insertLinked(HalfEdgeGraph& graph, const unsigned int* indices, const detail::CompactGraph& links,
                  const BatchAddresses& addresses, std::unique_ptr<Chunk>& spare) noexcept {
    for (detail::TriangleId id = 0; id < links.count(); ++id) {
        const unsigned int* const corners = indices + std::size_t{3} * id;
        prefetchLists(graph.vertexHalfEdges, corners, 3 * static_cast<unsigned long>(links.count() - id));
        std::array<HalfEdge*, 3> twins;
        for (std::size_t i = 0; i < 3; ++i) {
            const detail::HalfEdgeId twin = links[id].twin[i];
            twins[i] = links.isSentinel(twin) ? nullptr : addresses[twin];
        }
        Triangle& triangle = construct(detail::takeTriangle(graph.pool, spare), links[id].state, corners, twins);
        enter(graph, triangle, corners);
    }
}

} // namespace

HalfEdgeGraph::Triangle* HalfEdgeGraph::addTriangle(unsigned int v0, unsigned int v1, unsigned int v2) {
    const std::array<unsigned int, 3> corners{v0, v1, v2};
    detail::checkTriangles("HalfEdgeGraph::addTriangle", corners);
    VertexGrowth growth(vertexHalfEdges, std::size_t{std::max({v0, v1, v2})} + 1);
    for (const unsigned int corner : corners) {
        reserveMore(vertexHalfEdges[corner],
                    static_cast<std::size_t>(std::count(corners.begin(), corners.end(), corner)), 3);
    }
    std::unique_ptr<Chunk> spare = detail::allocateChunks(pool, 1);

    growth.keep();
    forgetDeadTriangles(*this);
    Triangle* const triangle = detail::takeTriangle(pool, spare);
    insert(*this, crowded_, triangle, corners.data());
    return triangle;
}

void HalfEdgeGraph::addTriangles(const unsigned int* indices, unsigned long indexCount) {
    // A null pointer with a wrong count does not make a span.
    detail::checkTriangleCount("HalfEdgeGraph::addTriangles", indexCount);
    detail::checkTriangles("HalfEdgeGraph::addTriangles", {indices, indexCount});
    if (indexCount == 0) {
        forgetDeadTriangles(*this);
        return;
    }
    std::optional<detail::CompactGraph> links;
    if (isEmpty(*this)) {
        links = detail::pairInOrder({indices, indexCount});
    }
    VertexGrowth growth(vertexHalfEdges, std::size_t{*std::max_element(indices, indices + indexCount)} + 1);
    reserveCounted(vertexHalfEdges, indices, indexCount);
    std::unique_ptr<Chunk> spare = detail::allocateChunks(pool, indexCount / 3);
    if (links) {
        const BatchAddresses addresses(spare.get());
        growth.keep();
        forgetDeadTriangles(*this);
        insertLinked(*this, indices, *links, addresses, spare);
        return;
    }

    growth.keep();
    forgetDeadTriangles(*this);
    for (unsigned long i = 0; i < indexCount; i += 3) {
        prefetchLists(vertexHalfEdges, indices + i, indexCount - i);
        insert(*this, crowded_, detail::takeTriangle(pool, spare), indices + i);
    }
}

} // namespace vexa::mesh
