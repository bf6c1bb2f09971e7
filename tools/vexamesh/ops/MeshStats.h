#pragma once

#include "io/Document.h"
#include "ops/Edges.h"

#include <array>
#include <limits>
#include <map>
#include <optional>

namespace vexa::tool {

/// The box around positions, in the numbers that are stored: normalised integers are not scaled.
struct Box {
    std::array<double, 3> min;
    std::array<double, 3> max;
    std::size_t notFinite = 0; ///< positions with an infinite or NaN component; they do not count

    Box();
    void add(const AccessorData& positions);
    void add(const Box& other);
    [[nodiscard]] bool isEmpty() const { return !(min[0] <= max[0]); }
};

/// Boxes of accessors, each computed once: thousands of primitives may share their vertices.
class BoxCache {
public:
    explicit BoxCache(const Document& document) : document_(document) {}

    const Box& boxOf(std::size_t accessor);

private:
    const Document& document_;
    std::map<std::size_t, Box> boxes_;
};

/// Facts about a primitive.
struct PrimitiveStats {
    std::size_t count = 0; ///< points, lines or triangles that are drawn, degenerate ones included
    bool hasTriangles = false;
    std::size_t degenerate = 0; ///< triangles with two equal corners
    EdgeCounts edges;           ///< of the other triangles
    std::optional<Box> box;     ///< nothing without positions
};

PrimitiveStats describePrimitive(const Primitive& primitive, BoxCache& boxes);

/// "byte", "unsigned short", ..., or "none" for a primitive whose file has no indices.
std::string indexTypeText(const Primitive& primitive);

/// Bytes of a primitive's indices in its file.
std::size_t indexBytes(const Primitive& primitive);

} // namespace vexa::tool
