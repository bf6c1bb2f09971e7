#pragma once

#include "io/Json.h"

#include <algorithm>
#include <vector>
#include <vexa/mesh/Types.h>

namespace vexa::tool {

/// The extension of glTF about restart indices: the largest value of an index type, which core glTF does not allow.
///
/// A mesh lists groups of its primitives in it. Each group names an accessor with the indices of all its primitives,
/// restart indices between them, so that a reader who knows the extension draws the group at once; any other reader
/// draws the primitives one by one. Their accessors lie inside that of the group, and nothing is stored twice.
/// Files that say so may also hold restart indices in the primitives themselves.
constexpr const char* restartExtension = "KHR_mesh_primitive_restart";

/// Stands for a restart index of any type in decoded indices, as the library wants it.
constexpr unsigned int decodedRestart = 4294967295U;

/// The restart index of an unsigned type.
unsigned int restartIndexOf(mesh::ComponentType type);

/// Whether the indices of a primitive may hold restart indices: the document or the primitive has the extension, and
/// the primitive is of a kind that can begin anew.
bool allowsRestart(const Json& document, const Json& primitive);

/// The groups of a mesh, empty when it has none.
const Json& restartGroups(const Json& mesh);

/// Adds a group of the primitives `first` to `first + count - 1`.
void addRestartGroup(Json& mesh, std::size_t first, std::size_t count, std::size_t accessor);

/// Removes the groups of a mesh, whose primitives change.
///
/// \return the accessors that they named
std::vector<std::size_t> removeRestartGroups(Json& mesh);

/// Notes at a primitive that it holds restart indices, or that it does not.
void markRestart(Json& primitive, bool restarts);

/// Lists the extension among those that the document uses if a mesh or a primitive has it, and otherwise nowhere.
void listRestartExtension(Json& document);

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
