#include "cases/Cases.h"

#include <algorithm>
#include <stdexcept>

namespace bench {

int roundsFor(const Model& model) {
    return model.triangleCount() > 200'000 ? 5 : 9;
}

bool measuresMemoryOf(const Model& model) {
    return model.triangleCount() > 500'000;
}

std::vector<ModelPtr> largest(const std::vector<ModelPtr>& models, std::size_t count) {
    return {models.begin(), models.begin() + static_cast<std::ptrdiff_t>(std::min(count, models.size()))};
}

ModelPtr findModel(const std::vector<ModelPtr>& models, const std::string& name) {
    const auto found =
        std::find_if(models.begin(), models.end(), [&name](const ModelPtr& model) { return model->name == name; });
    if (found == models.end()) {
        throw std::runtime_error("there is no model " + name);
    }
    return *found;
}

} // namespace bench
