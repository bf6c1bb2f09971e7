#pragma once

#include "io/Document.h"

#include <cstddef>
#include <glm/mat4x4.hpp>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vexa::tool {

/// The skins of a document, in the pose that its nodes have. A skin places the vertices of a mesh by its joints; the
/// place of the node that shows the mesh does not count.
class Skins {
public:
    /// Leaves out malformed skins, with a warning.
    ///
    /// \throw FormatError the transformation of a node is malformed
    explicit Skins(const Document& document);

    /// Why meshes that the scene shows with a skin have none here, a line each.
    [[nodiscard]] const std::vector<std::string>& warnings() const { return warnings_; }

    /// The skin with which the scene shows a mesh; nothing if it shows the mesh without one, with several, or with and
    /// without one.
    [[nodiscard]] std::optional<std::size_t> skinOf(std::size_t mesh) const;

    /// The accessors of the joints and of their weights that the vertices of a primitive have, four joints to a pair.
    [[nodiscard]] static std::vector<std::pair<std::size_t, std::size_t>> weightsOf(const Primitive& primitive);

    /// Moves vertices from the coordinates of their primitive to those of the scene. Those without weights stay.
    ///
    /// \param positions three per vertex
    /// \throw FormatError joints or weights are malformed
    void place(std::size_t skin, const Primitive& primitive, std::vector<float>& positions) const;

private:
    [[nodiscard]] std::vector<glm::dmat4> jointMatrices(std::size_t skin,
                                                        const std::map<std::size_t, glm::dmat4>& nodes) const;

    const Document& document_;
    std::vector<std::string> warnings_;
    std::vector<std::optional<std::size_t>> skins_;         ///< of each mesh
    std::map<std::size_t, std::vector<glm::dmat4>> joints_; ///< of each skin that is shown: from its mesh to the scene
};

} // namespace vexa::tool
