#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/detail/LogRecord.h"

#include <array>
#include <map>

// The functions that the records name; neither compiler's own text for them is this one.
#define LOG_TRIANGLE_VERIFY()                                                                                          \
    VEXA_MESH_LOG(info, "bool vexa::mesh::HalfEdgeGraph::Triangle::verify()", "vexa/mesh/HalfEdgeGraph")
#define LOG_GRAPH_VERIFY()                                                                                             \
    VEXA_MESH_LOG(info, "bool vexa::mesh::HalfEdgeGraph::verify(bool)", "vexa/mesh/HalfEdgeGraph")

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

std::uint32_t countTriangles(const HalfEdgeGraph::TriangleList& list) {
    std::uint32_t count = 0;
    for (const Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
        ++count;
    }
    return count;
}

} // namespace

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
    LOG_GRAPH_VERIFY() << "HEG: linked triangle count " << countTriangles(freeTriangles);
    LOG_GRAPH_VERIFY() << "HEG: invalid triangle " << invalidCount;
    LOG_GRAPH_VERIFY() << "HEG: nonmanifold split: " << countTriangles(claimedTriangles);
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
