#pragma once

#include "vexa/mesh/Export.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace vexa::mesh {

/// Adjacency of the triangles of one mesh, cut into triangle strips, fans and a left-over batch.
///
/// Fill it with `addTriangle` or `addTriangles`, call `calcOptPrim` once, then `getPrimitive` until it returns 0;
/// `clear` makes it ready for the next mesh. `calcEgdeLines` and `verify` need only a filled graph.
///
/// The members and the fields of the records are public: whoever fills or inspects a graph works on them. Pointers
/// between the records are non-owning; the pool owns the triangles, which never move, and the three primitive vectors
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
        /// \return true when all four are sound; each one that is not writes a record at severity info
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
            Triangle* triangles = nullptr; ///< owned array with room for `capacity` triangles; what was not handed out
                                           ///< yet holds nothing to be read

            Chunk() = default;
            /// Frees the triangles and every following chunk, in a loop: a chain of a million is freed on a small
            /// stack.
            ~Chunk();
            Chunk(const Chunk&) = delete;
            Chunk& operator=(const Chunk&) = delete;
        };

        std::uint32_t chunkSize = 2048; ///< triangles of the next chunk; 0 is served as 2048
        Chunk* chunks = nullptr;        ///< the newest chunk, head of the chain; null when nothing was allocated
        unsigned long used = 0;         ///< triangles handed out from the newest chunk
    };

    /// A half-edge, after the vertex at its other end.
    using VertexHalfEdge = std::pair<std::uint32_t, HalfEdge*>;
    /// A list of triangles that make one primitive, after what the vector that holds it says.
    using Primitive = std::pair<std::uint32_t, TriangleList*>;

    /// An empty graph.
    HalfEdgeGraph();
    /// Frees everything that the graph owns.
    virtual ~HalfEdgeGraph();
    HalfEdgeGraph(const HalfEdgeGraph&) = delete;
    HalfEdgeGraph& operator=(const HalfEdgeGraph&) = delete;

    /// Sizes the vertex lists and sets the chunk size.
    ///
    /// A large mesh is filled fastest when its number of triangles is the chunk size.
    ///
    /// \param vertexCount    number of vertex lists afterwards; lists beyond are freed, new ones are empty
    /// \param chunkSize      triangles per chunk from the next chunk on
    /// \param edgesPerVertex entries that every list has room for afterwards; 0 reserves none
    /// \throw std::bad_alloc the chunk size is stored, the lists may be grown in part; no triangle is touched
    void reserve(unsigned int vertexCount, unsigned int chunkSize, unsigned int edgesPerVertex);

    /// Frees the triangles, the per-vertex lists and the primitives; keeps the chunk size and the outer buffers.
    ///
    /// `freeTriangles` and `claimedTriangles` keep their stale ends until the next insertion empties them.
    void clear();

    /// Inserts one triangle.
    ///
    /// A collapsed triangle (two equal corners) is linked to nothing. A triangle on an edge that already has two is
    /// split off: linked to nothing, `state` -1, at the end of `claimedTriangles`. Any other is linked to the
    /// neighbours whose shared edge runs the opposite way and goes to the end of `freeTriangles`.
    ///
    /// \param v0, v1, v2 corners in winding order
    /// \return the triangle; it lives until `clear`
    /// \throw std::invalid_argument a corner is 4294967295, the restart index of 32-bit index buffers
    /// \throw std::bad_alloc        no memory. Whatever is thrown, the graph is as it was
    /// Cost: per edge the smaller of its two ends' list lengths; growth of `vertexHalfEdges` to the largest corner.
    Triangle* addTriangle(unsigned int v0, unsigned int v1, unsigned int v2);

    /// Inserts triangles in order and gives exactly the graph that as many calls of `addTriangle` would, only faster.
    ///
    /// \param indices    three vertex indices per triangle; may be null when `indexCount` is 0
    /// \param indexCount number of indices
    /// \throw std::invalid_argument `indexCount` is no multiple of 3, or an index is 4294967295
    /// \throw std::bad_alloc        no memory. Whatever is thrown, the graph is as it was
    void addTriangles(const unsigned int* indices, unsigned long indexCount);

    /// Cuts the triangles into fans, strips and one batch of the rest; see `strips`, `fans`, `triangleLists`.
    ///
    /// Strips start where the fewest neighbours are free. With more than one pass the starts are drawn at random, and
    /// the cheapest pass's seed is replayed at the end; every pass writes a record at severity info, the end one at
    /// warning.
    ///
    /// \param iterations      strip passes; 0 builds no strips, 1 is deterministic
    /// \param buildStrips     whether strips are built at all
    /// \param buildFans       whether closed fans are cut first
    /// \param minFanTriangles fewest triangles around a vertex that make it a fan's centre
    /// \param allStrips       makes strips of single and of split-off triangles too and leaves no batch (without strips
    ///                        to be built, the free triangles then end up in no list at all)
    /// \return number of indices that all primitives stored by this call need
    /// \throw std::bad_alloc    no memory
    /// \throw std::length_error 2^30 - 2 triangles or more
    /// Also passes on what a log sink throws. Whatever is thrown, the graph is as it was; the state of `rand` is not.
    /// Cost: linear for one pass, O(n log n) for each of several; at most 45 bytes per triangle while it runs.
    std::uint32_t calcOptPrim(std::uint32_t iterations, bool buildStrips, bool buildFans, std::uint32_t minFanTriangles,
                              bool allStrips);

    /// Number of indices that a strip needs when it is emitted from `first`, or from `last` if `reversed`.
    ///
    /// n triangles cost n + 2, and one more for each swap; an empty strip costs 0.
    [[nodiscard]] std::uint32_t calcStripCost(TriangleList& strip, bool reversed) const;

    /// Takes a free triangle out of its bucket, marks it as in a strip and moves each free neighbour one bucket down.
    ///
    /// \param triangle in the bucket of its `state` (3 for a state outside 0 to 3)
    /// \param buckets  array of four lists; bucket i holds the free triangles whose `state` is i
    void dropOutTriangle(Triangle& triangle, TriangleList* buckets);

    /// Writes one stored primitive and removes it from the graph: fans newest first, then strips newest first, then
    /// the batch.
    ///
    /// \param indices       replaced by the primitive's indices; cleared when nothing is written
    /// \param primitiveType 0 for any kind, 6 for fans, 5 for strips or 4 for the batch alone
    /// \return the PrimitiveType code written (6, 5 or 4), or 0 when there is none left
    /// \throw std::bad_alloc no memory; the primitive is still stored
    int getPrimitive(std::vector<unsigned int>& indices, int primitiveType);

    /// Writes one strip as a `TRIANGLE_STRIP` list in which every triangle keeps its winding.
    ///
    /// \param indices  replaced by the strip's indices; untouched when the strip is empty
    /// \param strip    triangles of which any two in a row share an edge; not changed
    /// \param reversed whether it is read from `last` to `first`
    /// \return number of indices
    std::uint32_t fillIndexFromStrip(std::vector<unsigned int>& indices, TriangleList& strip, bool reversed) const;

    /// Writes the closed fan around the vertex at which a half-edge starts as a `TRIANGLE_FAN` list.
    ///
    /// \param indices replaced by the fan's indices; untouched when `start` is null
    /// \param start   starts at the centre, whose ring of triangles must be closed; null is reported at severity
    ///                warning ("Invalid fac in fillIndexFromFan()")
    /// \return number of indices: the triangles + 2; 0 when `start` is null
    std::int32_t fillIndexFromFan(std::vector<unsigned int>& indices, HalfEdge* start) const;

    /// Writes every edge of the graph once, shared edges from their lower to their higher vertex.
    ///
    /// \param lines         replaced by two vertex indices per edge
    /// \param withShareFlag adds a third value per edge: 1 when two triangles share it, 0 on a border
    /// \return number of edges
    std::uint32_t calcEgdeLines(std::vector<unsigned int>& lines, bool withShareFlag) const;

    /// Reports on the graph in records at severity info: list lengths, triangle states, half-edges per vertex.
    ///
    /// \param verbose adds a record for each free triangle and for each stored half-edge
    /// \return always true; what is wrong stands in the log
    bool verify(bool verbose) const;

    /// Per vertex, the half-edges that start there, in order of insertion.
    std::vector<std::vector<VertexHalfEdge>> vertexHalfEdges;
    TrianglePool pool;
    TriangleList freeTriangles;    ///< what `calcOptPrim` cuts
    TriangleList claimedTriangles; ///< split off at non-manifold edges, and those of primitives already handed out
    std::vector<Primitive> strips; ///< first: 1 when the strip is emitted from `last` to `first`, otherwise 0
    std::vector<Primitive> fans;   ///< first: the centre vertex
    std::vector<Primitive> triangleLists; ///< first: 0

private:
    // Where the triangles of the strips lie, in the order in which they will be handed out: what is fetched ahead. It
    // may be stale, so that it is never followed.
    std::vector<const Triangle*> upcoming_;
    std::size_t upcomingBegin_ = 0;
};

} // namespace vexa::mesh
