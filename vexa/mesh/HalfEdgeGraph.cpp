#include "vexa/mesh/HalfEdgeGraph.h"

#include "vexa/mesh/detail/LogRecord.h"
#include "vexa/mesh/detail/graph/EdgeOccupants.h"
#include "vexa/mesh/detail/graph/GraphOptimise.h"
#include "vexa/mesh/detail/graph/TriangleLists.h"

#include <array>
#include <limits>
#include <map>
#include <utility>

// The functions that the records name; neither compiler's own text for them is this one.
#define LOG_TRIANGLE_VERIFY()                                                                                          \
    VEXA_MESH_LOG(info, "bool vexa::mesh::HalfEdgeGraph::Triangle::verify()", "vexa/mesh/HalfEdgeGraph")
#define LOG_GRAPH_VERIFY()                                                                                             \
    VEXA_MESH_LOG(info, "bool vexa::mesh::HalfEdgeGraph::verify(bool)", "vexa/mesh/HalfEdgeGraph")
#define LOG_CALC_OPT_PRIM(severity)                                                                                    \
    VEXA_MESH_LOG(severity, "uint32_t vexa::mesh::HalfEdgeGraph::calcOptPrim(uint32_t, bool, bool, uint32_t, bool)",   \
                  "vexa/mesh/HalfEdgeGraph")
#define LOG_FILL_INDEX_FROM_FAN()                                                                                      \
    VEXA_MESH_LOG(warning,                                                                                             \
                  "int32_t vexa::mesh::HalfEdgeGraph::fillIndexFromFan(std::vector<unsigned int>&, "                   \
                  "vexa::mesh::HalfEdgeGraph::HalfEdge&)",                                                             \
                  "vexa/mesh/HalfEdgeGraph")

namespace vexa::mesh {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;

const Triangle* neighbour(const HalfEdge& halfEdge) {
    return halfEdge.twin != nullptr ? halfEdge.twin->triangle : nullptr;
}

bool hasDistinctNeighbours(const Triangle& triangle) {
    const Triangle* const n0 = neighbour(triangle.halfEdge[0]);
    const Triangle* const n1 = neighbour(triangle.halfEdge[1]);
    const Triangle* const n2 = neighbour(triangle.halfEdge[2]);
    const auto isSame = [](const Triangle* a, const Triangle* b) { return a != nullptr && a == b; };
    return !isSame(n0, n1) && !isSame(n1, n2) && !isSame(n2, n0);
}

bool hasDistinctCorners(const Triangle& triangle) {
    const auto& [e0, e1, e2] = triangle.halfEdge;
    return e0.vertex != e1.vertex && e1.vertex != e2.vertex && e2.vertex != e0.vertex;
}

bool isHeldByItsHalfEdges(const Triangle& triangle) {
    const auto& [e0, e1, e2] = triangle.halfEdge;
    return e0.triangle == &triangle && e1.triangle == &triangle && e2.triangle == &triangle;
}

bool hasNextCycle(const Triangle& triangle) {
    const auto& [e0, e1, e2] = triangle.halfEdge;
    return e0.next == &e1 && e1.next == &e2 && e2.next == &e0;
}

/// The bucket in which a triangle of this state waits.
HalfEdgeGraph::TriangleList& bucketOf(std::int32_t state, HalfEdgeGraph::TriangleList* buckets) {
    return buckets[state >= 0 && state <= 3 ? state : 3];
}

/// Logs the search of calcOptPrim.
class LoggingObserver final : public detail::OptimiserObserver {
public:
    void onInvalidTriangle() override { LOG_CALC_OPT_PRIM(warning) << "INVALID TRIANGLE IN VALID TRIANGLE BAG"; }
    bool onPass(std::uint32_t, std::int32_t cost, std::int32_t best, std::int32_t worst) override {
        LOG_CALC_OPT_PRIM(info) << " cost/best/worst: " << cost << "/" << best << "/" << worst;
        return true;
    }
    void onRange(std::int32_t best, std::int32_t worst) override {
        const std::int64_t scaled = (std::int64_t{worst} - best) * 100;
        // The sign of 0 / 0 differs between compilers.
        const float percentage =
            best != 0 ? static_cast<float>(scaled) / static_cast<float>(best) : std::numeric_limits<float>::quiet_NaN();
        LOG_CALC_OPT_PRIM(warning) << "range: " << best << "/" << worst << " " << static_cast<double>(percentage)
                                   << "%";
    }
};

} // namespace

HalfEdgeGraph::TrianglePool::Chunk::~Chunk() {
    delete[] triangles;
    while (next != nullptr) {
        Chunk* const following = next;
        next = following->next;
        following->next = nullptr;
        delete following;
    }
}

HalfEdgeGraph::HalfEdgeGraph() = default;

HalfEdgeGraph::~HalfEdgeGraph() {
    clear();
}

void HalfEdgeGraph::reserve(unsigned int vertexCount, unsigned int chunkSize, unsigned int edgesPerVertex) {
    pool.chunkSize = chunkSize;
    crowded_.reset();
    vertexHalfEdges.resize(vertexCount);
    if (edgesPerVertex == 0) {
        return;
    }
    for (auto& list : vertexHalfEdges) {
        list.reserve(edgesPerVertex);
    }
}

void HalfEdgeGraph::clear() {
    crowded_.reset();
    vertexHalfEdges.clear();
    delete pool.chunks;
    pool.chunks = nullptr;
    pool.used = 0;
    for (auto* const primitives : {&strips, &fans, &triangleLists}) {
        for (const Primitive& primitive : *primitives) {
            delete primitive.second;
        }
        primitives->clear();
    }
    std::vector<const Triangle*>().swap(upcoming_);
    upcomingBegin_ = 0;
}

std::uint32_t HalfEdgeGraph::calcOptPrim(std::uint32_t iterations, bool buildStrips, bool buildFans,
                                         std::uint32_t minFanTriangles, bool allStrips) {
    LoggingObserver observer;
    detail::OptimisedGraph optimised =
        detail::optimise(*this, {iterations, buildStrips, buildFans, minFanTriangles, allStrips}, observer);
    crowded_.reset(); // triangles that were split off may be in strips now
    upcoming_ = std::move(optimised.upcoming);
    upcomingBegin_ = 0;
    return optimised.cost;
}

void HalfEdgeGraph::dropOutTriangle(Triangle& triangle, TriangleList* buckets) {
    if (triangle.state == Triangle::splitOff) {
        crowded_.reset(); // in a strip it occupies its edges
    }
    detail::unlink(bucketOf(triangle.state, buckets), triangle);
    triangle.state = Triangle::inStrip;
    for (const HalfEdge& halfEdge : triangle.halfEdge) {
        if (halfEdge.twin == nullptr || halfEdge.twin->triangle->state <= 0) {
            continue;
        }
        Triangle& neighbour = *halfEdge.twin->triangle;
        detail::unlink(bucketOf(neighbour.state, buckets), neighbour);
        --neighbour.state;
        detail::append(bucketOf(neighbour.state, buckets), neighbour);
    }
}

std::int32_t HalfEdgeGraph::fillIndexFromFan(std::vector<unsigned int>& indices, HalfEdge* start) const {
    if (start == nullptr) {
        LOG_FILL_INDEX_FROM_FAN() << "Invalid fac in fillIndexFromFan()";
        return 0;
    }
    indices.resize(2);
    indices[0] = start->vertex;
    indices[1] = start->next->vertex;
    for (const HalfEdge* spoke = start->next->next->twin; spoke != start; spoke = spoke->next->next->twin) {
        indices.push_back(spoke->next->vertex);
    }
    indices.push_back(start->next->vertex);
    return static_cast<std::int32_t>(indices.size());
}

bool HalfEdgeGraph::Triangle::verify() const {
    bool isSound = true;
    if (!hasDistinctNeighbours(*this)) {
        LOG_TRIANGLE_VERIFY() << "HalfEdgeGraph::Triangle::verify: Neighbor linked more than once";
        isSound = false;
    }
    if (!hasDistinctCorners(*this)) {
        LOG_TRIANGLE_VERIFY() << "HalfEdgeGraph::Triangle::verify: Invalid collapsed Triangle";
        isSound = false;
    }
    if (!isHeldByItsHalfEdges(*this)) {
        LOG_TRIANGLE_VERIFY() << "HalfEdgeGraph::Triangle::verify: Invalid halfEdge->"
                              << "triangle pointer";
        isSound = false;
    }
    if (!hasNextCycle(*this)) {
        LOG_TRIANGLE_VERIFY() << "HalfEdgeGraph::Triangle::verify: Edge next link error";
        isSound = false;
    }
    return isSound;
}

bool HalfEdgeGraph::verify(bool verbose) const {
    std::array<std::int32_t, 4> stateCounts{};
    std::int32_t invalidCount = 0;
    for (const Triangle* triangle = freeTriangles.first; triangle != nullptr; triangle = triangle->next) {
        const bool isSound = triangle->verify();
        if (!isSound) {
            ++invalidCount;
        } else if (triangle->state >= 0 && triangle->state <= 3) {
            ++stateCounts[static_cast<std::size_t>(triangle->state)];
        }
        if (verbose) {
            LOG_GRAPH_VERIFY() << "HEG: Triangle: %d %d %d: " << triangle->halfEdge[0].vertex << " "
                               << triangle->halfEdge[1].vertex << " " << triangle->halfEdge[2].vertex << " "
                               << (isSound ? "VALID" : "INVALID");
        }
    }
    LOG_GRAPH_VERIFY() << "HEG: linked triangle count " << detail::countTriangles(freeTriangles);
    LOG_GRAPH_VERIFY() << "HEG: invalid triangle " << invalidCount;
    LOG_GRAPH_VERIFY() << "HEG: nonmanifold split: " << detail::countTriangles(claimedTriangles);
    LOG_GRAPH_VERIFY() << "HEG: triangle state: " << stateCounts[0] << "/" << stateCounts[1] << "/" << stateCounts[2]
                       << "/" << stateCounts[3];

    std::int32_t halfEdgeCount = 0;
    std::map<std::int32_t, std::int32_t> vertexCounts;
    for (const auto& list : vertexHalfEdges) {
        const auto size = static_cast<std::int32_t>(list.size());
        halfEdgeCount += size;
        ++vertexCounts[size];
        if (verbose) {
            for (std::int32_t i = 0; i < size; ++i) {
                LOG_GRAPH_VERIFY() << "HEG: HalfEdge twin";
            }
        }
    }
    for (const auto& [size, vertexCount] : vertexCounts) {
        LOG_GRAPH_VERIFY() << "HEG: Connection: " << size << '/' << vertexCount << " ";
    }
    LOG_GRAPH_VERIFY() << "HEG: HalfEdgeCount: " << halfEdgeCount;
    return true;
}

} // namespace vexa::mesh
