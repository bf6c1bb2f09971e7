#include "ops/MeshStats.h"

#include "io/gltf/PrimitiveRestart.h"

#include <algorithm>
#include <cmath>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

std::size_t countOf(mesh::PrimitiveType type, std::size_t indices) {
    switch (type) {
    case mesh::POINTS:
        return indices;
    case mesh::LINES:
        return indices / 2;
    case mesh::LINE_LOOP:
        return indices < 2 ? 0 : indices;
    case mesh::LINE_STRIP:
        return indices < 2 ? 0 : indices - 1;
    case mesh::TRIANGLES:
        return indices / 3;
    case mesh::TRIANGLE_STRIP:
    case mesh::TRIANGLE_FAN:
        return indices < 3 ? 0 : indices - 2;
    }
    return 0;
}

std::size_t countPrimitives(const Primitive& primitive) {
    std::size_t count = 0;
    forEachRun(primitive.indices,
               [&](auto begin, auto end) { count += countOf(primitive.type, static_cast<std::size_t>(end - begin)); });
    return count;
}

} // namespace

Box::Box() {
    min.fill(std::numeric_limits<double>::infinity());
    max.fill(-std::numeric_limits<double>::infinity());
}

void Box::add(const AccessorData& positions) {
    for (std::size_t i = 0; i < positions.count; ++i) {
        const std::array<double, 3> position{positions.component(i, 0), positions.component(i, 1),
                                             positions.component(i, 2)};
        if (!std::all_of(position.begin(), position.end(), [](double value) { return std::isfinite(value); })) {
            ++notFinite;
            continue;
        }
        for (std::size_t c = 0; c < 3; ++c) {
            min[c] = std::min(min[c], position[c]);
            max[c] = std::max(max[c], position[c]);
        }
    }
}

void Box::add(const Box& other) {
    for (std::size_t c = 0; c < 3; ++c) {
        min[c] = std::min(min[c], other.min[c]);
        max[c] = std::max(max[c], other.max[c]);
    }
    notFinite += other.notFinite;
}

const Box& BoxCache::boxOf(std::size_t accessor) {
    const auto [entry, isNew] = boxes_.try_emplace(accessor);
    if (isNew) {
        entry->second.add(readAccessor(document_.asset, accessor));
    }
    return entry->second;
}

PrimitiveStats describePrimitive(const Primitive& primitive, BoxCache& boxes) {
    PrimitiveStats stats;
    stats.count = countPrimitives(primitive);
    stats.hasTriangles = primitive.type >= mesh::TRIANGLES;
    if (stats.hasTriangles) {
        const std::vector<unsigned int> triangles = mesh::toTriangles(primitive.type, primitive.indices);
        stats.degenerate = stats.count - triangles.size() / 3;
        stats.edges = countEdges(triangles);
    }
    if (const Attribute* position = primitive.findAttribute("POSITION")) {
        stats.box = boxes.boxOf(position->accessor);
    }
    return stats;
}

std::string indexTypeText(const Primitive& primitive) {
    return primitive.indexAccessor ? mesh::getStringForComponentType(primitive.indexType) : "none";
}

std::size_t indexBytes(const Primitive& primitive) {
    return primitive.indexAccessor ? primitive.indices.size() * mesh::getComponentSizeInBytes(primitive.indexType) : 0;
}

} // namespace vexa::tool
