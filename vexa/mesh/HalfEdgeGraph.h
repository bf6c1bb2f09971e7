#pragma once

#include "vexa/mesh/Export.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace vexa::mesh {

namespace detail {
class CrowdedEdges;
}

/// Adjacency of the triangles of one mesh, cut into triangle strips, fans and a left-over batch.
///
/// Fill it with `addTriangle` or `addTriangles`, call `calcOptPrim` once, then `getPrimitive` until it returns 0;
/// `clear` makes it ready for the next mesh. `calcEgdeLines` and `verify` need only a filled graph.
///
/// The members and the fields of the records are public, so that callers can fill and inspect a graph directly. Pointers
/// between the records do not own; the pool owns the triangles, which never move, and the three primitive vectors
/// own the lists that their entries point to.
///
/// A graph is used by one thread at a time. `calcOptPrim` reseeds the process-wide `rand`.
class VEXA_MESH_EXPORT HalfEdgeGraph {
public:
    struct Triangle;

    /// One directed edge of one triangle.
    struct HalfEdge {
        std::uint32_t vertex = 0;     ///< where it starts; it runs to `next->vertex`
        Triangle* triangle = nullptr; ///< the triangle that holds it
        HalfEdge* twin = nullptr;     ///< the opposite half-edge of the neighbouring triangle; null on a border
        HalfEdge* next = nullptr;     ///< the following half-edge of the same triangle
    };

    /// One triangle. It is in at most one TriangleList at a time.
    struct VEXA_MESH_EXPORT Triangle {
        static constexpr std::int32_t splitOff = -1; ///< `state`: kept out at a non-manifold edge
        static constexpr std::int32_t inStrip = -10; ///< `state`: claimed by a strip
        static constexpr std::int32_t inFan = -20;   ///< `state`: claimed by a fan

        std::int32_t state = 0;   ///< while free, the number of its neighbours that are still free; otherwise negative
        Triangle* next = nullptr; ///< following triangle of its list
        Triangle* prev = nullptr; ///< preceding triangle of its list
        HalfEdge halfEdge[3];     ///< from corner 0 to 1, 1 to 2, 2 to 0

        /// Checks this triangle's links: distinct neighbours, distinct corners, back-pointers, the cycle of `next`.
        ///
        /// \return true when all four are sound; each violation is logged at severity info
        bool verify() const;
    };

    /// Doubly linked list threaded through the triangles; both ends null when empty.
    struct TriangleList {
        Triangle* first = nullptr;
        Triangle* last = nullptr;
    };

    /// Owner of every triangle of the graph.
    struct TrianglePool {
        /// One block of triangles.
        struct VEXA_MESH_EXPORT Chunk {
            std::uint64_t capacity = 0;    ///< number of triangles that it can hold
            Chunk* next = nullptr;         ///< the chunk taken before this one; owned
            Triangle* triangles = nullptr; ///< owned array with room for `capacity` triangles; those not handed out
                                           ///< yet are uninitialised

            Chunk() = default;
            /// Frees the triangles and every following chunk without recursion, so a million chunks need no deep stack.
            ~Chunk();
            Chunk(const Chunk&) = delete;
            Chunk& operator=(const Chunk&) = delete;
        };

        std::uint32_t chunkSize = 2048; ///< triangles of the next chunk; 0 means 2048
        Chunk* chunks = nullptr;        ///< the newest chunk, head of the chain; null before the first allocation
        unsigned long used = 0;         ///< triangles handed out from the newest chunk
    };

    /// A half-edge, after the vertex at its other end.
    using VertexHalfEdge = std::pair<std::uint32_t, HalfEdge*>;
    /// The triangles of one primitive, after a number whose meaning depends on the vector that holds it.
    using Primitive = std::pair<std::uint32_t, TriangleList*>;

    /// An empty graph.
    HalfEdgeGraph();
    /// Frees everything that the graph owns.
    virtual ~HalfEdgeGraph();
    HalfEdgeGraph(const HalfEdgeGraph&) = delete;
    HalfEdgeGraph& operator=(const HalfEdgeGraph&) = delete;

    /// Sizes the vertex lists and sets the chunk size.
    ///
    /// Filling a large mesh is fastest with its number of triangles as the chunk size.
    ///
    /// \param vertexCount    number of vertex lists afterwards; further lists are freed, new ones are empty
    /// \param chunkSize      triangles per chunk from the next chunk on
    /// \param edgesPerVertex entries for which every list has room afterwards; 0 reserves none
    /// \throw std::bad_alloc the chunk size is set and some lists may have grown; no triangle is affected
    void reserve(unsigned int vertexCount, unsigned int chunkSize, unsigned int edgesPerVertex);

    /// Frees the triangles, the per-vertex lists and the primitives; keeps the chunk size and the outer buffers.
    ///
    /// `freeTriangles` and `claimedTriangles` keep dangling pointers until the next insertion resets them.
    void clear();

    /// Inserts one triangle.
    ///
    /// A collapsed triangle (two equal corners) is not linked. A triangle on an edge that already has two is
    /// split off: not linked, `state` -1, at the end of `claimedTriangles`. Any other is linked to the
    /// neighbours whose shared edge runs the opposite way and goes to the end of `freeTriangles`.
    ///
    /// \param v0, v1, v2 corners in winding order
    /// \return the triangle; it lives until `clear`
    /// \throw std::invalid_argument "HalfEdgeGraph::addTriangle: index N is 4294967295, which is reserved for primitive
    ///                              restart"; the graph is unchanged
    /// \throw std::bad_alloc        if memory runs out; the graph is unchanged
    /// Cost: constant in the mean, whatever the numbers of triangles at the vertices and edges, plus the growth of
    /// `vertexHalfEdges` to the largest corner. Edges between vertices with more than 64 triangles each are remembered: a
    /// caller who changes the state or list entry of a triangle there must call `reserve` before the next insertion.
    Triangle* addTriangle(unsigned int v0, unsigned int v1, unsigned int v2);

    /// Inserts triangles in order, with the same result as one call of `addTriangle` for each, but faster.
    ///
    /// \param indices    three vertex indices per triangle; may be null when `indexCount` is 0
    /// \param indexCount number of indices
    /// \throw std::invalid_argument "HalfEdgeGraph::addTriangles: N indices are not a whole number of triangles", or
    ///                              "HalfEdgeGraph::addTriangles: index N is 4294967295, which is reserved for primitive
    ///                              restart"; the graph is unchanged
    /// \throw std::bad_alloc        if memory runs out; the graph is unchanged
    /// Cost: linear, with O(n log n) at a vertex of a new graph that has very many triangles.
    void addTriangles(const unsigned int* indices, unsigned long indexCount);

    /// Cuts the triangles into fans, strips and one batch of the rest; see `strips`, `fans`, `triangleLists`.
    ///
    /// Strips start where the fewest neighbours are free. With more than one pass the starts are drawn at random and the
    /// seed of the cheapest pass is replayed at the end; each pass is logged at severity info, their range at warning.
    ///
    /// \param iterations      strip passes; 0 builds no strips, 1 is deterministic
    /// \param buildStrips     whether strips are built at all
    /// \param buildFans       whether closed fans are cut first
    /// \param minFanTriangles fewest triangles around a vertex that make it the centre of a fan
    /// \param allStrips       makes strips of single and of split-off triangles too and leaves no batch (if no strips are
    ///                        built, the free triangles then end up in no list at all)
    /// \return number of indices that all primitives stored by this call need
    /// \throw std::bad_alloc    if memory runs out
    /// \throw std::length_error "Strips can be built from at most 1073741821 triangles"
    /// Also throws whatever a log sink throws. After any exception the graph is unchanged; the state of `rand` is not.
    /// Cost: linear for one pass, O(n log n) for each of several; at most 45 bytes per triangle while it runs.
    std::uint32_t calcOptPrim(std::uint32_t iterations, bool buildStrips, bool buildFans, std::uint32_t minFanTriangles,
                              bool allStrips);

    /// Number of indices that a strip needs when it is written from `first`, or from `last` if `reversed`.
    ///
    /// n triangles cost n + 2, plus one for each swap; an empty strip costs 0.
    ///
    /// \param strip    not changed
    /// \param reversed whether it is read from `last` to `first`
    /// Cost: linear in the number of its triangles.
    [[nodiscard]] std::uint32_t calcStripCost(TriangleList& strip, bool reversed) const;

    /// Takes a free triangle out of its bucket, marks it as in a strip and moves each free neighbour one bucket down.
    ///
    /// \param triangle in the bucket of its `state` (3 for a state outside 0 to 3)
    /// \param buckets  array of four lists; bucket i holds the free triangles whose `state` is i
    void dropOutTriangle(Triangle& triangle, TriangleList* buckets);

    /// Writes one stored primitive and removes it from the graph: fans newest first, then strips newest first, then
    /// the batch.
    ///
    /// \param indices       replaced by the indices of the primitive; cleared when nothing is written
    /// \param primitiveType 0 for any kind, 6 for fans, 5 for strips or 4 for the batch alone
    /// \return the PrimitiveType code written (6, 5 or 4), or 0 when none is left
    /// \throw std::bad_alloc if memory runs out; the primitive is still stored
    /// Cost: linear in the number of its triangles.
    int getPrimitive(std::vector<unsigned int>& indices, int primitiveType);

    /// Writes one strip as a `TRIANGLE_STRIP` list in which every triangle keeps its winding.
    ///
    /// \param indices  replaced by the strip's indices; untouched when the strip is empty
    /// \param strip    triangles of which any two consecutive ones share an edge; not changed
    /// \param reversed whether it is read from `last` to `first`
    /// \return number of indices
    /// \throw std::bad_alloc if memory runs out; `indices` may hold a part of them
    std::uint32_t fillIndexFromStrip(std::vector<unsigned int>& indices, TriangleList& strip, bool reversed) const;

    /// Writes the closed fan around the vertex at which a half-edge starts as a `TRIANGLE_FAN` list.
    ///
    /// \param indices replaced by the fan's indices; untouched when `start` is null
    /// \param start   starts at the centre, whose ring of triangles must be closed; null is logged at severity warning
    ///                ("Invalid fac in fillIndexFromFan()")
    /// \return number of indices: the triangles + 2; 0 when `start` is null
    /// \throw std::bad_alloc if memory runs out; `indices` may hold a part of them
    std::int32_t fillIndexFromFan(std::vector<unsigned int>& indices, HalfEdge* start) const;

    /// Writes every edge of the graph once, shared edges from their lower to their higher vertex.
    ///
    /// \param lines         replaced by two vertex indices per edge
    /// \param withShareFlag adds a third value per edge: 1 when two triangles share it, 0 on a border
    /// \return number of edges
    /// \throw std::bad_alloc if memory runs out; `lines` may hold a part of the edges
    /// Cost: linear in the number of half-edges.
    std::uint32_t calcEgdeLines(std::vector<unsigned int>& lines, bool withShareFlag) const;

    /// Logs statistics of the graph at severity info: list lengths, triangle states, half-edges per vertex.
    ///
    /// \param verbose adds a record for each free triangle and for each stored half-edge
    /// \return always true; problems are only logged
    bool verify(bool verbose) const;

    /// Per vertex, the half-edges that start there, in order of insertion.
    std::vector<std::vector<VertexHalfEdge>> vertexHalfEdges;
    TrianglePool pool;
    TriangleList freeTriangles;           ///< the input of `calcOptPrim`
    TriangleList claimedTriangles;        ///< split off at non-manifold edges, or of primitives already handed out
    std::vector<Primitive> strips;        ///< first: 1 when the strip is written from `last` to `first`, otherwise 0
    std::vector<Primitive> fans;          ///< first: the centre vertex
    std::vector<Primitive> triangleLists; ///< first: 0

private:
    // The triangles of the strips in the order in which they will be handed out, to prefetch them. The pointers may be
    // dangling and are never dereferenced.
    std::vector<const Triangle*> upcoming_;
    std::size_t upcomingBegin_ = 0;
    // The triangles on edges at vertices that have many; null when no such edge was searched for.
    std::unique_ptr<detail::CrowdedEdges> crowded_;
};

} // namespace vexa::mesh
