#pragma once

#include "io/AssetBuilder.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vexa::tool {

/// Polygons, edges or single points over shared vertices. Values may belong to a corner or to a whole face, too.
struct FaceSet {
    std::vector<unsigned int> corners;          ///< the vertices of all faces, one face after the other
    std::vector<unsigned int> sizes;            ///< corners of each face; 2: a line, 1: a point
    std::vector<NewAttribute> cornerAttributes; ///< an element for each entry of `corners`
    std::vector<NewAttribute> faceAttributes;   ///< an element for each entry of `sizes`
    std::optional<std::size_t> material;
};

/// Turns faces into primitives: polygons into triangles, faces of two corners into lines, of one into points.
///
/// glTF has values for vertices only. So a vertex is split where the values of its corners and faces differ; corners that
/// agree in their vertex and in all values remain one. A single set without such values keeps the vertices as they are.
///
/// \param vertexAttributes positions first, as floats; at least as many elements as `corners` name
/// \param leftOut          gets a line if some of the vertices are used by no face and therefore missing
std::vector<NewPrimitive> makePrimitives(const std::vector<NewAttribute>& vertexAttributes,
                                         std::span<const FaceSet> sets, std::vector<std::string>& leftOut);

/// All vertices as points.
NewPrimitive makePoints(std::vector<NewAttribute> vertexAttributes);

/// The listed elements of an attribute, in that order; one may be listed more than once.
NewAttribute gather(const NewAttribute& attribute, std::span<const std::size_t> elements);

} // namespace vexa::tool
