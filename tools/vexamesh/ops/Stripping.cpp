#include "Stripping.h"

#include "Logging.h"

#include <chrono>
#include <iterator>
#include <utility>
#include <vexa/mesh/HalfEdgeGraph.h>

namespace vexa::tool {

namespace {

using mesh::IndexedPrimitive;

/// Each triangle of a list as a strip of its own.
void appendSingles(const std::vector<unsigned int>& triangles, std::vector<IndexedPrimitive>& strips) {
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        strips.push_back({mesh::TRIANGLE_STRIP, {triangles[i], triangles[i + 1], triangles[i + 2]}});
    }
}

std::vector<IndexedPrimitive> joinAll(std::vector<IndexedPrimitive> primitives) {
    std::vector<IndexedPrimitive> result;
    std::vector<IndexedPrimitive> strips;
    for (IndexedPrimitive& primitive : primitives) {
        if (primitive.type == mesh::TRIANGLE_FAN) {
            result.push_back(std::move(primitive));
        } else if (primitive.type == mesh::TRIANGLE_STRIP) {
            strips.push_back(std::move(primitive));
        } else {
            appendSingles(primitive.indices, strips);
        }
    }
    if (!strips.empty()) {
        result.push_back({mesh::TRIANGLE_STRIP, mesh::joinStrips(strips, mesh::StripJoin::Degenerate)});
    }
    return result;
}

/// The primitives as the graph finds them, which tells of its passes in log records. It splits triangles off at edges of
/// more than two, and so gives other primitives there than `buildPrimitives`: then these are taken.
std::vector<IndexedPrimitive> searchWithRecords(const std::vector<unsigned int>& triangles,
                                                const StripSettings& settings) {
    mesh::HalfEdgeGraph graph;
    graph.addTriangles(triangles.data(), triangles.size());
    if (graph.claimedTriangles.first != nullptr) {
        return mesh::buildPrimitives(triangles, settings.options);
    }
    std::size_t done = 0;
    {
        const LogCapture capture([&](const std::string& line) {
            if (line.find("cost/best/worst") != std::string::npos) {
                settings.onPass(++done, settings.options.iterations);
            }
        });
        graph.calcOptPrim(settings.options.iterations, settings.options.buildStrips, settings.options.buildFans,
                          settings.options.minFanTriangles, settings.options.allStrips);
    }
    std::vector<IndexedPrimitive> primitives;
    IndexedPrimitive primitive{};
    for (int type = graph.getPrimitive(primitive.indices, 0); type != 0;
         type = graph.getPrimitive(primitive.indices, 0)) {
        primitive.type = static_cast<mesh::PrimitiveType>(type);
        primitives.push_back(std::move(primitive));
        primitive = {};
    }
    return primitives;
}

StripResult cutTriangles(const std::vector<unsigned int>& triangles, const StripSettings& settings) {
    StripResult result;
    const bool tells = settings.onPass && settings.options.iterations > 1;
    std::vector<IndexedPrimitive> primitives =
        tells ? searchWithRecords(triangles, settings) : mesh::buildPrimitives(triangles, settings.options);
    for (const IndexedPrimitive& primitive : primitives) {
        result.strips += primitive.type == mesh::TRIANGLE_STRIP ? 1 : 0;
        result.fans += primitive.type == mesh::TRIANGLE_FAN ? 1 : 0;
        result.leftOver += primitive.type == mesh::TRIANGLES ? primitive.indices.size() / 3 : 0;
    }
    if (settings.keepParts) {
        result.parts = primitives;
    }
    if (settings.joining == Joining::Degenerate) {
        primitives = joinAll(std::move(primitives));
    }
    result.primitives = std::move(primitives);
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

} // namespace

StripResult stripTriangles(mesh::PrimitiveType type, const std::vector<unsigned int>& indices,
                           const StripSettings& settings) {
    const std::vector<unsigned int> triangles = mesh::toTriangles(type, indices);
    const auto begin = std::chrono::steady_clock::now();
    StripResult result = cutTriangles(triangles, settings);
    if (settings.options.iterations > 1) {
        StripSettings onePass = settings;
        onePass.options.iterations = 1;
        StripResult other = cutTriangles(triangles, onePass);
        // The search knows nothing of what joining costs.
        if (countIndices(other) < countIndices(result)) {
            result = std::move(other);
        }
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    result.triangles = triangles.size() / 3;
    // In a strip or a fan they only join its parts.
    result.degenerate = type == mesh::TRIANGLES ? indices.size() / 3 - result.triangles : 0;
    return result;
}

} // namespace vexa::tool
