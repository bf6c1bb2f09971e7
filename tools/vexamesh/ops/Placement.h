#pragma once

#include "io/Document.h"

#include <glm/mat4x4.hpp>
#include <string>
#include <vector>

namespace vexa::tool {

/// Matrices from the values of --translate, --scale and --rotate.
///
/// \param text "1,2,3"; for the scale also one number; for the rotation "y,90" (an axis and degrees) or "1,1,0,90"
/// \throw UsageError it has another form
glm::dmat4 parseTranslation(const std::string& text);
glm::dmat4 parseScale(const std::string& text);
glm::dmat4 parseRotation(const std::string& text);

/// A node of the scene of a document.
struct PlacedNode {
    std::size_t node;
    glm::dmat4 matrix; ///< from the node's coordinates to the scene's
};

/// The nodes of the scene that a document shows, parents first; without scenes, all of its nodes.
///
/// \throw FormatError the transformation of a node is malformed
std::vector<PlacedNode> placedNodes(const Document& document);

/// A mesh of a document where a node shows it.
struct MeshInstance {
    std::size_t mesh;
    glm::dmat4 matrix; ///< from the mesh's coordinates to the scene's
};

/// The meshes that the scene of a document shows, each as often as it is shown, which instances of
/// `EXT_mesh_gpu_instancing` do too; all of them, untransformed, when there are no nodes.
///
/// \throw FormatError the transformation of a node or an instance is malformed
std::vector<MeshInstance> meshInstances(const Document& document);

} // namespace vexa::tool
