#include "vexa/mesh/Strips.h"

#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace vexa::mesh {

namespace {

/// The triangles of a list without restart indices.
void decode(PrimitiveType type, std::span<const unsigned int> indices, std::vector<unsigned int>& triangles) {
    const std::size_t step = type == TRIANGLES ? 3 : 1;
    for (std::size_t i = 0; i + 2 < indices.size(); i += step) {
        const unsigned int first = type == TRIANGLE_FAN ? indices[0] : indices[i];
        unsigned int second = indices[i + 1];
        unsigned int third = indices[i + 2];
        if (detail::isCollapsed(first, second, third)) {
            continue;
        }
        if (type == TRIANGLE_STRIP && i % 2 != 0) {
            std::swap(second, third);
        }
        triangles.insert(triangles.end(), {first, second, third});
    }
}

/// The whole triangles of a list, each from its smallest corner, in ascending order.
std::vector<std::array<unsigned int, 3>> canonical(std::span<const unsigned int> indices) {
    std::vector<std::array<unsigned int, 3>> triangles(indices.size() / 3);
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        auto& triangle = triangles[i];
        std::copy_n(indices.begin() + static_cast<std::ptrdiff_t>(3 * i), 3, triangle.begin());
        // The smallest corner may occur twice, so compare all three rotations.
        auto rotated = triangle;
        for (int turn = 0; turn < 2; ++turn) {
            std::rotate(rotated.begin(), rotated.begin() + 1, rotated.end());
            triangle = std::min(triangle, rotated);
        }
    }
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

} // namespace

std::vector<unsigned int> toTriangles(PrimitiveType type, std::span<const unsigned int> indices) {
    if (type != TRIANGLES && type != TRIANGLE_STRIP && type != TRIANGLE_FAN) {
        throw std::invalid_argument("toTriangles: " + getStringForPrimitiveType(type) +
                                    " does not contain triangles; use TRIANGLES, TRIANGLE_STRIP or TRIANGLE_FAN");
    }
    std::vector<unsigned int> triangles;
    for (auto begin = indices.begin(); begin != indices.end();) {
        const auto end = std::find(begin, indices.end(), restartIndex);
        decode(type, {begin, end}, triangles);
        begin = end == indices.end() ? end : end + 1;
    }
    return triangles;
}

bool sameTriangles(std::span<const unsigned int> a, std::span<const unsigned int> b) {
    return a.size() / 3 == b.size() / 3 && canonical(a) == canonical(b);
}

} // namespace vexa::mesh
