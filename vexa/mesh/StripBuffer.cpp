#include "vexa/mesh/StripBuffer.h"

#include "vexa/mesh/detail/strips/CacheOrder.h"
#include "vexa/mesh/detail/strips/JoinOrder.h"
#include "vexa/mesh/detail/strips/PartitionSearch.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <cstddef>
#include <stdexcept>
#include <string>

namespace vexa::mesh {

namespace {

using detail::StripMonitor;
using detail::StripPartition;

void checkOptions(const char* caller, const StripBufferOptions& options) {
    if (options.effort > detail::maxEffort) {
        throw std::invalid_argument(std::string(caller) + ": effort " + std::to_string(options.effort) +
                                    " is not supported; the highest is " + std::to_string(detail::maxEffort));
    }
    if (!(options.microsecondsPerTriangle >= 0)) {
        throw std::invalid_argument(std::string(caller) + ": " + std::to_string(options.microsecondsPerTriangle) +
                                    " microseconds per triangle are not a time; give 0 or more");
    }
}

/// Strips of a greedy search that happen to begin where the one before ended need no joint in their plain order. That
/// outweighs a better search only in small meshes and regular ones.
bool canPlainOrderWin(std::size_t triangleCount, std::size_t indexCount) {
    return triangleCount < 16384 || indexCount < triangleCount + triangleCount / 16;
}

std::vector<unsigned int> joinByDegenerates(std::span<const unsigned int> triangles, StripPartition& partition,
                                            const StripBufferOptions& options, StripMonitor& monitor) {
    std::vector<unsigned int> joined = detail::joinPartition(triangles, partition, StripJoin::Degenerate, monitor);
    if (options.maxTriangles != 0 || !canPlainOrderWin(triangles.size() / 3, joined.size())) {
        return joined;
    }
    std::vector<unsigned int> plain =
        joinStrips(buildPrimitives(triangles, {.allStrips = true}), StripJoin::Degenerate);
    return plain.size() < joined.size() ? plain : joined;
}

} // namespace

std::vector<unsigned int> buildStripBuffer(std::span<const unsigned int> triangles, const StripBufferOptions& options) {
    detail::checkTriangles("buildStripBuffer", triangles);
    checkOptions("buildStripBuffer", options);
    StripMonitor monitor(options.onProgress);
    StripPartition partition = detail::searchPartition(triangles, options, monitor);
    monitor.startPhase(StripPhase::Joining, 1);
    if (options.forVertexCache) {
        return joinStrips(detail::orderForCache(triangles, partition, monitor), options.join);
    }
    return options.join == StripJoin::Degenerate
               ? joinByDegenerates(triangles, partition, options, monitor)
               : detail::joinPartition(triangles, partition, StripJoin::Restart, monitor);
}

std::vector<IndexedPrimitive> buildStrips(std::span<const unsigned int> triangles, const StripBufferOptions& options) {
    detail::checkTriangles("buildStrips", triangles);
    checkOptions("buildStrips", options);
    StripMonitor monitor(options.onProgress);
    StripPartition partition = detail::searchPartition(triangles, options, monitor);
    monitor.startPhase(StripPhase::Joining, 1);
    if (options.forVertexCache) {
        return detail::orderForCache(triangles, partition, monitor);
    }
    std::vector<IndexedPrimitive> strips;
    detail::forEachStrip(triangles, partition, monitor, [&strips](std::span<const unsigned int> indices) {
        strips.push_back({TRIANGLE_STRIP, {indices.begin(), indices.end()}});
    });
    return strips;
}

} // namespace vexa::mesh
