#include "report/Picture.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <stdexcept>

namespace vexa::tool {

namespace {

constexpr std::uint32_t notUsed = std::numeric_limits<std::uint32_t>::max();

using Corners = std::array<unsigned int, 3>;

/// A triangle from its lowest corner on, which is the same wherever a primitive begins to draw it.
Corners cornersOf(const std::vector<unsigned int>& triangles, std::size_t index) {
    Corners corners{triangles[3 * index], triangles[3 * index + 1], triangles[3 * index + 2]};
    std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
    return corners;
}

std::vector<std::uint32_t> sortedTriangles(const std::vector<unsigned int>& triangles) {
    std::vector<std::uint32_t> order(triangles.size() / 3);
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return std::pair(cornersOf(triangles, a), a) < std::pair(cornersOf(triangles, b), b);
    });
    return order;
}

/// For each triangle of `built` the triangle of `input` that it is.
std::vector<std::uint32_t> matchTriangles(const std::vector<unsigned int>& built,
                                          const std::vector<unsigned int>& input) {
    const std::vector<std::uint32_t> from = sortedTriangles(built);
    const std::vector<std::uint32_t> to = sortedTriangles(input);
    std::vector<std::uint32_t> result(from.size());
    for (std::size_t i = 0; i < from.size(); ++i) {
        if (i >= to.size() || cornersOf(built, from[i]) != cornersOf(input, to[i])) {
            throw std::logic_error("the strips do not hold the triangles of the input");
        }
        result[from[i]] = to[i];
    }
    return result;
}

/// Parts in the order in which they were built: fans, strips, the batch; each kind was handed out newest first.
std::vector<const mesh::IndexedPrimitive*> inOrderOfBuilding(const std::vector<mesh::IndexedPrimitive>& parts) {
    std::vector<const mesh::IndexedPrimitive*> result;
    for (const auto type : {mesh::TRIANGLE_FAN, mesh::TRIANGLE_STRIP, mesh::TRIANGLES}) {
        for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
            if (part->type == type && !part->indices.empty()) {
                result.push_back(&*part);
            }
        }
    }
    return result;
}

Part describePart(const mesh::IndexedPrimitive& source, std::size_t triangles) {
    Part part;
    part.kind = source.type == mesh::TRIANGLE_STRIP ? PartKind::Strip
                : source.type == mesh::TRIANGLE_FAN ? PartKind::Fan
                                                    : PartKind::LeftOver;
    part.triangles = static_cast<std::uint32_t>(triangles);
    part.indices = static_cast<std::uint32_t>(source.indices.size());
    part.swaps = part.kind == PartKind::Strip ? part.indices - 2 - part.triangles : 0;
    return part;
}

/// A cut of a primitive, decoded.
struct BuiltTriangles {
    std::vector<unsigned int> corners; ///< in the order of building
    std::vector<std::uint32_t> partOf;
    std::vector<std::uint32_t> inputOf;
    std::vector<Part> parts;
};

BuiltTriangles decodeCut(const PictureCut& cut, const std::vector<unsigned int>& input) {
    BuiltTriangles built;
    built.corners.reserve(input.size());
    for (const mesh::IndexedPrimitive* part : inOrderOfBuilding(cut.parts)) {
        const std::vector<unsigned int> triangles = mesh::toTriangles(part->type, part->indices);
        built.corners.insert(built.corners.end(), triangles.begin(), triangles.end());
        built.partOf.resize(built.corners.size() / 3, static_cast<std::uint32_t>(built.parts.size()));
        built.parts.push_back(describePart(*part, triangles.size() / 3));
    }
    built.inputOf = matchTriangles(built.corners, input);
    return built;
}

/// Adds a primitive to a picture, with at most `room` of its triangles.
class Contribution {
public:
    Contribution(const PictureSource& source, Picture& picture, std::size_t room)
        : source_(source), picture_(picture), room_(room) {}

    void add() {
        firstVertex_ = picture_.positions.size() / 3;
        picture_.drawings.resize(source_.cuts.size());
        for (std::size_t i = 0; i < source_.cuts.size(); ++i) {
            const BuiltTriangles built = decodeCut(source_.cuts[i], source_.triangles);
            if (i == 0) {
                addTriangles(built);
            }
            addDrawing(built, source_.cuts[i].name, picture_.drawings[i]);
        }
        primitive_.name = source_.name;
        primitive_.triangles = static_cast<std::uint32_t>(shown_);
        primitive_.vertices = static_cast<std::uint32_t>(picture_.positions.size() / 3 - firstVertex_);
        picture_.primitives.push_back(std::move(primitive_));
        picture_.triangles += source_.triangles.size() / 3;
    }

private:
    std::uint32_t vertexFor(unsigned int index) {
        if (index >= vertexOf_.size()) {
            vertexOf_.resize(std::size_t{index} + 1, notUsed);
        }
        if (vertexOf_[index] == notUsed) {
            vertexOf_[index] = static_cast<std::uint32_t>(picture_.positions.size() / 3);
            for (std::size_t c = 0; c < 3; ++c) {
                const std::size_t at = 3 * std::size_t{index} + c;
                picture_.positions.push_back(at < source_.positions.size() ? source_.positions[at] : 0);
            }
        }
        return vertexOf_[index];
    }

    void addTriangles(const BuiltTriangles& built) {
        shown_ = std::min(room_, built.inputOf.size());
        for (std::size_t i = 0; i < shown_; ++i) {
            if (source_.isSplitOff[built.inputOf[i]]) {
                picture_.splitOff.push_back(static_cast<std::uint32_t>(picture_.shownTriangles()));
            }
            for (std::size_t c = 0; c < 3; ++c) {
                picture_.corners.push_back(vertexFor(built.corners[3 * i + c]));
            }
        }
        addEdges(built);
    }

    void addEdges(const BuiltTriangles& built) {
        std::vector<bool> isShown(built.inputOf.size());
        for (std::size_t i = 0; i < shown_; ++i) {
            isShown[built.inputOf[i]] = true;
        }
        forEachEdge(source_.edges, [&](const EdgeUse* first, const EdgeUse* last) {
            const auto count = last - first;
            if (count == 2 || std::none_of(first, last, [&](const EdgeUse& use) { return isShown[use.triangle]; })) {
                return;
            }
            auto& edges = count == 1 ? picture_.borderEdges : picture_.nonManifoldEdges;
            ++(count == 1 ? primitive_.borderEdges : primitive_.nonManifoldEdges);
            for (const std::uint32_t end : first->ends()) {
                edges.push_back(vertexFor(end));
            }
        });
    }

    void addDrawing(const BuiltTriangles& built, const std::string& name, Drawing& drawing) const {
        drawing.name = name;
        addColours(built, drawing);
        std::size_t room = shown_;
        for (Part part : built.parts) {
            part.primitive = static_cast<std::uint32_t>(picture_.primitives.size());
            part.shown = static_cast<std::uint32_t>(std::min<std::size_t>(room, part.triangles));
            room -= part.shown;
            drawing.parts.push_back(part);
        }
        const auto offset = static_cast<std::uint32_t>(picture_.triangles);
        for (std::size_t i = 0; i < shown_; ++i) {
            drawing.order.push_back(offset + built.inputOf[i]);
        }
    }

    void addColours(const BuiltTriangles& built, Drawing& drawing) const {
        std::vector<std::uint32_t> groupOf(built.inputOf.size());
        for (std::size_t i = 0; i < built.inputOf.size(); ++i) {
            groupOf[built.inputOf[i]] = built.partOf[i];
        }
        std::vector<std::uint32_t> groupOfPart(built.parts.size());
        std::iota(groupOfPart.begin(), groupOfPart.end(), 0U);
        std::size_t groups = built.parts.size();
        std::size_t triangles = 16;
        drawing.colours.resize(PictureBuilder::levels);
        for (std::vector<std::uint8_t>& level : drawing.colours) {
            if (&level != &drawing.colours.front()) {
                triangles *= 4;
                const std::vector<std::uint32_t> joined = groupParts(source_.edges, groupOf, groups, triangles);
                const auto join = [&](std::uint32_t group) { return joined[group]; };
                std::transform(groupOf.begin(), groupOf.end(), groupOf.begin(), join);
                std::transform(groupOfPart.begin(), groupOfPart.end(), groupOfPart.begin(), join);
                groups = joined.empty() ? 0 : *std::max_element(joined.begin(), joined.end()) + std::size_t{1};
            }
            const std::vector<std::uint8_t> colours =
                colourParts(source_.edges, groupOf, groups, PictureBuilder::colours, picture_.primitives.size());
            std::transform(groupOfPart.begin(), groupOfPart.end(), std::back_inserter(level),
                           [&](std::uint32_t group) { return colours[group]; });
        }
    }

    const PictureSource& source_;
    Picture& picture_;
    PicturePrimitive primitive_;
    std::size_t room_;
    std::size_t shown_ = 0;
    std::size_t firstVertex_ = 0;
    std::vector<std::uint32_t> vertexOf_;
};

} // namespace

void PictureBuilder::add(const PictureSource& source) {
    const std::size_t shown = picture_.shownTriangles();
    Contribution(source, picture_, most_ - std::min(most_, shown)).add();
    PicturePrimitive& primitive = picture_.primitives.back();
    for (const glm::dmat4& placement : source.placements) {
        if (primitive.placements.empty() || drawn_ + primitive.triangles <= maxDrawn) {
            primitive.placements.push_back(placement);
            drawn_ += primitive.triangles;
        } else {
            ++picture_.hiddenPlacements;
        }
    }
}

Picture PictureBuilder::finish() {
    if (!picture_.isWhole() && picture_.drawings.size() > 1) {
        picture_.drawings.resize(1);
    }
    return std::move(picture_);
}

} // namespace vexa::tool
