#pragma once

#include "io/Document.h"

#include <vector>

namespace vexa::tool {

/// Whether a primitive is a list, strip or fan of triangles.
bool hasTriangles(const Primitive& primitive);

/// The triangles of a primitive for the graph: those of a list as they are, degenerate ones included; of a strip or a
/// fan without these, which only join its parts.
std::vector<unsigned int> graphTriangles(const Primitive& primitive);

} // namespace vexa::tool
