#pragma once

#include "io/AssetBuilder.h"
#include "io/Document.h"

#include <glm/mat4x4.hpp>

namespace vexa::tool {

/// Copies the cameras and lights that the scene of a document shows into an asset that is being built, each to a node of
/// its own. glTF takes their place and direction from their nodes and ignores the scale, and so do the copies: where a
/// placement mirrors, a camera goes on looking at the same side of the scene.
class SceneCopier {
public:
    explicit SceneCopier(AssetBuilder& builder) : builder_(builder) {}

    /// \param placement from the document's scene to the common one
    /// \throw FormatError a node, a camera or a light is malformed, or its place is not finite
    void add(const Document& document, const glm::dmat4& placement);

    /// Writes the lights.
    void finish();

private:
    AssetBuilder& builder_;
    Json lights_ = Json::array();
};

} // namespace vexa::tool
