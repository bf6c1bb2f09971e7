#pragma once

#include "support/Meshes.h"

#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/StripMonitor.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/flow/ChargeCancelling.h>
#include <vexa/mesh/detail/strips/flow/ChargeFlow.h>
#include <vexa/mesh/detail/strips/flow/FanGraph.h>
#include <vexa/mesh/detail/strips/flow/Labels.h>

#include <cstdint>
#include <functional>

namespace flow {

using namespace vexa::mesh::detail;

/// A mesh on its way from charges to strips.
struct Flow {
    std::function<bool(const vexa::mesh::StripProgress&)> nobody{};
    StripMonitor monitor{nobody};
    StripPartition partition;
    FanGraph fans;

    explicit Flow(const meshes::Indices& mesh) : partition(pairEdges(mesh), mesh), fans(partition, monitor) {}
    void cancel() { cancelCharges(partition, fans, monitor); }
    void link() { linkByLabels(partition, monitor); }

    /// What flows into a fan over its edges, modulo 3.
    [[nodiscard]] std::uint32_t inflow(FanId fan) const {
        std::uint32_t sum = 0;
        for (std::uint32_t place = 0; place < fans.neighbours(fan).size(); ++place) {
            const FanGraph::Spoke spoke = fans.findSpoke(partition, fan, place);
            const std::uint32_t over = flowOver(partition[triangleOf(spoke.halfEdge)], placeOf(spoke.halfEdge));
            sum += spoke.runsAway ? over : 3 - over;
        }
        return sum % 3;
    }
};

} // namespace flow
