#pragma once

#include "io/Document.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// Primitives of a mesh that an edit of indices replaces, or has made.
struct EditedPrimitive {
    std::size_t mesh = 0;
    std::size_t first = 0;
    std::size_t count = 0; ///< neighbours
};

/// Everything of a document that an edit of the indices of some primitives leaves as it is, in a form that compares
/// equal before and after: references to accessors and images are replaced by hashes of their content, wherever in
/// the file that is. Groups of primitives for `KHR_mesh_primitive_restart` are left out.
///
/// \param edited in the order of meshes and primitives; each becomes one primitive without type and indices
Json uneditedContent(const Document& document, const std::vector<EditedPrimitive>& edited);

/// Compares two of them as they are written: text that is not UTF-8 is replaced.
bool isSameContent(const Json& a, const Json& b);

/// The fault of a file whose unedited content differs from that of the input.
constexpr const char* contentFault = "something in it besides the indices would not be as in the input";

} // namespace vexa::tool
