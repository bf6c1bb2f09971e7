#pragma once

#include <cstddef>
#include <vector>

namespace vexa::tool {

/// Triangles of a mesh with vertices of their own.
struct VertexRegion {
    std::vector<unsigned int> vertices;  ///< numbers in the mesh, each once
    std::vector<unsigned int> triangles; ///< three positions in `vertices` each
};

/// Divides triangles into regions of at most `maxVertices` vertices. They grow around a triangle, so that few vertices
/// belong to several.
///
/// \param triangles three vertices each
/// \param vertices  number of vertices
std::vector<VertexRegion> growRegions(const std::vector<unsigned int>& triangles, std::size_t vertices,
                                      std::size_t maxVertices);

} // namespace vexa::tool
