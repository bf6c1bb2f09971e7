#include "cases/Cases.h"
#include "cases/OwnContenders.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vexa/mesh/StripBuffer.h>

namespace bench {

namespace {

using vexa::mesh::buildStripBuffer;
using vexa::mesh::minIndexCount;
using vexa::mesh::StripJoin;

Contender ownOn(const std::string& name, const Model& model) {
    Contender contender;
    contender.name = name;
    contender.elements = static_cast<double>(model.triangleCount());
    return contender;
}

/// The proven minimum is reported as its number of indices.
Contender boundContender(const ModelPtr& model) {
    const auto bound = std::make_shared<std::uint64_t>();
    Contender contender = ownOn(names::bound, *model);
    contender.prepare = [] {};
    contender.run = [model, bound] { *bound = minIndexCount(model->triangles, StripJoin::Restart); };
    contender.inspect = [model, bound] {
        const bool isRefuted = *bound > buildStripBuffer(model->triangles).size();
        return Output{*bound, 0, isRefuted ? "more indices than a strip buffer has" : ""};
    };
    return contender;
}

Comparison compareBound(const ModelPtr& model) {
    return {"bound/" + model->name,
            "triangle",
            model->real,
            measuresMemoryOf(*model),
            roundsFor(*model),
            {boundContender(model), stripBufferContender(names::effort2, model, {.effort = 2})}};
}

/// How near the long searches come to the proven minimum; only their indices matter.
Comparison compareSearches(const ModelPtr& model) {
    constexpr std::size_t manyTriangles = 100'000;
    Comparison comparison{"search/" + model->name, "triangle", model->real, false, 1, {boundContender(model)}};
    comparison.contenders.push_back(stripBufferContender(names::effort3, model, {.effort = 3}));
    if (model->triangleCount() < manyTriangles) {
        comparison.contenders.push_back(
            stripBufferContender(names::effort4, model, {.effort = 4, .microsecondsPerTriangle = 60}));
    }
    return comparison;
}

} // namespace

std::vector<Case> boundCases(const std::vector<ModelPtr>& realModels) {
    std::vector<Case> cases;
    cases.reserve(2 * realModels.size() + 1);
    for (const ModelPtr& model : realModels) {
        cases.push_back({"bound/" + model->name, false, [model] { return compareBound(model); }});
        cases.push_back({"search/" + model->name, true, [model] { return compareSearches(model); }});
    }
    const ModelPtr dragon = findModel(realModels, names::dragon);
    cases.push_back({std::string("bound/") + names::shuffled, false,
                     [dragon] { return compareBound(makeShuffled(names::shuffled, *dragon)); }});
    return cases;
}

} // namespace bench
