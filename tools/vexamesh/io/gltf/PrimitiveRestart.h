#pragma once

#include "base/Json.h"

#include <algorithm>
#include <functional>
#include <vector>
#include <vexa/mesh/Types.h>

namespace vexa::tool {

/// Two extensions of glTF are about restart indices, the largest value of an index type, which core glTF forbids.
///
/// `KHR_mesh_primitive_restart` permits them in the indices of strips, fans, line strips and line loops. A file that
/// holds some requires it.
constexpr const char* restartExtension = "KHR_mesh_primitive_restart";

/// `EXT_mesh_primitive_restart` lists groups of primitives on a mesh. Each group names an accessor with the indices of
/// all its primitives, restart indices between them, so that a reader that knows the extension draws the group at once;
/// any other draws the primitives one by one. Their accessors may lie inside that of the group, so that nothing is
/// stored twice.
constexpr const char* restartGroupExtension = "EXT_mesh_primitive_restart";

/// Stands for the restart index of any type in decoded indices, as in the library.
constexpr unsigned int decodedRestart = 4294967295U;

/// The restart index of an unsigned type.
unsigned int restartIndexOf(mesh::ComponentType type);

/// Whether the indices of a primitive may hold restart indices.
bool allowsRestart(const Json& document, const Json& primitive);

/// Whether restarts are defined for the mode of a primitive.
bool canRestart(const Json& primitive);

/// Earlier versions of this program wrote groups under the name of the KHR extension, and that name also on primitives.
/// Brings both into the published form.
void updateRestartExtensions(Json& document);

/// Adds a group of the primitives `first` to `first + count - 1`.
void addRestartGroup(Json& mesh, std::size_t first, std::size_t count, std::size_t accessor);

/// The accessors of a mesh's groups.
std::vector<std::size_t> restartGroupAccessors(const Json& mesh);

/// Removes the groups of a mesh whose primitives change.
///
/// \return the accessors that they named
std::vector<std::size_t> removeRestartGroups(Json& mesh);

/// Lists each of the two extensions if the document uses it, and otherwise not; the KHR extension as required.
///
/// \param holdsRestarts whether an accessor of indices holds restart indices
void listRestartExtensions(Json& document, const std::function<bool(std::size_t)>& holdsRestarts);

/// Decoded indices without the restart indices.
std::vector<unsigned int> withoutRestarts(std::vector<unsigned int> indices);

/// Calls `visit(begin, end)` with each part of decoded indices between restart indices.
template <typename Visit>
void forEachRun(const std::vector<unsigned int>& indices, const Visit& visit) {
    for (auto begin = indices.begin();;) {
        const auto end = std::find(begin, indices.end(), decodedRestart);
        visit(begin, end);
        if (end == indices.end()) {
            return;
        }
        begin = end + 1;
    }
}

} // namespace vexa::tool
