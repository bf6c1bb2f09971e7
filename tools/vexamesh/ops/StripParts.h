#pragma once

#include <cstdint>
#include <vector>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

/// The strips of a list in which degenerate triangles join them, each beginning at an even position. Degenerate triangles
/// that turn a strip stay in it.
std::vector<mesh::IndexedPrimitive> splitAtJoints(const std::vector<unsigned int>& joined);

/// Replaces strips of more than `maxTriangles` triangles by shorter ones, each beginning at an even position. The other
/// primitives stay.
///
/// \param maxTriangles at least 1
void limitStrips(std::vector<mesh::IndexedPrimitive>& parts, std::uint32_t maxTriangles);

/// Puts the triangles of strips with one triangle into a list at the end, which may be there already.
void listSingles(std::vector<mesh::IndexedPrimitive>& parts);

/// Joins strips and fans, each kind to one primitive if the join permits it.
///
/// \param keepsList whether a list stays one; otherwise each of its triangles is joined as a strip
std::vector<mesh::IndexedPrimitive> joinParts(std::vector<mesh::IndexedPrimitive> parts, mesh::StripJoin join,
                                              bool keepsList);

} // namespace vexa::tool
