// Fills a half-edge graph, partly one triangle at a time, optimises it and compares it with the plain reference.

#include "Failure.h"
#include "Input.h"
#include "support/GraphComparison.h"

#include <boost/log/core.hpp>
#include <vexa/mesh/HalfEdgeGraph.h>

namespace {

void fill(vexa::mesh::HalfEdgeGraph& graph, const meshes::Indices& mesh, std::size_t oneByOne) {
    std::size_t i = 0;
    for (; i < 3 * oneByOne && i < mesh.size(); i += 3) {
        graph.addTriangle(mesh[i], mesh[i + 1], mesh[i + 2]);
    }
    graph.addTriangles(mesh.data() + i, mesh.size() - i);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    boost::log::core::get()->set_logging_enabled(false);
    const fuzz::CutInput input(data, size);
    const reference::Parameters& p = input.parameters;
    vexa::mesh::HalfEdgeGraph graph;
    fill(graph, input.mesh, p.minFanTriangles);
    reference::Graph expected;
    expected.addTriangles(input.mesh);
    const vexa::test::GraphComparison comparison(graph, expected);
    fuzz::failUnlessEmpty(comparison.differenceInFilling());
    const std::uint32_t cost =
        graph.calcOptPrim(p.iterations, p.buildStrips, p.buildFans, p.minFanTriangles, p.allStrips);
    if (cost != expected.calcOptPrim(p)) {
        fuzz::failUnlessEmpty("the returned number of indices differs");
    }
    fuzz::failUnlessEmpty(comparison.differenceInResult());
    fuzz::failUnlessEmpty(vexa::test::differenceInPrimitives(graph, expected));
    return 0;
}
