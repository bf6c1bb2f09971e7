#pragma once

#include "report/Picture.h"

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>

namespace vexa::tool {

/// The direction in which a picture's first view looks from, as seen from the model's centre: from the front right and
/// above, unless the model then shows mostly the back of its triangles, as open surfaces may, or has its details on
/// another side, as models do whose front is not where glTF has it.
///
/// \return of length 1
glm::dvec3 homeDirection(const Picture& picture);

/// Calls `visit(triangle, corners)` for each triangle of a picture where it is drawn, with its corners in the scene.
template <typename Visit>
void forEachDrawnTriangle(const Picture& picture, const Visit& visit) {
    std::size_t triangle = 0;
    for (const PicturePrimitive& primitive : picture.primitives) {
        for (const glm::dmat4& placement : primitive.placements) {
            for (std::size_t i = triangle; i < triangle + primitive.triangles; ++i) {
                glm::dvec3 corners[3];
                for (std::size_t c = 0; c < 3; ++c) {
                    const float* position = picture.positions.data() + 3 * std::size_t{picture.corners[3 * i + c]};
                    corners[c] = glm::dvec3(placement * glm::dvec4(position[0], position[1], position[2], 1));
                }
                visit(i, corners);
            }
        }
        triangle += primitive.triangles;
    }
}

} // namespace vexa::tool
