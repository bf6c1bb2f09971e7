#include "MemoryStream.h"
#include "cases/Cases.h"
#include "cases/Limits.h"
#include "cases/OwnContenders.h"
#include "peers/Peers.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace bench {

namespace {

/// Ten passes over a large mesh take seconds, which evens out the noise within each run.
constexpr int roundsOfManyPasses = 3;

Comparison compareStrips(const ModelPtr& model, const std::string& name) {
    Comparison comparison{name, "triangle", model->real, measuresMemoryOf(*model), roundsFor(*model), {}};
    comparison.contenders = {buildPrimitivesContender(names::build, model, {}),
                             joinedStripsContender(names::joined, model),
                             stripBufferContender(names::effort0, model, {.effort = 0}),
                             stripBufferContender(names::effort1, model, {.effort = 1}),
                             stripBufferContender(names::effort2, model, {.effort = 2})};
    const auto add = [&comparison](Contender contender) { comparison.contenders.push_back(std::move(contender)); };
    if (model->real) { // it takes long, and generated models show nothing else
        add(stripBufferContender(names::annealingTen, model, {.effort = 3, .annealingPasses = 10}));
        add(stripBufferContender(names::effort3, model, {.effort = 3}));
    }
    add(stripBufferContender(names::degenerate2, model, {.effort = 2, .join = vexa::mesh::StripJoin::Degenerate}));
    add(stripBufferContender(names::cacheOrder, model, {.effort = 2, .forVertexCache = true}));
    add(graphContender(names::graph, model, 1));
    add(meshoptimizerStrips(model));
    add(openMeshStrips(model));
    add(openMeshStripsOfMesh(model));
    if (auto vtk = vtkStrips(model)) {
        add(std::move(*vtk));
    }
    add(copyOfIndices(model));
    return comparison;
}

Case stripCase(const std::string& model, std::function<ModelPtr()> make, bool heavy) {
    const std::string name = "strips/" + model;
    return {name, heavy, [name, make = std::move(make)] { return compareStrips(make(), name); }};
}

/// Without peers, which would take quadratic time on a hub: hours.
Comparison compareStripsOfHub() {
    const ModelPtr hub = makeHub("hub", 1'000'000);
    return {
        "strips/hub",
        "triangle",
        false,
        true,
        roundsFor(*hub),
        {buildPrimitivesContender(names::build, hub, {}), graphContender(names::graph, hub, 1), copyOfIndices(hub)}};
}

Comparison comparePassesOnDragon(const ModelPtr& dragon) {
    return {"passes/dragon",
            "triangle",
            true,
            true,
            roundsFor(*dragon),
            {buildPrimitivesContender(names::build, dragon, {}),
             buildPrimitivesContender(names::buildTen, dragon, {.iterations = 10}),
             graphContender(names::graph, dragon, 1), graphContender(names::graphTen, dragon, 10),
             copyOfIndices(dragon)}};
}

Comparison comparePasses(const char* name, bool measuresMemory, std::vector<Contender> contenders) {
    return {name, "triangle", false, measuresMemory, roundsOfManyPasses, std::move(contenders)};
}

Comparison comparePassesOnGrids() {
    const ModelPtr small = makeGrid("grid of 70 k", 187);
    const ModelPtr large = makeGrid("grid of 2 M", 1000);
    return comparePasses("passes/grid", true,
                         {buildPrimitivesContender(names::tenSmall, small, {.iterations = 10}),
                          buildPrimitivesContender(names::tenLarge, large, {.iterations = 10}), copyOfIndices(large)});
}

Comparison compareBuffersBySize() {
    const ModelPtr small = makeIrregularGrid("mesh of 70 k", 187);
    const ModelPtr large = makeIrregularGrid("mesh of 8 M", 2000);
    return comparePasses("passes/buffer", true,
                         {stripBufferContender(names::flowSmall, small, {.effort = 2}),
                          stripBufferContender(names::flowLarge, large, {.effort = 2}), copyOfIndices(large)});
}

/// Meshes whose strips are as long as the mesh and lie beside many ends.
Comparison compareHubsBySize() {
    const ModelPtr small = makeTwoHubs("two hubs of 20 k", 20'000);
    const ModelPtr large = makeTwoHubs("two hubs of 1 M", 1'000'000);
    return comparePasses("passes/hubs", false,
                         {stripBufferContender(names::hubsSmall, small, {.effort = 2}),
                          stripBufferContender(names::hubsLarge, large, {.effort = 2}), copyOfIndices(large)});
}

Comparison comparePassesOnSoup() {
    const ModelPtr soup = makeSoup("soup", 1'000'000);
    return comparePasses("passes/soup", true,
                         {buildPrimitivesContender(names::build, soup, {.allStrips = true}),
                          buildPrimitivesContender(names::buildTen, soup, {.iterations = 10, .allStrips = true}),
                          copyOfIndices(soup)});
}

} // namespace

std::vector<Case> stripCases(const std::vector<ModelPtr>& realModels) {
    std::vector<Case> cases;
    cases.reserve(realModels.size() + 5);
    for (const ModelPtr& model : realModels) {
        cases.push_back(stripCase(
            model->name, [model] { return model; }, false));
    }
    const ModelPtr dragon = findModel(realModels, names::dragon);
    cases.push_back(stripCase(
        names::shuffled, [dragon] { return makeShuffled(names::shuffled, *dragon); }, false));
    cases.push_back(stripCase(
        "sphere", [] { return makeSphere("sphere", 1024, 512); }, true));
    cases.push_back(stripCase(
        "grid of 2 M", [] { return makeGrid("grid of 2 M", 1000); }, true));
    cases.push_back(stripCase(
        "soup", [] { return makeSoup("soup", 1'000'000); }, true));
    cases.push_back({"strips/hub", true, compareStripsOfHub});
    return cases;
}

std::vector<Case> busyCases(const std::vector<ModelPtr>& realModels) {
    std::vector<Case> cases;
    for (const ModelPtr& model : takeLargest(realModels, 3)) {
        for (const bool isBusy : {false, true}) {
            const std::string name = (isBusy ? "busy/" : "quiet/") + model->name;
            cases.push_back({name, false, [=] {
                                 Contender graph = graphContender(names::graph, model, 1);
                                 if (isBusy) {
                                     // As long as the comparison exists.
                                     graph.prepare = [stream = std::make_shared<MemoryStream>(),
                                                      prepare = graph.prepare] { prepare(); };
                                 }
                                 return Comparison{name,
                                                   "triangle",
                                                   true,
                                                   false,
                                                   roundsFor(*model),
                                                   {buildPrimitivesContender(names::build, model, {}), std::move(graph),
                                                    meshoptimizerStrips(model)}};
                             }});
        }
    }
    return cases;
}

std::vector<Case> passCases(const std::vector<ModelPtr>& realModels) {
    const ModelPtr dragon = findModel(realModels, names::dragon);
    return {{"passes/dragon", false, [dragon] { return comparePassesOnDragon(dragon); }},
            {"passes/grid", true, comparePassesOnGrids},
            {"passes/buffer", true, compareBuffersBySize},
            {"passes/hubs", true, compareHubsBySize},
            {"passes/soup", true, comparePassesOnSoup}};
}

} // namespace bench
