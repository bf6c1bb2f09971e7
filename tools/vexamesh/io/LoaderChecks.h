#pragma once

#include "io/Bytes.h"

#include <optional>

namespace vexa::tool {

// Checks that a file holds what it announces, before a loader makes room for it or guesses what is missing. Each throws
// FormatError, which says where, and takes time linear in the size of the file, whatever the file says. What a format
// allows and its loader does not understand they put as the loader wants it.

/// The entries of each element of a PLY file. A header that cannot be understood is left to the loader.
void checkPly(const Bytes& content);

/// The facets of an STL file, binary or text.
///
/// \return what to load: text in small letters, without blanks before it; nothing for the content itself
std::optional<Bytes> checkStl(const Bytes& content);

/// The vertices and faces of an OFF file.
///
/// \return what to load: the content without comments and empty lines
Bytes checkOff(const Bytes& content);

} // namespace vexa::tool
