#include "MeshFacts.h"

#include "io/PrimitiveRestart.h"

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
    least.fill(std::numeric_limits<double>::infinity());
    largest.fill(-std::numeric_limits<double>::infinity());
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
            least[c] = std::min(least[c], position[c]);
            largest[c] = std::max(largest[c], position[c]);
        }
    }
}

void Box::add(const Box& other) {
    for (std::size_t c = 0; c < 3; ++c) {
        least[c] = std::min(least[c], other.least[c]);
        largest[c] = std::max(largest[c], other.largest[c]);
    }
    notFinite += other.notFinite;
}

PrimitiveFacts describePrimitive(const Document& document, const Primitive& primitive) {
    PrimitiveFacts facts;
    facts.count = countPrimitives(primitive);
    facts.hasTriangles = primitive.type >= mesh::TRIANGLES;
    if (facts.hasTriangles) {
        const std::vector<unsigned int> triangles = mesh::toTriangles(primitive.type, primitive.indices);
        facts.degenerate = facts.count - triangles.size() / 3;
        facts.edges = countEdges(triangles);
    }
    if (const Attribute* position = primitive.findAttribute("POSITION")) {
        facts.box.emplace();
        facts.box->add(readAccessor(document.asset, position->accessor));
    }
    return facts;
}

std::string indexTypeText(const Primitive& primitive) {
    return primitive.indexAccessor ? mesh::getStringForComponentType(primitive.indexType) : "none";
}

std::size_t indexBytes(const Primitive& primitive) {
    return primitive.indexAccessor ? primitive.indices.size() * mesh::getComponentSizeInBytes(primitive.indexType) : 0;
}

} // namespace vexa::tool
