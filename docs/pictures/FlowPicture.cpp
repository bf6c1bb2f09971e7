#include "FlowPicture.h"

#include <cstddef>
#include <functional>
#include <span>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/JoinOrder.h>
#include <vexa/mesh/detail/strips/StripMonitor.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/flow/ChargeCancelling.h>
#include <vexa/mesh/detail/strips/flow/ChargeFlow.h>
#include <vexa/mesh/detail/strips/flow/FanGraph.h>
#include <vexa/mesh/detail/strips/flow/Labels.h>

namespace pictures {

namespace {

namespace detail = vexa::mesh::detail;

unsigned int startOf(const Patch& patch, detail::HalfEdgeId halfEdge) {
    return patch.triangles[std::size_t{3} * detail::triangleOf(halfEdge) + detail::placeOf(halfEdge)];
}

std::vector<FlowSteps::Charge> listCharges(const Patch& patch, const detail::FanGraph& fans) {
    std::vector<FlowSteps::Charge> charges;
    for (detail::FanId fan = 0; fan < fans.count(); ++fan) {
        if (fans.charge(fan) != 0) {
            charges.push_back({startOf(patch, fans.first(fan)), fans.charge(fan)});
        }
    }
    return charges;
}

std::vector<FlowSteps::Flow> listFlows(const Patch& patch, const detail::StripPartition& partition) {
    std::vector<FlowSteps::Flow> flows;
    for (detail::TriangleId triangle = 0; triangle < partition.count(); ++triangle) {
        for (std::uint32_t place = 0; place < 3; ++place) {
            const detail::HalfEdgeId halfEdge = detail::halfEdgeOf(triangle, place);
            const unsigned int from = startOf(patch, halfEdge);
            const unsigned int to = startOf(patch, detail::nextOf(halfEdge));
            const std::uint32_t units = detail::flowOver(partition[triangle], place);
            const bool isBorder = partition.twin(halfEdge) == partition.border();
            // Labels rise across a half-edge by as much as charge is moved against its direction. Two units one way are
            // one unit the other way, which the half-edge on the other side shows.
            if (units == 1) {
                flows.push_back({to, from});
            } else if (units == 2 && isBorder) {
                flows.push_back({from, to});
            }
        }
    }
    return flows;
}

} // namespace

FlowSteps runFlow(const Patch& patch) {
    FlowSteps steps;
    const std::function<bool(const vexa::mesh::StripProgress&)> unobserved;
    detail::StripMonitor monitor(unobserved);
    const detail::CompactGraph graph = detail::pairEdges(patch.triangles);
    detail::StripPartition partition(graph, patch.triangles, {});
    detail::FanGraph fans(partition, monitor);
    steps.charges = listCharges(patch, fans);
    detail::cancelCharges(partition, fans, monitor);
    steps.flows = listFlows(patch, partition);
    detail::linkByLabels(partition, monitor);
    detail::forEachStrip(patch.triangles, partition, monitor, [&steps](std::span<const unsigned int> indices) {
        steps.strips.push_back({vexa::mesh::TRIANGLE_STRIP, {indices.begin(), indices.end()}});
    });
    return steps;
}

void drawCharges(Svg& svg, const Patch& patch, const Frame& frame, const FlowSteps& steps) {
    for (const FlowSteps::Charge& charge : steps.charges) {
        const Point at = frame(patch.points[charge.vertex]);
        const double arm = 0.12 * frame.scale();
        svg.circle(at, 0.23 * frame.scale(), charge.units == 1 ? "#0969da" : "#cf222e");
        const Point across[] = {{at.x - arm, at.y}, {at.x + arm, at.y}};
        svg.polyline(across, "#fff", 0.07 * frame.scale());
        if (charge.units == 1) {
            const Point upright[] = {{at.x, at.y - arm}, {at.x, at.y + arm}};
            svg.polyline(upright, "#fff", 0.07 * frame.scale());
        }
    }
}

void drawFlow(Svg& svg, const Patch& patch, const Frame& frame, const FlowSteps& steps) {
    for (const FlowSteps::Flow& flow : steps.flows) {
        svg.arrow(frame(patch.points[flow.from]), frame(patch.points[flow.to]), "#8250df", 0.12 * frame.scale());
    }
}

} // namespace pictures
