#include "vexa/mesh/detail/elements/Indices.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace vexa::mesh::detail {

namespace {

/// The largest index of a type that can be a vertex; 0 for any type that is not an integer type.
unsigned int maxVertexOf(ComponentType type) {
    switch (type) {
    case BYTE:
        return 127;
    case UNSIGNED_BYTE:
        return 254;
    case SHORT:
        return 32767;
    case UNSIGNED_SHORT:
        return 65534;
    case INT:
        return 2147483647;
    case UNSIGNED_INT:
        return restartIndex - 1;
    case FLOAT:
        break;
    }
    return 0;
}

} // namespace

unsigned long allOnesOf(ComponentType type) {
    switch (type) {
    case UNSIGNED_BYTE:
        return 255;
    case UNSIGNED_SHORT:
        return 65535;
    case BYTE:
    case SHORT:
    case INT:
        return std::numeric_limits<unsigned long>::max();
    default:
        return restartIndex;
    }
}

ComponentType indexTypeFor(IndexWidth width, ComponentType kept, unsigned long vertexCount) {
    const auto holdsAll = [vertexCount](ComponentType type) { return vertexCount <= maxVertexOf(type) + 1UL; };
    switch (width) {
    case IndexWidth::Bits8:
        return UNSIGNED_BYTE;
    case IndexWidth::Bits16:
        return UNSIGNED_SHORT;
    case IndexWidth::Bits32:
        return UNSIGNED_INT;
    case IndexWidth::Keep:
        if (holdsAll(kept)) {
            return kept;
        }
        break;
    case IndexWidth::Narrowest:
        break;
    }
    return holdsAll(UNSIGNED_SHORT) ? UNSIGNED_SHORT : UNSIGNED_INT;
}

void requireIndicesFit(const char* caller, ComponentType type, std::span<const unsigned int> indices) {
    const unsigned int maxVertex = maxVertexOf(type);
    if (maxVertex == 0) {
        throw std::invalid_argument(caller + (": the index buffer has component type " + std::to_string(type)) +
                                    "; use one of the integer types, BYTE (5120) to UNSIGNED_INT (5125)");
    }
    // One more wraps the restart index around to 0. Without an early exit the loop runs in registers of many lanes.
    unsigned int isAnyAbove = 0;
    for (const unsigned int index : indices) {
        isAnyAbove |= static_cast<unsigned int>(index + 1 > maxVertex + 1);
    }
    if (isAnyAbove != 0) {
        const auto isAbove = [maxVertex](unsigned int index) { return index + 1 > maxVertex + 1; };
        const auto first = std::find_if(indices.begin(), indices.end(), isAbove);
        throw std::length_error(caller + (": index " + std::to_string(*first)) + " at " +
                                std::to_string(first - indices.begin()) + " does not fit: the largest vertex of type " +
                                getStringForComponentType(type) + " is " + std::to_string(maxVertex) +
                                "; use wider indices, or split the mesh");
    }
}

} // namespace vexa::mesh::detail
