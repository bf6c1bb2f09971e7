#include "vexa/mesh/StripBound.h"

#include "vexa/mesh/detail/strips/TriangleList.h"
#include "vexa/mesh/detail/strips/bound/Certificate.h"
#include "vexa/mesh/detail/strips/bound/CostSplit.h"
#include "vexa/mesh/detail/strips/bound/StarLayout.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

namespace vexa::mesh {

namespace {

using detail::StarLayout;

/// Passes on how far the sweeps are, every few milliseconds.
class SweepMonitor {
public:
    explicit SweepMonitor(const BoundOptions& options) : options_(options) {}

    bool poll(double part) {
        if (!options_.onProgress || Clock::now() < nextCall_) {
            return true;
        }
        nextCall_ = Clock::now() + std::chrono::milliseconds(20);
        return options_.onProgress(part);
    }

private:
    using Clock = std::chrono::steady_clock;

    const BoundOptions& options_;
    Clock::time_point nextCall_;
};

std::vector<unsigned int> withoutCollapsed(std::span<const unsigned int> triangles) {
    std::vector<unsigned int> rest;
    rest.reserve(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        if (!detail::isCollapsed(&triangles[i])) {
            rest.insert(rest.end(), {triangles[i], triangles[i + 1], triangles[i + 2]});
        }
    }
    return rest;
}

bool hasCollapsed(std::span<const unsigned int> triangles) {
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        if (detail::isCollapsed(&triangles[i])) {
            return true;
        }
    }
    return false;
}

/// What the strips of triangles without collapsed ones cost at least, beyond one index per triangle.
std::uint64_t minStripCost(std::span<const unsigned int> triangles, StripJoin join, const BoundOptions& options,
                           detail::WorkTeam& team) {
    // A strip costs two indices to begin with, and its restart index.
    const std::int32_t stripCost = join == StripJoin::Restart ? 3 : 2;
    const detail::EdgeCosts costs(static_cast<std::int16_t>(stripCost * detail::costUnit / 2));
    const StarLayout layout = detail::listStars(triangles, team);
    detail::CostSplit<detail::MinPlusMatrix> split(layout, costs, team);
    SweepMonitor monitor(options);
    split.sweepMany(options.sweeps, [&](double part) { return monitor.poll(part); });
    const std::uint64_t cost =
        detail::certifyCost(layout, costs, split.tables(), static_cast<std::uint64_t>(stripCost));
    // Between strips that share no vertex stands one index more than a strip costs at least, whatever the join.
    return join == StripJoin::Restart ? cost : cost + layout.groupCount() - 1;
}

std::uint64_t countLeast(std::span<const unsigned int> triangles, StripJoin join, const BoundOptions& options,
                         detail::WorkTeam& team) {
    if (triangles.size() / 3 > StarLayout::maxTriangles) {
        throw std::length_error("minIndexCount: " + std::to_string(triangles.size() / 3) +
                                " triangles are more than the supported " + std::to_string(StarLayout::maxTriangles));
    }
    detail::checkTriangles("minIndexCount", triangles);
    std::vector<unsigned int> rest;
    if (hasCollapsed(triangles)) {
        rest = withoutCollapsed(triangles);
        triangles = rest;
    }
    if (triangles.empty()) {
        return 0;
    }
    // The last strip has no restart index.
    return triangles.size() / 3 + minStripCost(triangles, join, options, team) - (join == StripJoin::Restart ? 1 : 0);
}

} // namespace

std::uint64_t minIndexCount(std::span<const unsigned int> triangles, StripJoin join, const BoundOptions& options) {
    detail::WorkTeam team(detail::threadsFor(triangles.size() / 3, options.threads));
    return countLeast(triangles, join, options, team);
}

std::uint64_t minIndexCount(std::span<const unsigned int> triangles, StripJoin join, const BoundOptions& options,
                            const Executor& executor) {
    detail::WorkTeam team(executor, detail::tasksFor(triangles.size() / 3, options.threads));
    return countLeast(triangles, join, options, team);
}

} // namespace vexa::mesh
