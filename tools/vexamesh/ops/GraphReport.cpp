#include "ops/GraphReport.h"

#include "base/Logging.h"
#include "ops/Triangles.h"

#include <vexa/mesh/HalfEdgeGraph.h>

namespace vexa::tool {

namespace {

/// Of a graph in a single chunk.
std::vector<bool> splitOffTriangles(const mesh::HalfEdgeGraph& graph) {
    std::vector<bool> result;
    for (unsigned long i = 0; i < graph.pool.used; ++i) {
        const mesh::HalfEdgeGraph::Triangle& triangle = graph.pool.chunks->triangles[i];
        const std::uint32_t a = triangle.halfEdge[0].vertex;
        const std::uint32_t b = triangle.halfEdge[1].vertex;
        const std::uint32_t c = triangle.halfEdge[2].vertex;
        if (a != b && b != c && c != a) {
            result.push_back(triangle.state == mesh::HalfEdgeGraph::Triangle::splitOff);
        }
    }
    return result;
}

} // namespace

std::vector<bool> reportGraph(const Primitive& primitive, bool verbose,
                              const std::function<void(const std::string&)>& print) {
    const std::vector<unsigned int> triangles = graphTriangles(primitive);
    mesh::HalfEdgeGraph graph;
    graph.reserve(0, static_cast<unsigned int>(triangles.size() / 3), 0);
    graph.addTriangles(triangles.data(), triangles.size());
    const LogCapture capture(print);
    graph.verify(verbose);
    return splitOffTriangles(graph);
}

} // namespace vexa::tool
