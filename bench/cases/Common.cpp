#include "cases/Cases.h"
#include "peers/Peers.h"

#include <algorithm>
#include <stdexcept>

namespace bench {

int roundsFor(const Model& model) {
    if (model.triangleCount() <= 200'000) {
        return 9;
    }
    return model.triangleCount() <= 1'000'000 ? 5 : 3;
}

JoinedStrips joinPlainly(std::span<const vexa::mesh::IndexedPrimitive> strips) {
    using vexa::mesh::StripJoin;
    return {vexa::mesh::joinStrips(strips, StripJoin::Restart).size(),
            vexa::mesh::joinStrips(strips, StripJoin::Degenerate).size()};
}

bool measuresMemoryOf(const Model& model) {
    return model.triangleCount() > 500'000;
}

std::vector<ModelPtr> takeLargest(const std::vector<ModelPtr>& models, std::size_t count) {
    return {models.begin(), models.begin() + static_cast<std::ptrdiff_t>(std::min(count, models.size()))};
}

ModelPtr findModel(const std::vector<ModelPtr>& models, const std::string& name) {
    const auto found =
        std::find_if(models.begin(), models.end(), [&name](const ModelPtr& model) { return model->name == name; });
    if (found == models.end()) {
        throw std::runtime_error("no model is named " + name);
    }
    return *found;
}

} // namespace bench
