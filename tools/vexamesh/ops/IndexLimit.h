#pragma once

#include "io/Document.h"

namespace vexa::tool {

/// Gives a document indices of at most 8 or 16 bits, without the largest value, which restarts strips. Primitives of
/// triangles that name too many vertices are split into several, each with its own copies of the vertices that it uses;
/// attributes, morph targets, material and variants go along. Others only get narrower indices.
///
/// \param document is replaced
/// \param bits     8 or 16
/// \throw FileError  a primitive of lines or points names too many vertices, or an extension may refer to vertices; the
///                   result would be larger than 4 GiB
/// \throw CheckError a split primitive, read back, has not the triangles or vertices that it had
void limitIndices(Document& document, unsigned int bits);

} // namespace vexa::tool
