#pragma once

#include "io/Document.h"
#include "ops/ReadBack.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <vexa/mesh/AttributeBuffer.h>
#include <vexa/mesh/Edges.h>

namespace vexa::tool {

/// The edges of a mesh.
struct EdgeStats {
    std::string name;
    std::size_t triangles = 0;
    std::size_t edges = 0;
    std::size_t border = 0;
    std::size_t crease = 0; ///< these three of classified edges only
    std::size_t seam = 0;
    std::size_t nonManifold = 0;
    std::size_t written = 0;
    std::size_t silhouettes = 0; ///< edges that are visible from some sides only
};

struct EdgeFile {
    Bytes file; ///< binary glTF
    std::vector<EdgeStats> meshes;
    FindFault findFault;
};

/// The edges that are written.
struct EdgeChoice {
    bool borderOnly = false;                     ///< only those that two triangles do not share
    std::optional<mesh::EdgeClass> classes = {}; ///< only those of these classes; equal positions then are one vertex
    double creaseAngle = 30;                     ///< in degrees
};

/// The positions of a primitive as floats, under the name "position".
///
/// \throw FileError it has none
std::shared_ptr<mesh::AttributeBuffer> positionsToClassify(const Document& document, const Primitive& primitive,
                                                           const std::string& meshName);

/// Adds the edges of each class to those of a mesh.
void countClasses(const std::vector<mesh::ClassifiedEdge>& edges, EdgeStats& stats);

/// The crease angle in radians.
mesh::EdgeOptions edgeOptions(const EdgeChoice& choice);

/// The classes in a list such as "border,crease".
///
/// \throw UsageError there is another word in it
mesh::EdgeClass parseEdgeClasses(const std::string& text);

/// Replaces each primitive of triangles by the lines of its edges, every edge once. Primitives without such edges are
/// removed, and so are meshes that become empty.
///
/// \throw FileError the result would be larger than 4 GiB, or cannot be made without breaking an unknown extension, or
///                  edges of primitives without positions are to be classified
EdgeFile replaceByEdges(Document document, const EdgeChoice& choice);

} // namespace vexa::tool
