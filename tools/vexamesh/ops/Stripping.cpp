#include "ops/Stripping.h"

#include "base/Text.h"
#include "ops/StripParts.h"
#include "process/MemoryClaims.h"

#include <chrono>
#include <span>
#include <utility>
#include <vexa/mesh/StripBound.h>

namespace vexa::tool {

namespace {

using mesh::IndexedPrimitive;

/// Triangles up to which the bound takes about a tenth of a second and is proven unasked.
constexpr std::size_t maxUnaskedBound = 20'000;

/// One in so many triangles must be in no strip for a list of these to save much.
constexpr std::size_t maxListedShare = 32;

/// How strips are separated, or what a strip costs besides its own indices.
mesh::StripJoin joinOf(Joining joining) {
    return joining == Joining::Degenerate ? mesh::StripJoin::Degenerate : mesh::StripJoin::Restart;
}

bool isJoined(Joining joining) {
    return joining == Joining::Degenerate || joining == Joining::Restart;
}

/// Strips, and what they become if the search has joined them in its own order already.
struct Cut {
    std::vector<IndexedPrimitive> parts;
    std::vector<unsigned int> joined;
};

Cut cutInPasses(std::span<const unsigned int> triangles, const StripSettings& settings) {
    mesh::StripOptions options = *settings.passes;
    options.allStrips = settings.allStrips;
    Cut cut{mesh::buildPrimitives(triangles, options), {}};
    if (settings.search.maxTriangles != 0) {
        limitStrips(cut.parts, settings.search.maxTriangles);
    }
    return cut;
}

Cut cutByEffort(std::span<const unsigned int> triangles, const StripSettings& settings) {
    mesh::StripBufferOptions options = settings.search;
    options.join = joinOf(settings.joining);
    if (settings.onProgress) {
        options.onProgress = [&](const mesh::StripProgress& progress) {
            settings.onProgress("search", progress.fraction);
            return true;
        };
    }
    Cut cut;
    if (settings.joining == Joining::Degenerate) {
        cut.joined = mesh::buildStripBuffer(triangles, options);
        cut.parts = splitAtJoints(cut.joined);
    } else {
        cut.parts = mesh::buildStrips(triangles, options);
    }
    return cut;
}

StripResult cutTriangles(std::span<const unsigned int> triangles, const StripSettings& settings) {
    Cut cut = settings.passes ? cutInPasses(triangles, settings) : cutByEffort(triangles, settings);
    if (!settings.allStrips) {
        listSingles(cut.parts);
    }
    StripResult result;
    countParts(cut.parts, result);
    if (settings.keepParts) {
        result.parts = cut.parts;
    }
    const bool isCut = result.strips + result.fans > 0;
    if (isCut && isJoined(settings.joining) && result.leftOver * maxListedShare >= triangles.size() / 3) {
        result.withList = joinParts(cut.parts, joinOf(settings.joining), true);
    }
    if (!cut.joined.empty()) {
        result.primitives.push_back({mesh::TRIANGLE_STRIP, std::move(cut.joined)});
    } else if (isJoined(settings.joining)) {
        result.primitives = joinParts(std::move(cut.parts), joinOf(settings.joining), false);
    } else {
        result.primitives = std::move(cut.parts);
    }
    std::erase_if(result.primitives, [](const IndexedPrimitive& primitive) { return primitive.indices.empty(); });
    return result;
}

std::size_t countIndices(const StripResult& result) {
    std::size_t count = 0;
    for (const IndexedPrimitive& primitive : result.primitives) {
        count += primitive.indices.size();
    }
    return count;
}

/// Bytes that a search takes for each triangle at least, with its result: a tenth less than for any mesh that was measured.
std::size_t minBytesPerTriangle(const StripSettings& settings) {
    return settings.passes ? 20 : settings.search.effort < 2 ? 31 : 42;
}

StripResult cutBest(std::span<const unsigned int> triangles, const StripSettings& settings) {
    StripResult result = cutTriangles(triangles, settings);
    if (settings.passes && settings.passes->iterations > 1) {
        StripSettings onePass = settings;
        onePass.passes->iterations = 1;
        onePass.passes->onPass = {};
        StripResult other = cutTriangles(triangles, onePass);
        // The search does not know what joining costs.
        if (countIndices(other) < countIndices(result)) {
            result = std::move(other);
        }
    }
    return result;
}

} // namespace

void StripSettings::silence() {
    onProgress = {};
    if (passes) {
        passes->onPass = {};
    }
}

StripResult stripTriangles(mesh::PrimitiveType type, const std::vector<unsigned int>& indices,
                           const StripSettings& settings) {
    const std::vector<unsigned int> triangles = mesh::toTriangles(type, indices);
    const MemoryClaim claim(triangles.size() / 3 * minBytesPerTriangle(settings),
                            "cutting " + counted(triangles.size() / 3, "triangle") + " into strips");
    const auto begin = std::chrono::steady_clock::now();
    StripResult result = cutBest(triangles, settings);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    result.triangles = triangles.size() / 3;
    // In a strip or a fan they only join its parts.
    result.degenerate = type == mesh::TRIANGLES ? indices.size() / 3 - result.triangles : 0;
    if (settings.provesMin.value_or(triangles.size() / 3 <= maxUnaskedBound)) {
        mesh::BoundOptions options;
        options.threads = settings.search.threads;
        options.onProgress = [&](double fraction) {
            if (settings.onProgress) {
                settings.onProgress("bound", fraction);
            }
            return true;
        };
        result.minIndices = minStripIndices(triangles, settings.joining, options);
    }
    return result;
}

void countParts(const std::vector<IndexedPrimitive>& parts, StripResult& result) {
    result.strips = result.fans = result.leftOver = 0;
    for (const IndexedPrimitive& part : parts) {
        result.strips += part.type == mesh::TRIANGLE_STRIP ? 1 : 0;
        result.fans += part.type == mesh::TRIANGLE_FAN ? 1 : 0;
        result.leftOver += part.type == mesh::TRIANGLES ? part.indices.size() / 3 : 0;
    }
}

std::uint64_t minStripIndices(const std::vector<unsigned int>& triangles, Joining joining,
                              const mesh::BoundOptions& options) {
    const std::uint64_t bound = mesh::minIndexCount(triangles, joinOf(joining), options);
    if (joining != Joining::None || bound == 0) {
        return bound;
    }
    // Strips of n triangles in all that repeat r vertices to turn have n + 2 k + r indices if there are k of them, and
    // n + 3 k + r - 1 >= bound with restart indices: 3 (n + 2 k + r) >= n + 2 (n + 3 k + r) >= n + 2 (bound + 1).
    const std::size_t count = triangles.size() / 3;
    return (count + 2 * (bound + 1) + 2) / 3;
}

} // namespace vexa::tool
