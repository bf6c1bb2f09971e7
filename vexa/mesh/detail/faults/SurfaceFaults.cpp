#include "vexa/mesh/detail/faults/SurfaceFaults.h"

#include "vexa/mesh/detail/edges/EdgeLists.h"
#include "vexa/mesh/detail/strips/LargeArray.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace vexa::mesh::detail {

namespace {

/// Of a triangle in double precision, relative to the square of its longest edge. Rounding makes it smaller than this.
constexpr double smallestArea = 1e-14;

struct EdgeRecord {
    std::uint32_t firstHalfEdge; ///< its position in the index list
    std::uint32_t count;         ///< of triangles
};

struct Vector {
    double x, y, z;
};

Vector positionOf(const VertexRow& positions, std::uint32_t vertex) {
    std::array<float, 3> p{};
    std::memcpy(p.data(), positions.bytes + vertex * positions.stride, sizeof p);
    return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

Vector operator-(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

double squareOf(const Vector& v) {
    return v.x * v.x + v.y * v.y + v.z * v.z;
}

Vector cross(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

class SurfaceSearch {
public:
    SurfaceSearch(const Surface& surface, FaultCollector& faults)
        : surface_(surface), triangles_(surface.triangles), faults_(faults) {}

    void checkTriangles(const VertexRow* positions);
    void checkEdges();

private:
    [[nodiscard]] std::uint32_t opposite(std::size_t halfEdge) const {
        const std::size_t triangle = halfEdge - halfEdge % 3;
        return triangles_[triangle + after(static_cast<std::uint32_t>(halfEdge - triangle) + 1)];
    }
    [[nodiscard]] std::uint32_t triangleCount() const { return static_cast<std::uint32_t>(triangles_.size() / 3); }

    void walkEdges();
    void addDuplicatesAtCrowdedEdges();
    void reportEdges();
    void reportDuplicates();

    const Surface& surface_;
    std::span<const unsigned int> triangles_;
    FaultCollector& faults_;
    LargeArray<EdgeRecord> edges_;
    std::uint32_t edgeCount_ = 0;
    std::uint64_t crowdedCount_ = 0;
    std::vector<std::uint32_t> sameWay_;    ///< edges of which the second triangle runs the way of the first
    std::vector<std::uint32_t> duplicates_; ///< triangles
};

void SurfaceSearch::checkTriangles(const VertexRow* positions) {
    FaultSites collapsed = faults_.sites();
    FaultSites flat = faults_.sites();
    for (std::uint32_t t = 0; t < triangleCount(); ++t) {
        const unsigned int* const corners = &triangles_[3 * std::size_t{t}];
        if (isCollapsed(corners)) {
            if (!std::binary_search(surface_.leftOut.begin(), surface_.leftOut.end(), t)) {
                collapsed.add(t, 0);
            }
            continue;
        }
        if (positions == nullptr) {
            continue;
        }
        const Vector a = positionOf(*positions, corners[0]);
        const Vector ab = positionOf(*positions, corners[1]) - a;
        const Vector ac = positionOf(*positions, corners[2]) - a;
        const double longest = std::max({squareOf(ab), squareOf(ac), squareOf(ac - ab)});
        const double square = squareOf(cross(ab, ac));
        if (square <= smallestArea * smallestArea * longest * longest) {
            flat.add(t, std::sqrt(square) / 2);
        }
    }
    if (surface_.reportsCollapsed) {
        faults_.add(FaultCode::CollapsedTriangle, FaultSeverity::Warning, collapsed,
                    countedText(collapsed.total(), "triangle has", "triangles have") +
                        " a corner twice, first triangle " + std::to_string(collapsed.first().element));
    }
    faults_.add(FaultCode::ZeroAreaTriangle, FaultSeverity::Warning, flat,
                countedText(flat.total(), "triangle has its", "triangles have their") +
                    " corners on a line, first triangle " + std::to_string(flat.first().element));
}

void SurfaceSearch::walkEdges() {
    edges_ = LargeArray<EdgeRecord>(triangles_.size());
    EdgeLists lists("findFaults", triangles_);
    edgeCount_ = lists.walk([this](std::uint32_t edge, std::size_t triangle, std::uint32_t place, bool isNew) {
        const std::size_t halfEdge = triangle + place;
        if (isNew) {
            edges_[edge] = {static_cast<std::uint32_t>(halfEdge), 1};
            return;
        }
        const EdgeRecord& record = edges_[edge];
        const std::uint32_t count = ++edges_[edge].count;
        if (count == 2 && triangles_[record.firstHalfEdge] == triangles_[halfEdge]) {
            sameWay_.push_back(edge);
        }
        crowdedCount_ += count == 3 ? 1 : 0;
        if (opposite(record.firstHalfEdge) == opposite(halfEdge)) {
            duplicates_.push_back(static_cast<std::uint32_t>(triangle / 3));
        }
    });
}

/// At edges of more than two triangles, a triangle may have the corners of another than the first one.
void SurfaceSearch::addDuplicatesAtCrowdedEdges() {
    std::vector<std::array<std::uint32_t, 4>> crowded; // three corners in ascending order, and the triangle
    EdgeLists lists("findFaults", triangles_);
    lists.walk([&](std::uint32_t edge, std::size_t triangle, std::uint32_t, bool) {
        const auto number = static_cast<std::uint32_t>(triangle / 3);
        if (edges_[edge].count > 2 && (crowded.empty() || crowded.back()[3] != number)) {
            crowded.push_back({triangles_[triangle], triangles_[triangle + 1], triangles_[triangle + 2], number});
            std::sort(crowded.back().begin(), crowded.back().begin() + 3);
        }
    });
    std::sort(crowded.begin(), crowded.end());
    for (std::size_t i = 1; i < crowded.size(); ++i) {
        if (std::equal(crowded[i].begin(), crowded[i].begin() + 3, crowded[i - 1].begin())) {
            duplicates_.push_back(crowded[i][3]);
        }
    }
}

void SurfaceSearch::reportDuplicates() {
    std::sort(duplicates_.begin(), duplicates_.end());
    duplicates_.erase(std::unique(duplicates_.begin(), duplicates_.end()), duplicates_.end());
    FaultSites sites = faults_.sites();
    for (const std::uint32_t triangle : duplicates_) {
        sites.add(triangle, 0);
    }
    faults_.add(FaultCode::DuplicateTriangle, FaultSeverity::Warning, sites,
                countedText(sites.total(), "triangle has", "triangles have") +
                    " the corners of a preceding one, first triangle " + std::to_string(sites.first().element));
}

void SurfaceSearch::reportEdges() {
    FaultSites borders = faults_.sites();
    FaultSites crowded = faults_.sites();
    FaultSites turned = faults_.sites();
    const auto add = [this](FaultSites& sites, const EdgeRecord& edge) {
        const std::size_t from = edge.firstHalfEdge;
        const std::size_t to = from - from % 3 + after(static_cast<std::uint32_t>(from % 3));
        const auto [low, high] = std::minmax({triangles_[from], triangles_[to]});
        sites.add(low, high);
    };
    for (std::uint32_t edge = 0; edge < edgeCount_; ++edge) {
        if (edges_[edge].count == 1) {
            add(borders, edges_[edge]);
        } else if (edges_[edge].count > 2) {
            add(crowded, edges_[edge]);
        }
    }
    std::sort(sameWay_.begin(), sameWay_.end());
    for (const std::uint32_t edge : sameWay_) {
        if (edges_[edge].count == 2) {
            add(turned, edges_[edge]);
        }
    }
    const auto at = [](const FaultSites& sites) {
        return ", first " + std::to_string(sites.first().element) + "-" + numberText(sites.first().value);
    };
    faults_.add(FaultCode::InconsistentWinding, FaultSeverity::Warning, turned,
                countedText(turned.total(), "edge lies", "edges lie") + " between triangles of opposite winding" +
                    at(turned));
    faults_.add(FaultCode::NonManifoldEdge, FaultSeverity::Warning, crowded,
                countedText(crowded.total(), "edge has", "edges have") + " more than two triangles" + at(crowded));
    faults_.add(FaultCode::OpenBorder, FaultSeverity::Note, borders,
                countedText(borders.total(), "edge has", "edges have") + " only one triangle" + at(borders));
}

void SurfaceSearch::checkEdges() {
    walkEdges();
    if (crowdedCount_ > 0) {
        addDuplicatesAtCrowdedEdges();
    }
    reportDuplicates();
    reportEdges();
}

} // namespace

void findSurfaceFaults(const Surface& surface, const VertexRow* positions, FaultCollector& faults) {
    SurfaceSearch search(surface, faults);
    search.checkTriangles(positions);
    search.checkEdges();
}

} // namespace vexa::mesh::detail
