#pragma once

#include "io/Document.h"
#include "ops/ReadBack.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// The edges of a mesh.
struct EdgeStats {
    std::string name;
    std::size_t triangles = 0;
    std::size_t edges = 0;
    std::size_t border = 0;
    std::size_t written = 0;
};

struct EdgeLines {
    Bytes file; ///< binary glTF
    std::vector<EdgeStats> meshes;
    FindFault findFault;
};

/// Replaces each primitive of triangles by the lines of its edges, every edge once. Primitives without such edges are
/// removed, and so are meshes that become empty.
///
/// \param borderOnly only the edges that two triangles do not share
/// \throw FileError the result would be larger than 4 GiB, or cannot be made without breaking an unknown extension
EdgeLines replaceByEdges(Document document, bool borderOnly);

} // namespace vexa::tool
