#pragma once

#include "io/Document.h"
#include "ops/ReadBack.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// The strips and fans of a mesh, with the lists that belong to them.
struct UnstripStats {
    std::string name;
    std::size_t primitives = 0; ///< that were strips or fans
    std::size_t lists = 0;      ///< that they became
    std::size_t triangles = 0;
    std::size_t indicesBefore = 0;
};

struct UnstrippedFile {
    Bytes file;
    std::vector<UnstripStats> meshes;
    FindFault findFault;
};

/// Replaces strips and fans by lists of their triangles, without those that have two equal corners. Neighbours that differ
/// in nothing but modes and indices become one list, as far as the next list, which is taken to hold the triangles that
/// were in no strip.
///
/// \throw FileError the result would be larger than 4 GiB, or cannot be made without breaking an unknown extension
UnstrippedFile unstripDocument(Document document);

} // namespace vexa::tool
