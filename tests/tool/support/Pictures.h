#pragma once

#include "report/Picture.h"

#include <cstddef>
#include <vector>

namespace tool_test {

/// The picture of a mesh that is cut into the given parts.
inline vexa::tool::Picture pictureOf(const std::vector<unsigned int>& triangles,
                                     const std::vector<vexa::mesh::IndexedPrimitive>& parts,
                                     const std::vector<float>& positions,
                                     std::size_t most = vexa::tool::PictureBuilder::maxTriangles) {
    vexa::tool::PictureBuilder builder(most);
    builder.add({"mesh",
                 triangles,
                 {{"Strips", parts}},
                 std::vector<bool>(triangles.size() / 3),
                 vexa::tool::sortedEdges(triangles),
                 positions});
    return builder.finish();
}

} // namespace tool_test
