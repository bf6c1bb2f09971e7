#include "report/GraphFacts.h"

#include "Logging.h"
#include "Triangles.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

/// Which triangles of a graph in a single chunk were split off, in the order in which they came, without degenerate ones.
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

/// \return whether it is the record of a pass
bool readPassRecord(const std::string& text, PassCosts& costs) {
    std::array<long long, 3> numbers{};
    // NOLINTNEXTLINE(cert-err34-c): a record of another kind is not counted, whatever numbers are in it
    if (std::sscanf(text.c_str(), " cost/best/worst: %lld/%lld/%lld", &numbers[0], &numbers[1], &numbers[2]) != 3) {
        return false;
    }
    costs.totals.push_back(numbers[0]);
    costs.best = numbers[1];
    costs.worst = numbers[2];
    return true;
}

} // namespace

void PassCosts::add(const PassCosts& other) {
    totals.resize(std::max(totals.size(), other.totals.size()));
    std::transform(other.totals.begin(), other.totals.end(), totals.begin(), totals.begin(), std::plus<>());
    best += other.best;
    worst += other.worst;
}

GraphFacts describeGraph(const Primitive& primitive, const mesh::StripOptions& options, std::uint32_t iterations,
                         const std::function<void(std::size_t, std::size_t)>& onPass) {
    const std::vector<unsigned int> triangles = graphTriangles(primitive);
    GraphFacts facts;
    mesh::HalfEdgeGraph graph;
    graph.reserve(0, static_cast<unsigned int>(triangles.size() / 3), 0);
    graph.addTriangles(triangles.data(), triangles.size());
    {
        const LogCapture capture([&](const std::string& line) { facts.lines.push_back(line); });
        graph.verify(false);
    }
    facts.isSplitOff = splitOffTriangles(graph);
    if (iterations > 1) {
        if (3 * facts.isSplitOff.size() < triangles.size()) {
            // Degenerate triangles would cost indices that no strip is written with.
            const std::vector<unsigned int> drawn = mesh::toTriangles(primitive.type, primitive.indices);
            graph.clear();
            graph.addTriangles(drawn.data(), drawn.size());
        }
        const LogCapture capture([&](const std::string& line) {
            if (readPassRecord(line, facts.passes) && onPass) {
                onPass(facts.passes.totals.size(), iterations);
            }
        });
        graph.calcOptPrim(iterations, options.buildStrips, options.buildFans, options.minFanTriangles,
                          options.allStrips);
    }
    return facts;
}

} // namespace vexa::tool
