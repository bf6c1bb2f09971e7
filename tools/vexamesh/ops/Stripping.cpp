#include "ops/Stripping.h"

#include "io/gltf/PrimitiveRestart.h"

#include <chrono>
#include <iterator>
#include <utility>

namespace vexa::tool {

namespace {

using mesh::IndexedPrimitive;

/// Each triangle of a list as a strip of its own.
void appendSingles(const std::vector<unsigned int>& triangles, std::vector<IndexedPrimitive>& strips) {
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        strips.push_back({mesh::TRIANGLE_STRIP, {triangles[i], triangles[i + 1], triangles[i + 2]}});
    }
}

void appendRestarted(IndexedPrimitive& joined, const std::vector<unsigned int>& indices) {
    if (!joined.indices.empty()) {
        joined.indices.push_back(decodedRestart);
    }
    joined.indices.insert(joined.indices.end(), indices.begin(), indices.end());
}

std::vector<IndexedPrimitive> joinAll(std::vector<IndexedPrimitive> primitives, mesh::StripJoin join) {
    std::vector<IndexedPrimitive> result;
    std::vector<IndexedPrimitive> strips;
    for (IndexedPrimitive& primitive : primitives) {
        if (primitive.type == mesh::TRIANGLE_FAN && join == mesh::StripJoin::Restart && !result.empty()) {
            appendRestarted(result.front(), primitive.indices);
        } else if (primitive.type == mesh::TRIANGLE_FAN) {
            result.push_back(std::move(primitive));
        } else if (primitive.type == mesh::TRIANGLE_STRIP) {
            strips.push_back(std::move(primitive));
        } else {
            appendSingles(primitive.indices, strips);
        }
    }
    if (!strips.empty()) {
        result.push_back({mesh::TRIANGLE_STRIP, mesh::joinStrips(strips, join)});
    }
    return result;
}

StripResult cutTriangles(const std::vector<unsigned int>& triangles, const StripSettings& settings) {
    StripResult result;
    std::vector<IndexedPrimitive> primitives = mesh::buildPrimitives(triangles, settings.options);
    for (const IndexedPrimitive& primitive : primitives) {
        result.strips += primitive.type == mesh::TRIANGLE_STRIP ? 1 : 0;
        result.fans += primitive.type == mesh::TRIANGLE_FAN ? 1 : 0;
        result.leftOver += primitive.type == mesh::TRIANGLES ? primitive.indices.size() / 3 : 0;
    }
    if (settings.keepParts) {
        result.parts = primitives;
    }
    if (settings.joining == Joining::Degenerate || settings.joining == Joining::Restart) {
        primitives = joinAll(std::move(primitives), settings.joining == Joining::Restart ? mesh::StripJoin::Restart
                                                                                         : mesh::StripJoin::Degenerate);
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
        onePass.options.onPass = {};
        StripResult other = cutTriangles(triangles, onePass);
        // The search does not know what joining costs.
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
