#include "cases/Cases.h"
#include "cases/Limits.h"
#include "cases/OwnContenders.h"
#include "peers/Peers.h"

namespace bench {

namespace {

Comparison compareAdjacency(const ModelPtr& model, const std::string& name) {
    return {name,
            "triangle",
            model->real,
            measuresMemoryOf(*model),
            roundsFor(*model),
            {addTrianglesContender(names::add, model), buildEdgesContender(names::buildEdges, model),
             cgalAdjacency(model), cgalBatchAdjacency(model), openMeshAdjacency(model), copyOfIndices(model)}};
}

Case adjacencyCase(const std::string& model, std::function<ModelPtr()> make, bool heavy) {
    const std::string name = "adjacency/" + model;
    return {name, heavy, [name, make = std::move(make)] { return compareAdjacency(make(), name); }};
}

/// Compared with the dragon, because the peers take quadratic time on a hub.
Comparison compareHub(const ModelPtr& dragon) {
    const ModelPtr hub = makeHub("hub", 1'000'000);
    return {"adjacency/hub",
            "triangle",
            false,
            true,
            roundsFor(*hub),
            {addTrianglesContender(names::addHub, hub), addTrianglesContender(names::add, dragon), copyOfIndices(hub)}};
}

/// Meshes on which almost every triangle comes to an edge that others crowd.
Comparison compareCrowdedEdges() {
    constexpr unsigned int count = 1'000'000;
    const ModelPtr grid = makeGrid("grid of 1 M", 707);
    const ModelPtr crowded = makeCrowdedEdge("full edge", count);
    const ModelPtr collapsed = makeCollapsedEdge("collapsed", count);
    return {"adjacency/crowded edges",
            "triangle",
            false,
            false,
            roundsFor(*grid),
            {addTrianglesContender(names::addGrid, grid), addTrianglesContender(names::addCrowded, crowded),
             addTrianglesContender(names::addCollapsed, collapsed), addSinglyContender(names::singleGrid, grid),
             addSinglyContender(names::singleCrowded, crowded), addSinglyContender(names::singleCollapsed, collapsed),
             copyOfIndices(grid)}};
}

Comparison compareEdges(const ModelPtr& model, const std::string& name) {
    Comparison comparison{name,
                          "edge",
                          model->real,
                          false,
                          roundsFor(*model),
                          {fillAndEdgesContender(names::fillEdges, model), edgeLinesContender(names::edges, model),
                           openMeshAdjacencyAndEdges(model), openMeshEdges(model), copyOfIndices(model)}};
    // Two indices per edge: as many bytes as the edge list.
    comparison.contenders.back().elements = static_cast<double>(model->triangles.size()) / 2;
    return comparison;
}

} // namespace

std::vector<Case> aloneCases(const std::vector<ModelPtr>& realModels) {
    const ModelPtr dragon = findModel(realModels, names::dragon);
    return {{"alone/dragon", false, [dragon] {
                 return Comparison{"alone/dragon",
                                   "triangle",
                                   true,
                                   false,
                                   roundsFor(*dragon),
                                   {addTrianglesContender(names::add, dragon), cgalAdjacency(dragon)}};
             }}};
}

std::vector<Case> adjacencyCases(const std::vector<ModelPtr>& realModels) {
    std::vector<Case> cases;
    for (const ModelPtr& model : takeLargest(realModels, 4)) {
        cases.push_back(adjacencyCase(
            model->name, [model] { return model; }, false));
    }
    const ModelPtr dragon = findModel(realModels, names::dragon);
    cases.push_back(adjacencyCase(
        names::shuffled, [dragon] { return makeShuffled(names::shuffled, *dragon); }, false));
    cases.push_back(adjacencyCase(
        "sphere", [] { return makeSphere("sphere", 1024, 512); }, true));
    cases.push_back({"adjacency/hub", false, [dragon] { return compareHub(dragon); }});
    cases.push_back({"adjacency/crowded edges", false, compareCrowdedEdges});
    return cases;
}

std::vector<Case> edgeCases(const std::vector<ModelPtr>& realModels) {
    std::vector<Case> cases;
    for (const ModelPtr& model : takeLargest(realModels, 2)) {
        const std::string name = "edges/" + model->name;
        cases.push_back({name, false, [model, name] { return compareEdges(model, name); }});
    }
    return cases;
}

std::vector<Case> weldCases(const std::vector<ModelPtr>& realModels) {
    std::vector<Case> cases;
    for (const ModelPtr& model : takeLargest(realModels, 2)) {
        const std::string name = "weld/" + model->name;
        cases.push_back(
            {name, false, [model, name] {
                 return Comparison{
                     name,  "triangle",        model->real,
                     false, roundsFor(*model), {weldContender(names::weld, model), meshoptimizerRemap(model)}};
             }});
    }
    return cases;
}

} // namespace bench
