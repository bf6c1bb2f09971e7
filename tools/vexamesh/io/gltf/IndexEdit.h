#pragma once

#include "io/Asset.h"

#include <optional>
#include <vector>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

/// The replacement of a primitive of an asset, or of several neighbours that differ in nothing but their modes and
/// indices, by one or more with the same attributes, material and so on.
struct IndexEdit {
    std::size_t mesh = 0;
    std::size_t primitive = 0;
    std::vector<mesh::IndexedPrimitive> replacements; ///< at least one, none empty
    bool groupsStrips = false; ///< the strips, which follow one another, become a group of `EXT_mesh_primitive_restart`
    std::size_t count = 1;     ///< primitives that are replaced
};

/// The result of an edit.
struct EditedIndices {
    std::size_t firstPrimitive = 0; ///< position of its first replacement in the mesh; the others follow
    std::size_t count = 0;
    std::vector<std::size_t> accessors; ///< of the replacements' indices
    std::optional<std::size_t> group;   ///< accessor of the strips' indices with restart indices between them
};

/// Gives primitives other indices, of the narrowest type that holds them. Index accessors that only edited primitives
/// used give their places to the new ones. Accessors and buffer views that are unused after that are removed and the
/// others renumbered, unless an unknown extension might refer to them. Primitives that shared their
/// indices and become the same go on sharing them. The groups of `KHR_mesh_primitive_restart` that a mesh had go with
/// its primitives.
///
/// `asset.json` and `asset.buffers` are changed; `asset.model` is not updated.
///
/// \param edits in the order of meshes and primitives, each of these at most once
/// \throw FormatError an unknown extension refers to a buffer: its bytes cannot be moved
std::vector<EditedIndices> replaceIndices(Asset& asset, const std::vector<IndexEdit>& edits);

} // namespace vexa::tool
