#pragma once

#include "io/Document.h"
#include "ops/Edges.h"
#include "ops/StripFile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vexa::tool {

enum class PartKind : std::uint8_t { Strip, Fan, LeftOver };

/// A strip, a fan or a left-over batch. Its triangles follow those of the preceding part.
struct Part {
    PartKind kind = PartKind::Strip;
    std::uint32_t primitive = 0; ///< position in `Picture::primitives`
    std::uint32_t triangles = 0;
    std::uint32_t indices = 0;
    std::uint32_t swaps = 0; ///< repeated vertices within a strip
    std::uint32_t shown = 0; ///< triangles of it that are in the picture
    std::uint8_t colour = 0;
};

/// The model of a 3D view: triangles in the order in which the strips were built, and the parts that they belong to.
struct Picture {
    std::vector<std::string> primitives;
    std::vector<Part> parts;
    std::vector<float> positions;           ///< of the vertices that are used, in the scene's coordinates
    std::vector<std::uint32_t> corners;     ///< three vertices per triangle
    std::vector<std::uint32_t> inputOrder;  ///< per triangle its place among those of the input
    std::vector<std::uint32_t> splitOff;    ///< triangles that the half-edge graph keeps out of its strips
    std::vector<std::uint32_t> borderEdges; ///< two vertices per edge
    std::vector<std::uint32_t> nonManifoldEdges;
    std::size_t triangles = 0; ///< of the whole model; `corners` may hold fewer
    bool isPlaced = true;      ///< false: some mesh is in no scene, or in several places

    [[nodiscard]] std::size_t shownTriangles() const { return corners.size() / 3; }
};

/// A primitive on its way into the picture.
struct PictureSource {
    std::string name;
    const std::vector<unsigned int>& triangles;       ///< of the input, without degenerate ones
    const std::vector<mesh::IndexedPrimitive>& parts; ///< as cut from these
    const std::vector<bool>& isSplitOff;              ///< per triangle of the input
    const std::vector<EdgeUse>& edges;                ///< of the triangles
    const std::vector<float>& positions;              ///< three per vertex; missing ones are 0
};

/// Collects primitives until the picture holds as many triangles as it may.
class PictureBuilder {
public:
    /// Triangles that a picture holds at most.
    static constexpr std::size_t maxTriangles = 2'000'000;
    /// Number of colours that distinguish parts.
    static constexpr std::uint32_t colours = 12;

    explicit PictureBuilder(std::size_t most = maxTriangles) : most_(most) {}

    void add(const PictureSource& source);

    [[nodiscard]] Picture& picture() { return picture_; }

private:
    std::size_t most_;
    Picture picture_;
};

} // namespace vexa::tool
