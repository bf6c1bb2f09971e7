#include "report/Picture.h"

#include "report/PartColours.h"

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

/// A primitive's share of the picture.
class Contribution {
public:
    Contribution(const PictureSource& source, Picture& picture, std::size_t room)
        : source_(source), picture_(picture), room_(room) {}

    void add() {
        decode();
        inputOf_ = matchTriangles(built_, source_.triangles);
        shown_ = std::min(room_, built_.size() / 3);
        colourAndAddParts();
        addTriangles();
        addEdges();
        picture_.triangles += built_.size() / 3;
    }

private:
    void decode() {
        built_.reserve(source_.triangles.size());
        for (const mesh::IndexedPrimitive* part : inOrderOfBuilding(source_.parts)) {
            const std::vector<unsigned int> triangles = mesh::toTriangles(part->type, part->indices);
            built_.insert(built_.end(), triangles.begin(), triangles.end());
            partOf_.resize(built_.size() / 3, static_cast<std::uint32_t>(parts_.size()));
            parts_.push_back(describePart(*part, triangles.size() / 3));
        }
    }

    void colourAndAddParts() {
        std::vector<std::uint32_t> partOfInput(inputOf_.size());
        for (std::size_t i = 0; i < inputOf_.size(); ++i) {
            partOfInput[inputOf_[i]] = partOf_[i];
        }
        const auto colours =
            colourParts(source_.edges, partOfInput, parts_.size(), PictureBuilder::colours, picture_.parts.size());
        std::size_t room = shown_;
        for (std::size_t i = 0; i < parts_.size(); ++i) {
            parts_[i].colour = colours[i];
            parts_[i].primitive = static_cast<std::uint32_t>(picture_.primitives.size());
            parts_[i].shown = static_cast<std::uint32_t>(std::min<std::size_t>(room, parts_[i].triangles));
            room -= parts_[i].shown;
        }
        picture_.parts.insert(picture_.parts.end(), parts_.begin(), parts_.end());
        picture_.primitives.push_back(source_.name);
    }

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

    void addTriangles() {
        const auto offset = static_cast<std::uint32_t>(picture_.triangles);
        for (std::size_t i = 0; i < shown_; ++i) {
            if (source_.isSplitOff[inputOf_[i]]) {
                picture_.splitOff.push_back(static_cast<std::uint32_t>(picture_.shownTriangles()));
            }
            for (std::size_t c = 0; c < 3; ++c) {
                picture_.corners.push_back(vertexFor(built_[3 * i + c]));
            }
            picture_.inputOrder.push_back(offset + inputOf_[i]);
        }
    }

    void addEdges() {
        std::vector<bool> isShown(inputOf_.size());
        for (std::size_t i = 0; i < shown_; ++i) {
            isShown[inputOf_[i]] = true;
        }
        forEachEdge(source_.edges, [&](const EdgeUse* first, const EdgeUse* last) {
            const auto count = last - first;
            if (count == 2 || std::none_of(first, last, [&](const EdgeUse& use) { return isShown[use.triangle]; })) {
                return;
            }
            auto& edges = count == 1 ? picture_.borderEdges : picture_.nonManifoldEdges;
            for (const std::uint32_t end : first->ends()) {
                edges.push_back(vertexFor(end));
            }
        });
    }

    const PictureSource& source_;
    Picture& picture_;
    std::size_t room_;
    std::size_t shown_ = 0;
    std::vector<unsigned int> built_; ///< triangles in the order of building
    std::vector<std::uint32_t> partOf_;
    std::vector<std::uint32_t> inputOf_;
    std::vector<Part> parts_;
    std::vector<std::uint32_t> vertexOf_;
};

} // namespace

void PictureBuilder::add(const PictureSource& source) {
    const std::size_t shown = picture_.shownTriangles();
    Contribution(source, picture_, most_ - std::min(most_, shown)).add();
}

} // namespace vexa::tool
