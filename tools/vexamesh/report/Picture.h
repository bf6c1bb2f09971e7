#pragma once

#include "ops/Edges.h"
#include "ops/StripFile.h"
#include "report/PartColours.h"

#include <cstdint>
#include <glm/mat4x4.hpp>
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
};

/// The triangles in the order in which strips draw them.
struct Drawing {
    std::string name;
    std::vector<Part> parts;
    std::vector<std::uint32_t> order; ///< per triangle its place among those of the input
    /// Per level a colour for each part: at level 0 neighbours differ, at higher ones whole groups of neighbouring parts
    /// have one colour. All primitives have all levels.
    std::vector<std::vector<std::uint8_t>> colours;
};

/// A primitive's share of the picture, in the order of `Picture::primitives`.
struct PicturePrimitive {
    std::string name;
    std::uint32_t triangles = 0; ///< shown
    std::uint32_t vertices = 0;
    std::uint32_t borderEdges = 0;
    std::uint32_t nonManifoldEdges = 0;
    std::vector<glm::dmat4> placements; ///< from its coordinates to the scene's, once for each place where it is drawn
};

/// The strips at the end of a pass of the search.
struct PictureStep {
    std::string name;
    std::uint64_t indices = 0;
    std::size_t drawing = 0; ///< position in `Picture::drawings`
};

/// The model of a 3D view. Triangles are in the order of the first drawing, which is that of the report's strips.
struct Picture {
    std::vector<PicturePrimitive> primitives;
    std::vector<Drawing> drawings;          ///< those of steps are the last
    std::vector<PictureStep> steps;         ///< ends with the strips of the report; empty if they are not shown
    std::vector<float> positions;           ///< of the vertices that are used, in coordinates of their primitive
    std::vector<std::uint32_t> corners;     ///< three vertices per triangle
    std::vector<std::uint32_t> splitOff;    ///< triangles that the half-edge graph keeps out of its strips
    std::vector<std::uint32_t> borderEdges; ///< two vertices per edge
    std::vector<std::uint32_t> nonManifoldEdges;
    std::size_t triangles = 0;        ///< of the whole model; `corners` may hold fewer
    std::size_t hiddenPlacements = 0; ///< places of primitives beyond what is drawn

    [[nodiscard]] std::size_t shownTriangles() const { return corners.size() / 3; }
    [[nodiscard]] bool isWhole() const { return shownTriangles() == triangles; }
};

/// The parts that a primitive is cut into, in one of several ways.
struct PictureCut {
    std::string name;
    const std::vector<mesh::IndexedPrimitive>& parts;
};

/// A primitive on its way into the picture.
struct PictureSource {
    std::string name;
    const std::vector<unsigned int>& triangles; ///< of the input, without degenerate ones
    std::vector<PictureCut> cuts;               ///< of these triangles; as many for every primitive
    const std::vector<bool>& isSplitOff;        ///< per triangle of the input
    const std::vector<EdgeUse>& edges;          ///< of the triangles
    const std::vector<float>& positions;        ///< three per vertex; missing ones are 0
    std::vector<glm::dmat4> placements = {glm::dmat4(1)};
};

/// Collects primitives until the picture holds as many triangles as it may.
class PictureBuilder {
public:
    /// Triangles that a picture holds at most.
    static constexpr std::size_t maxTriangles = 2'000'000;
    /// Triangles that are drawn at most, each as often as it is placed; every primitive is placed at least once.
    static constexpr std::size_t maxDrawn = 4'000'000;
    /// Number of colours that distinguish parts.
    static constexpr std::uint32_t colours = partPalette.size();
    /// Number of levels of colours. The groups of level l hold 16 * 4^l triangles or more where they can.
    static constexpr std::size_t levels = 6;

    explicit PictureBuilder(std::size_t most = maxTriangles) : most_(most) {}

    void add(const PictureSource& source);

    /// The picture of all primitives. Only the first drawing can be drawn in part, so others are left out then.
    [[nodiscard]] Picture finish();

private:
    std::size_t most_;
    std::size_t drawn_ = 0;
    Picture picture_;
};

} // namespace vexa::tool
