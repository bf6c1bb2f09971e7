#pragma once

#include "PatchMesh.h"
#include "StripPicture.h"
#include "Svg.h"

#include <vector>
#include <vexa/mesh/Strips.h>

namespace pictures {

/// A cost at a place on a patch.
struct LocalCost {
    Point at;
    double indices;
};

/// The cost of strips beyond one index per triangle: half of a strip's three at either end, one at each swap.
std::vector<LocalCost> costsOf(const Patch& patch, const std::vector<vexa::mesh::IndexedPrimitive>& strips);

/// The cost that the triangles around each vertex prove, which together are the lower bound on that of any strips.
std::vector<LocalCost> provenCosts(const Patch& patch);

/// Draws each cost as a disc of that area.
void drawCosts(Svg& svg, const Frame& frame, const std::vector<LocalCost>& costs, const std::string& colour);

/// The sum, for a caption.
double sumOf(const std::vector<LocalCost>& costs);

} // namespace pictures
