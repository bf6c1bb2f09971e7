#include "vexa/mesh/StripBuffer.h"

#include "vexa/mesh/detail/strips/CacheOrder.h"
#include "vexa/mesh/detail/strips/JoinOrder.h"
#include "vexa/mesh/detail/strips/ManyLists.h"
#include "vexa/mesh/detail/strips/PartitionSearch.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

namespace vexa::mesh {

namespace {

using detail::FoundPartition;
using detail::StripMonitor;
using detail::StripPartition;
using detail::TriangleId;

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

constexpr std::uint64_t nothingShorter = std::numeric_limits<std::uint64_t>::max();

/// No result of a lower effort has fewer indices than this.
///
/// \param count the indices of this effort
std::uint64_t leastOfLowerEfforts(std::span<const unsigned int> triangles, const FoundPartition& found,
                                  const StripBufferOptions& options, std::uint64_t count, const detail::Poll& poll) {
    if (options.forVertexCache) {
        // The strips are cut too short for a difference to matter, unless the mesh falls into small pieces.
        constexpr TriangleId manyTriangles = 16384;
        return found.partition.count() >= manyTriangles ? nothingShorter : 0;
    }
    // Where strips are cut to a length, that can make up for any difference.
    if (options.maxTriangles != 0) {
        return 0;
    }
    return found.lowerEffortsNeed ? *found.lowerEffortsNeed
                                  : detail::countLowerEfforts(triangles, found.partition, options.join, count, poll);
}

/// The threads that the options ask for.
detail::WorkTeam startTeam(std::span<const unsigned int> triangles, const StripBufferOptions& options) {
    return detail::WorkTeam(detail::threadsFor(triangles.size() / 3, options.threads));
}

/// Writes the strips of an effort, and those of lower efforts as long as they may need fewer indices.
///
/// \param write writes a partition whose lengths are limited
/// \param count the number of indices of what is written
/// \return the shortest of what was written, and what `buildPrimitives` needs at least, joined in the same way
template <class Write, class Count>
auto writeShortest(std::span<const unsigned int> triangles, const StripBufferOptions& options, detail::WorkTeam& team,
                   Write write, Count count, const detail::OnPassEnd* onPassEnd = nullptr) {
    StripMonitor monitor(options.onProgress, onPassEnd);
    std::pair<decltype(write(std::declval<StripPartition&>(), monitor)), std::uint64_t> best;
    auto& [shortest, least] = best;
    for (unsigned effort = options.effort;;) {
        FoundPartition found = detail::searchPartition(triangles, effort, options, team, monitor);
        monitor.startPhase(StripPhase::Joining, 0.9);
        detail::limitLengths(found.partition, options, monitor.poller());
        auto written = write(found.partition, monitor);
        if (effort == options.effort || count(written) < count(shortest)) {
            shortest = std::move(written);
        }
        least = leastOfLowerEfforts(triangles, found, options, count(shortest), monitor.poller());
        if (monitor.isStopped()) {
            least = nothingShorter;
        }
        if (effort == 0 || count(shortest) <= least) {
            return best;
        }
        monitor.hidePasses();
        // Efforts 3 and 4 start from the strips of effort 2.
        effort = effort > 2 ? 1 : effort - 1;
    }
}

/// \param triangles, options checked
std::vector<unsigned int> writeBuffer(std::span<const unsigned int> triangles, const StripBufferOptions& options,
                                      detail::WorkTeam& team, const detail::OnPassEnd* onPassEnd = nullptr) {
    const auto write = [&](StripPartition& partition, StripMonitor& monitor) {
        return options.forVertexCache ? joinStrips(detail::orderForCache(triangles, partition, monitor), options.join)
                                      : detail::joinPartition(triangles, partition, options.join, monitor);
    };
    auto [joined, least] = writeShortest(
        triangles, options, team, write, [](const auto& indices) { return indices.size(); }, onPassEnd);
    // In their plain order, strips that happen to begin where the one before ends need no joint.
    if (joined.size() > least && options.join == StripJoin::Degenerate && options.maxTriangles == 0 &&
        !options.forVertexCache) {
        auto plain = joinStrips(buildPrimitives(triangles, {.allStrips = true}), options.join);
        return plain.size() < joined.size() ? plain : joined;
    }
    return joined;
}

} // namespace

std::vector<unsigned int> buildStripBuffer(std::span<const unsigned int> triangles, const StripBufferOptions& options) {
    detail::checkStripTriangles("buildStripBuffer", triangles);
    checkOptions("buildStripBuffer", options);
    detail::WorkTeam team = startTeam(triangles, options);
    return writeBuffer(triangles, options, team);
}

std::vector<unsigned int> buildStripBuffer(std::span<const unsigned int> triangles, const StripBufferOptions& options,
                                           const Executor& executor) {
    detail::checkStripTriangles("buildStripBuffer", triangles);
    checkOptions("buildStripBuffer", options);
    detail::WorkTeam team(executor, detail::tasksFor(triangles.size() / 3, options.threads));
    return writeBuffer(triangles, options, team);
}

std::vector<std::vector<unsigned int>> buildStripBuffer(std::span<const std::span<const unsigned int>> meshes,
                                                        const StripBufferOptions& options, const Executor& executor) {
    checkOptions("buildStripBuffer", options);
    std::vector<std::vector<unsigned int>> buffers(meshes.size());
    detail::forEachList("buildStripBuffer", meshes, executor, [&](std::size_t i) {
        detail::WorkTeam team = startTeam(meshes[i], options);
        buffers[i] = writeBuffer(meshes[i], options, team);
    });
    return buffers;
}

std::vector<IndexedPrimitive> buildStrips(std::span<const unsigned int> triangles, const StripBufferOptions& options) {
    detail::checkStripTriangles("buildStrips", triangles);
    checkOptions("buildStrips", options);
    using Strips = std::vector<IndexedPrimitive>;
    const auto write = [&](StripPartition& partition, StripMonitor& monitor) {
        if (options.forVertexCache) {
            return detail::orderForCache(triangles, partition, monitor);
        }
        Strips strips;
        detail::forEachStrip(triangles, partition, monitor, [&strips](std::span<const unsigned int> indices) {
            strips.push_back({TRIANGLE_STRIP, {indices.begin(), indices.end()}});
        });
        return strips;
    };
    const std::uint64_t joint = options.join == StripJoin::Restart ? 1 : 2;
    const auto count = [joint](const Strips& strips) {
        return std::accumulate(
            strips.begin(), strips.end(), std::uint64_t{0},
            [joint](std::uint64_t sum, const IndexedPrimitive& strip) { return sum + strip.indices.size() + joint; });
    };
    detail::WorkTeam team = startTeam(triangles, options);
    return writeShortest(triangles, options, team, write, count).first;
}

std::vector<unsigned int> traceStripBuffer(std::span<const unsigned int> triangles, const StripBufferOptions& options,
                                           const std::function<void(StripStep)>& onStep) {
    detail::checkStripTriangles("traceStripBuffer", triangles);
    checkOptions("traceStripBuffer", options);
    const detail::OnPassEnd show = [&](StripChange change, StripPartition& partition) {
        // Writing cuts closed loops, which later passes can do without.
        const detail::LinkSnapshot links(partition);
        StripStep step{change, detail::countIndices(triangles, partition, options.join), {}};
        const std::function<bool(const StripProgress&)> silent;
        StripMonitor monitor(silent);
        detail::forEachStrip(triangles, partition, monitor, [&](std::span<const unsigned int> indices) {
            step.strips.push_back({TRIANGLE_STRIP, {indices.begin(), indices.end()}});
        });
        links.restore(partition);
        onStep(std::move(step));
    };
    detail::WorkTeam team = startTeam(triangles, options);
    return writeBuffer(triangles, options, team, &show);
}

} // namespace vexa::mesh
