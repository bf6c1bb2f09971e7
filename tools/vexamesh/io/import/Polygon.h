#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace vexa::tool {

using Point = std::array<double, 3>;

/// Cuts a polygon into triangles by clipping ears; a convex one becomes a fan around its first corner.
///
/// \param corners at least three, about in one plane
/// \return as many triangles as there are corners, less two, in the winding of the polygon; where its edges cross, some
///         of them overlap
std::vector<std::array<std::size_t, 3>> triangulatePolygon(std::span<const Point> corners);

} // namespace vexa::tool
