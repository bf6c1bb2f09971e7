#include "vexa/mesh/Edges.h"
#include "vexa/mesh/detail/edges/SurfaceEdges.h"

#include <algorithm>
#include <utility>

namespace vexa::mesh {

namespace {

EdgeClass classOf(const detail::SurfaceEdges& surface, const detail::SurfaceEdge& edge, double creaseAngle) {
    if (edge.triangleCount != 2) {
        return edge.triangleCount == 1 ? EdgeClass::Border : EdgeClass::NonManifold;
    }
    std::uint32_t from = edge.halfEdges[1];
    std::uint32_t to = detail::SurfaceEdges::next(from);
    if (!surface.runsSameWay(edge)) {
        std::swap(from, to);
    }
    const std::uint32_t first = edge.halfEdges[0];
    const bool isSeam = surface.triangles[first] != surface.triangles[from] ||
                        surface.triangles[detail::SurfaceEdges::next(first)] != surface.triangles[to];
    if (surface.angleAt(edge) > creaseAngle) {
        return isSeam ? EdgeClass::Crease | EdgeClass::Seam : EdgeClass::Crease;
    }
    return isSeam ? EdgeClass::Seam : EdgeClass::Smooth;
}

} // namespace

std::vector<ClassifiedEdge> classifyEdges(const Mesh& mesh, const EdgeOptions& options) {
    const detail::SurfaceEdges surface("classifyEdges", mesh);
    std::vector<ClassifiedEdge> edges;
    edges.reserve(surface.edges.size());
    for (const detail::SurfaceEdge& edge : surface.edges) {
        const auto [low, high] = std::minmax(
            {surface.triangles[edge.halfEdges[0]], surface.triangles[detail::SurfaceEdges::next(edge.halfEdges[0])]});
        edges.push_back({{low, high}, classOf(surface, edge, static_cast<double>(options.creaseAngle))});
    }
    return edges;
}

std::vector<unsigned int> toLines(std::span<const ClassifiedEdge> edges, EdgeClass classes) {
    std::vector<unsigned int> lines;
    for (const ClassifiedEdge& edge : edges) {
        if (hasAny(edge.classes, classes)) {
            lines.insert(lines.end(), edge.vertices.begin(), edge.vertices.end());
        }
    }
    return lines;
}

} // namespace vexa::mesh
