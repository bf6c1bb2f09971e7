#pragma once

#include "io/Document.h"
#include "ops/EdgeLines.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// Marks the edges of each primitive of triangles by `EXT_mesh_primitive_edge_visibility`: those of the chosen classes as
/// always visible, the others between two triangles that are not in one plane as visible in silhouette, and the rest as
/// hidden. Everything else stays as it is.
///
/// \param choice with classes
/// \throw FileError the result would be larger than 4 GiB, or a primitive of triangles lacks positions
EdgeFile markEdges(Document document, const EdgeChoice& choice);

/// Removes such marks from a document whose triangles are about to change: they belong to the triangles by their order.
///
/// \return what is left out, a line at most
std::vector<std::string> removeEdgeMarks(Document& document);

} // namespace vexa::tool
