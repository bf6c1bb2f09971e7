#pragma once

#include "io/Document.h"
#include "ops/Skins.h"

#include <cstddef>
#include <glm/mat4x4.hpp>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vexa::tool {

/// Positions of primitives, and where the scene shows them.
class ScenePositions {
public:
    using Values = std::shared_ptr<const std::vector<float>>;

    /// \throw FormatError the transformation of a node or an instance is malformed
    explicit ScenePositions(const Document& document);

    /// Why meshes are drawn without their skins; see `Skins::warnings`.
    [[nodiscard]] const std::vector<std::string>& warnings() const { return skins_.warnings(); }

    /// Where a mesh is shown; once, as it is, if the scene leaves it out, or if a skin has placed its vertices.
    [[nodiscard]] std::vector<glm::dmat4> placements(std::size_t mesh) const;

    /// Three floats per vertex; values that are not finite become 0, so that they can be drawn. Primitives whose vertices
    /// are the same, and in the same places, share them.
    ///
    /// \throw FormatError positions, joints or weights are malformed
    [[nodiscard]] Values read(std::size_t mesh, const Primitive& primitive);

private:
    const Document& document_;
    Skins skins_;
    std::vector<std::vector<glm::dmat4>> placements_;
    /// By the accessor of the positions and, where a skin places them, the skin and the accessors of joints and weights.
    std::map<std::vector<std::size_t>, Values> known_;
};

} // namespace vexa::tool
