#pragma once

#include "io/Bytes.h"

namespace vexa::tool {

// Checks that a file holds what it announces, before a loader makes room for it or guesses what is missing. Each throws
// FormatError, which says where, and takes time linear in the size of the file, whatever the file says.

/// The entries of each element of a PLY file. A header that cannot be understood is left to the loader.
void checkPly(const Bytes& content);

/// The facets of an STL file, binary or text.
void checkStl(const Bytes& content);

/// The vertices and faces of an OFF file.
void checkOff(const Bytes& content);

} // namespace vexa::tool
