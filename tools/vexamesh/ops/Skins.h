#pragma once

#include "io/Document.h"

#include <glm/mat4x4.hpp>
#include <map>
#include <optional>
#include <vector>

namespace vexa::tool {

/// The skins of a document, in the pose that its nodes have. A skin places the vertices of a mesh by its joints; the
/// place of the node that shows the mesh does not count.
class Skins {
public:
    /// \throw FormatError a skin that the scene shows is malformed
    explicit Skins(const Document& document);

    /// The skin with which the scene shows a mesh; nothing if it shows the mesh without one, or with several.
    [[nodiscard]] std::optional<std::size_t> skinOf(std::size_t mesh) const;

    /// Moves vertices from the coordinates of their primitive to those of the scene. Those without weights stay.
    ///
    /// \param positions three per vertex
    /// \throw FormatError joints or weights are malformed
    void place(std::size_t skin, const Primitive& primitive, std::vector<float>& positions) const;

private:
    [[nodiscard]] std::vector<glm::dmat4> jointMatrices(std::size_t skin,
                                                        const std::map<std::size_t, glm::dmat4>& nodes) const;

    const Document& document_;
    std::vector<std::optional<std::size_t>> skins_;         ///< of each mesh
    std::map<std::size_t, std::vector<glm::dmat4>> joints_; ///< of each skin that is shown: from its mesh to the scene
};

} // namespace vexa::tool
