#pragma once

#include "io/Document.h"
#include "support/SmallModels.h"

namespace tool_test {

/// A model as the tool reads it.
inline vexa::tool::Document documentOf(const GltfModel& model, const std::string& name = "model.glb") {
    const std::string file = model.glb();
    return vexa::tool::loadDocument(vexa::tool::Bytes(file.begin(), file.end()), name);
}

} // namespace tool_test
