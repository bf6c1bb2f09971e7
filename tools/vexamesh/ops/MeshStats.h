#pragma once

#include "Edges.h"
#include "io/Document.h"

#include <array>
#include <limits>
#include <optional>

namespace vexa::tool {

/// The box around positions, in the numbers that are stored: normalised integers are not scaled.
struct Box {
    std::array<double, 3> least;
    std::array<double, 3> largest;
    std::size_t notFinite = 0; ///< positions with an infinite component or one that is no number; they do not count

    Box();
    void add(const AccessorData& positions);
    void add(const Box& other);
    [[nodiscard]] bool isEmpty() const { return !(least[0] <= largest[0]); }
};

/// What can be said about a primitive.
struct PrimitiveFacts {
    std::size_t count = 0; ///< points, lines or triangles that are drawn, degenerate ones included
    bool hasTriangles = false;
    std::size_t degenerate = 0; ///< triangles with two equal corners
    EdgeCounts edges;           ///< of the other triangles
    std::optional<Box> box;     ///< nothing without positions
};

PrimitiveFacts describePrimitive(const Document& document, const Primitive& primitive);

/// "byte", "unsigned short", ..., or "none" for a primitive whose file has no indices.
std::string indexTypeText(const Primitive& primitive);

/// Bytes of a primitive's indices in its file.
std::size_t indexBytes(const Primitive& primitive);

} // namespace vexa::tool
