#pragma once

#include "PatchMesh.h"
#include "Svg.h"

namespace pictures {

/// Draws the triangles around a vertex, the edges that stay closed as bars, and the strips that run through the others.
///
/// The labels rise by one from triangle to triangle, counter-clockwise, so that all edges but one are free: the one
/// between the last triangle and the first shows what the charge of the vertex costs.
///
/// \param count      triangles around the vertex
/// \param firstLabel label of the first triangle: 0 for the spoke towards the last one, 1 for the outer edge, 2 for the
///                   spoke towards the next one
void drawStar(Svg& svg, const Point& centre, double radius, unsigned int count, unsigned int firstLabel);

} // namespace pictures
