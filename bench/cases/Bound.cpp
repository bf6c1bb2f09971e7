#include "cases/Cases.h"

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

Contender bufferContender(const ModelPtr& model) {
    const auto buffer = std::make_shared<std::vector<unsigned int>>();
    Contender contender = ownOn(names::boundedBuffer, *model);
    contender.prepare = [buffer] { std::vector<unsigned int>().swap(*buffer); };
    contender.run = [model, buffer] { *buffer = buildStripBuffer(model->triangles, {.effort = 2}); };
    contender.inspect = [buffer] { return Output{buffer->size(), buffer->size() * sizeof(unsigned int), {}}; };
    return contender;
}

Comparison compareBound(const ModelPtr& model) {
    return {"bound/" + model->name,   "triangle",        model->real,
            measuresMemoryOf(*model), roundsFor(*model), {boundContender(model), bufferContender(model)}};
}

} // namespace

std::vector<Case> boundCases(const std::vector<ModelPtr>& realModels) {
    std::vector<Case> cases;
    cases.reserve(realModels.size() + 1);
    for (const ModelPtr& model : realModels) {
        cases.push_back({"bound/" + model->name, false, [model] { return compareBound(model); }});
    }
    const ModelPtr dragon = findModel(realModels, names::dragon);
    cases.push_back({std::string("bound/") + names::shuffled, false,
                     [dragon] { return compareBound(makeShuffled(names::shuffled, *dragon)); }});
    return cases;
}

} // namespace bench
