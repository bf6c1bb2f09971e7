#pragma once

#include "PatchMesh.h"
#include "StripPicture.h"
#include "Svg.h"

#include <cstdint>
#include <vector>
#include <vexa/mesh/Strips.h>

namespace pictures {

/// The stages of the effort 2 search on a patch, up to the one before tunnelling.
struct FlowSteps {
    struct Charge {
        unsigned int vertex;
        std::uint32_t units; ///< 1 or 2
    };
    /// One unit of charge that is moved along an edge.
    struct Flow {
        unsigned int from;
        unsigned int to;
    };

    std::vector<Charge> charges;
    std::vector<Flow> flows;
    std::vector<vexa::mesh::IndexedPrimitive> strips; ///< straight from the labels
};

FlowSteps runFlow(const Patch& patch);

/// Draws the vertices with a charge as signs: plus for 1, minus for 2.
void drawCharges(Svg& svg, const Patch& patch, const Frame& frame, const FlowSteps& steps);

/// Draws the edges along which charge flows.
void drawFlow(Svg& svg, const Patch& patch, const Frame& frame, const FlowSteps& steps);

} // namespace pictures
