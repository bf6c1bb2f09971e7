#include "ops/Triangles.h"

#include <vexa/mesh/Strips.h>

namespace vexa::tool {

bool hasTriangles(const Primitive& primitive) {
    return primitive.type >= mesh::TRIANGLES;
}

std::vector<unsigned int> graphTriangles(const Primitive& primitive) {
    if (primitive.type != mesh::TRIANGLES) {
        return mesh::toTriangles(primitive.type, primitive.indices);
    }
    std::vector<unsigned int> triangles = primitive.indices;
    triangles.resize(triangles.size() / 3 * 3);
    return triangles;
}

} // namespace vexa::tool
