#include "cases/OwnContenders.h"

#include "TriangleCheck.h"

#include <memory>
#include <span>
#include <vexa/mesh/Edges.h>
#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/Weld.h>

namespace bench {

namespace {

using vexa::mesh::HalfEdgeGraph;
using vexa::mesh::IndexedPrimitive;

using Primitives = std::vector<IndexedPrimitive>;
using GraphPtr = std::unique_ptr<HalfEdgeGraph>;

Contender ownOn(const std::string& name, const Model& model) {
    Contender contender;
    contender.name = name;
    contender.elements = static_cast<double>(model.triangleCount());
    return contender;
}

void appendPrimitive(std::vector<unsigned int>& triangles, int type, const std::vector<unsigned int>& indices) {
    if (type == vexa::mesh::TRIANGLE_STRIP) {
        appendStrip(triangles, indices);
    } else {
        triangles.insert(triangles.end(), indices.begin(), indices.end());
    }
}

Output inspectPrimitives(const Model& model, const Primitives& primitives) {
    Output output;
    std::vector<unsigned int> triangles;
    for (const IndexedPrimitive& primitive : primitives) {
        output.indices += primitive.indices.size();
        appendPrimitive(triangles, primitive.type, primitive.indices);
    }
    output.bytes = output.indices * sizeof(unsigned int) + primitives.size() * sizeof(IndexedPrimitive);
    output.error = compareTriangles(model.triangles, triangles);
    return output;
}

GraphPtr fillSingly(const Model& model) {
    auto graph = std::make_unique<HalfEdgeGraph>();
    for (std::size_t i = 0; i < model.triangles.size(); i += 3) {
        graph->addTriangle(model.triangles[i], model.triangles[i + 1], model.triangles[i + 2]);
    }
    return graph;
}

GraphPtr fill(const Model& model) {
    auto graph = std::make_unique<HalfEdgeGraph>();
    graph->addTriangles(model.triangles.data(), model.triangles.size());
    return graph;
}

void optimise(HalfEdgeGraph& graph, std::uint32_t iterations) {
    const vexa::mesh::StripOptions options;
    graph.calcOptPrim(iterations, options.buildStrips, options.buildFans, options.minFanTriangles, options.allStrips);
}

Output inspectGraph(const Model& model, std::uint32_t iterations) {
    const GraphPtr graph = fill(model);
    optimise(*graph, iterations);
    Output output;
    std::vector<unsigned int> triangles;
    std::vector<unsigned int> indices;
    while (const int type = graph->getPrimitive(indices, 0)) {
        output.indices += indices.size();
        appendPrimitive(triangles, type, indices);
    }
    output.error = compareTriangles(model.triangles, triangles);
    return output;
}

/// The corners of every triangle in the graph.
std::vector<unsigned int> trianglesOf(const HalfEdgeGraph& graph) {
    std::vector<unsigned int> triangles;
    for (const HalfEdgeGraph::TriangleList& list : {graph.freeTriangles, graph.claimedTriangles}) {
        for (const HalfEdgeGraph::Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
            for (const HalfEdgeGraph::HalfEdge& halfEdge : triangle->halfEdge) {
                triangles.push_back(halfEdge.vertex);
            }
        }
    }
    return triangles;
}

Contender fillingContender(const std::string& name, const ModelPtr& model, GraphPtr (*fillFrom)(const Model&)) {
    const auto graph = std::make_shared<GraphPtr>();
    Contender contender = ownOn(name, *model);
    contender.prepare = [graph] { graph->reset(); };
    contender.run = [model, graph, fillFrom] { *graph = fillFrom(*model); };
    contender.inspect = [model, graph] {
        return Output{0, 0, compareTriangles(model->triangles, trianglesOf(**graph))};
    };
    return contender;
}

} // namespace

Contender buildPrimitivesContender(const std::string& name, const ModelPtr& model,
                                   const vexa::mesh::StripOptions& options) {
    const auto primitives = std::make_shared<Primitives>();
    Contender contender = ownOn(name, *model);
    contender.prepare = [primitives] { Primitives().swap(*primitives); };
    contender.run = [model, options, primitives] {
        *primitives = vexa::mesh::buildPrimitives(model->triangles, options);
    };
    contender.inspect = [model, primitives] { return inspectPrimitives(*model, *primitives); };
    return contender;
}

Contender joinedStripsContender(const std::string& name, const ModelPtr& model) {
    const auto strip = std::make_shared<std::vector<unsigned int>>();
    Contender contender = ownOn(name, *model);
    contender.prepare = [strip] { std::vector<unsigned int>().swap(*strip); };
    contender.run = [model, strip] {
        const Primitives strips = vexa::mesh::buildPrimitives(model->triangles, {.allStrips = true});
        *strip = vexa::mesh::joinStrips(strips, vexa::mesh::StripJoin::Restart);
    };
    contender.inspect = [model, strip] {
        std::vector<unsigned int> triangles;
        appendStrip(triangles, *strip);
        return Output{strip->size(), strip->size() * sizeof(unsigned int),
                      compareTriangles(model->triangles, triangles)};
    };
    return contender;
}

Contender stripBufferContender(const std::string& name, const ModelPtr& model,
                               const vexa::mesh::StripBufferOptions& options) {
    constexpr std::size_t largeModel = 500'000;
    const auto strip = std::make_shared<std::vector<unsigned int>>();
    Contender contender = ownOn(name, *model);
    contender.isSlow = options.effort == 4 || (options.effort == 3 && model->triangleCount() > largeModel);
    contender.prepare = [strip] { std::vector<unsigned int>().swap(*strip); };
    contender.run = [model, options, strip] { *strip = vexa::mesh::buildStripBuffer(model->triangles, options); };
    contender.inspect = [model, options, strip] {
        std::vector<unsigned int> triangles;
        appendStrip(triangles, *strip);
        Output output{strip->size(), strip->size() * sizeof(unsigned int),
                      compareTriangles(model->triangles, triangles)};
        const bool isRestart = options.join == vexa::mesh::StripJoin::Restart;
        (isRestart ? output.joined.byRestart : output.joined.byDegenerates) = strip->size();
        output.joined.misses16 = countCacheMisses(*strip, 16);
        output.joined.misses32 = countCacheMisses(*strip, 32);
        return output;
    };
    return contender;
}

Contender graphContender(const std::string& name, const ModelPtr& model, std::uint32_t iterations) {
    const auto graph = std::make_shared<GraphPtr>();
    const auto indices = std::make_shared<std::vector<unsigned int>>();
    Contender contender = ownOn(name, *model);
    contender.prepare = [graph] { graph->reset(); };
    contender.run = [model, iterations, graph, indices] {
        *graph = fill(*model);
        optimise(**graph, iterations);
        while ((*graph)->getPrimitive(*indices, 0) != 0) {
        }
    };
    // Repeats the run, because the timed one keeps no primitives.
    contender.inspect = [model, iterations] { return inspectGraph(*model, iterations); };
    return contender;
}

Contender buildEdgesContender(const std::string& name, const ModelPtr& model) {
    const auto edges = std::make_shared<std::vector<vexa::mesh::Edge>>();
    Contender contender = ownOn(name, *model);
    contender.prepare = [edges] { std::vector<vexa::mesh::Edge>().swap(*edges); };
    contender.run = [model, edges] { *edges = vexa::mesh::buildEdges(model->triangles); };
    contender.inspect = [model, edges] {
        std::uint64_t uses = 0;
        for (const vexa::mesh::Edge& edge : *edges) {
            uses += edge.triangleCount;
        }
        const std::vector<unsigned int> whole = vexa::mesh::toTriangles(vexa::mesh::TRIANGLES, model->triangles);
        return Output{0, edges->size() * sizeof(vexa::mesh::Edge),
                      uses == whole.size() ? "" : "its edges have other triangles"};
    };
    return contender;
}

Contender weldContender(const std::string& name, const ModelPtr& model) {
    const std::vector<glm::vec3> corners = looseCorners(*model);
    const vexa::mesh::MeshPtr soup =
        vexa::mesh::makeMesh(vexa::mesh::TRIANGLES, nullptr, {vexa::mesh::makeAttribute("position", corners)});
    const auto result = std::make_shared<vexa::mesh::WeldResult>();
    Contender contender = ownOn(name, *model);
    contender.prepare = [result] { *result = {}; };
    contender.run = [soup, result] { *result = vexa::mesh::weld(*soup); };
    contender.inspect = [soup, result] {
        const auto before = vexa::mesh::elementsOf<glm::vec3>(*soup, "position");
        const auto after = vexa::mesh::elementsOf<glm::vec3>(*result->mesh, "position");
        Output output{0, after.size_bytes() + 2 * before.size() * sizeof(unsigned int), {}};
        for (std::size_t i = 0; i < before.size(); ++i) {
            if (after[result->remap[i]] != before[i]) {
                output.error = "a corner has moved";
            }
        }
        return output;
    };
    return contender;
}

Contender addTrianglesContender(const std::string& name, const ModelPtr& model) {
    return fillingContender(name, model, fill);
}

Contender addSinglyContender(const std::string& name, const ModelPtr& model) {
    return fillingContender(name, model, fillSingly);
}

Contender fillAndEdgesContender(const std::string& name, const ModelPtr& model) {
    const auto lines = std::make_shared<std::vector<unsigned int>>();
    Contender contender = ownOn(name, *model);
    contender.elements = fill(*model)->calcEgdeLines(*lines, false);
    contender.prepare = [lines] { std::vector<unsigned int>().swap(*lines); };
    contender.run = [model, lines] { fill(*model)->calcEgdeLines(*lines, false); };
    contender.inspect = [lines] { return Output{lines->size(), lines->size() * sizeof(unsigned int), {}}; };
    return contender;
}

Contender edgeLinesContender(const std::string& name, const ModelPtr& model) {
    const std::shared_ptr<HalfEdgeGraph> graph = fill(*model);
    const auto lines = std::make_shared<std::vector<unsigned int>>();
    Contender contender = ownOn(name, *model);
    contender.elements = graph->calcEgdeLines(*lines, false);
    contender.prepare = [lines] { std::vector<unsigned int>().swap(*lines); };
    contender.run = [graph, lines] { graph->calcEgdeLines(*lines, false); };
    contender.inspect = [lines] { return Output{lines->size(), lines->size() * sizeof(unsigned int), {}}; };
    return contender;
}

} // namespace bench
