#pragma once

#include "io/Json.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vexa::tool {

/// Whether a file that requires this extension can be read here: its meshes' data is where core glTF puts it.
bool isSupportedExtension(std::string_view name);

/// Refuses what cannot be read.
///
/// \throw FormatError names a compression that is used, or a required extension that is not supported
void checkExtensions(const Json& document);

/// What the extensions of a document refer to by number, as far as that can be told.
struct ExtensionReferences {
    std::set<std::size_t> accessors;   ///< referred to for certain, by an extension whose members are known
    std::set<std::uint64_t> anything;  ///< every number inside unknown extensions: each may refer to anything
    std::set<std::string> bufferUsers; ///< unknown extensions that name a buffer
    bool unknown = false;              ///< there are unknown extensions: nothing may be renumbered
};

ExtensionReferences collectExtensionReferences(const Json& document);

/// Rewrites the references in `ExtensionReferences::accessors`.
///
/// \param numbers per accessor its new number
void renumberExtensionAccessors(Json& document, const std::vector<std::size_t>& numbers);

} // namespace vexa::tool
