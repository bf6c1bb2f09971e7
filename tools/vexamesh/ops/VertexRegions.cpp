#include "ops/VertexRegions.h"

#include <cstdint>
#include <limits>
#include <span>

namespace vexa::tool {

namespace {

constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

/// The triangles around every vertex.
class Neighbours {
public:
    Neighbours(const std::vector<unsigned int>& triangles, std::size_t vertices)
        : begins_(vertices + 1), triangles_(triangles.size()) {
        for (const unsigned int vertex : triangles) {
            ++begins_[vertex];
        }
        std::size_t end = 0;
        for (std::size_t& begin : begins_) {
            end += begin;
            begin = end;
        }
        for (std::size_t corner = triangles.size(); corner-- > 0;) {
            triangles_[--begins_[triangles[corner]]] = static_cast<std::uint32_t>(corner / 3);
        }
    }

    [[nodiscard]] std::span<const std::uint32_t> around(unsigned int vertex) const {
        return {triangles_.data() + begins_[vertex], begins_[vertex + 1] - begins_[vertex]};
    }

private:
    std::vector<std::size_t> begins_;
    std::vector<std::uint32_t> triangles_;
};

class RegionGrower {
public:
    RegionGrower(const std::vector<unsigned int>& triangles, std::size_t vertices, std::size_t maxVertices)
        : triangles_(triangles), neighbours_(triangles, vertices), maxVertices_(maxVertices), position_(vertices, none),
          isTaken_(triangles.size() / 3), queuedIn_(triangles.size() / 3, none) {}

    std::vector<VertexRegion> run() {
        for (std::uint32_t seed = 0; seed < isTaken_.size(); ++seed) {
            if (!isTaken_[seed]) {
                if (regions_.empty() || !fits(seed)) {
                    begin();
                }
                growFrom(seed);
            }
        }
        return std::move(regions_);
    }

private:
    void begin() {
        if (!regions_.empty()) {
            for (const unsigned int vertex : regions_.back().vertices) {
                position_[vertex] = none;
            }
        }
        regions_.emplace_back();
    }

    [[nodiscard]] std::span<const unsigned int> cornersOf(std::uint32_t triangle) const {
        return {triangles_.data() + std::size_t{3} * triangle, 3};
    }

    [[nodiscard]] bool fits(std::uint32_t triangle) const {
        std::size_t count = regions_.back().vertices.size();
        for (const unsigned int vertex : cornersOf(triangle)) {
            count += position_[vertex] == none ? 1 : 0;
        }
        return count <= maxVertices_;
    }

    void growFrom(std::uint32_t seed) {
        queue_.assign(1, seed);
        for (std::size_t next = 0; next < queue_.size(); ++next) {
            if (!isTaken_[queue_[next]] && fits(queue_[next])) {
                take(queue_[next]);
            }
        }
    }

    void take(std::uint32_t triangle) {
        VertexRegion& region = regions_.back();
        isTaken_[triangle] = true;
        for (const unsigned int vertex : cornersOf(triangle)) {
            if (position_[vertex] == none) {
                position_[vertex] = static_cast<std::uint32_t>(region.vertices.size());
                region.vertices.push_back(vertex);
                enqueueAround(vertex);
            }
            region.triangles.push_back(position_[vertex]);
        }
    }

    void enqueueAround(unsigned int vertex) {
        const auto region = static_cast<std::uint32_t>(regions_.size());
        // Around a vertex of very many triangles, most would not fit.
        std::size_t room = 4 * maxVertices_;
        for (const std::uint32_t triangle : neighbours_.around(vertex)) {
            if (!isTaken_[triangle] && queuedIn_[triangle] != region) {
                queuedIn_[triangle] = region;
                queue_.push_back(triangle);
                if (--room == 0) {
                    return;
                }
            }
        }
    }

    const std::vector<unsigned int>& triangles_;
    Neighbours neighbours_;
    std::size_t maxVertices_;
    std::vector<std::uint32_t> position_; ///< per vertex, in the newest region
    std::vector<bool> isTaken_;
    std::vector<std::uint32_t> queuedIn_; ///< per triangle the region that has looked at it last
    std::vector<std::uint32_t> queue_;
    std::vector<VertexRegion> regions_;
};

} // namespace

std::vector<VertexRegion> growRegions(const std::vector<unsigned int>& triangles, std::size_t vertices,
                                      std::size_t maxVertices) {
    return RegionGrower(triangles, vertices, maxVertices).run();
}

} // namespace vexa::tool
