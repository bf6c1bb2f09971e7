#include "vexa/mesh/detail/strips/bound/StarLayout.h"

#include "vexa/mesh/detail/strips/EdgePairing.h"
#include "vexa/mesh/detail/strips/PatchOrder.h"
#include "vexa/mesh/detail/strips/bound/FreeSides.h"
#include "vexa/mesh/detail/strips/bound/Parts.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <optional>

namespace vexa::mesh::detail {

namespace {

constexpr std::uint32_t noTable = ~std::uint32_t{0};

/// From so many distant neighbours on, stars are listed patch by patch, which makes sweeps both faster and better.
constexpr unsigned scatteredPercent = 25;

/// Where the second star of an edge finds the table that the first one has numbered: a word per half-edge, and in the
/// fourth place of each triangle the corners that have been listed.
class Crossings {
public:
    explicit Crossings(TriangleId count) : words_(std::size_t{4} * count) {
        for (TriangleId id = 0; id < count; ++id) {
            for (std::uint32_t place = 0; place < 3; ++place) {
                words_[halfEdgeOf(id, place)] = noTable;
            }
            words_[halfEdgeOf(id, 3)] = 0;
        }
    }

    std::uint32_t& table(HalfEdgeId halfEdge) { return words_[halfEdge]; }
    [[nodiscard]] bool isListed(HalfEdgeId corner) const { return (words_[corner | 3] >> placeOf(corner) & 1) != 0; }
    void setListed(HalfEdgeId corner) { words_[corner | 3] |= 1U << placeOf(corner); }

private:
    LargeArray<std::uint32_t> words_;
};

/// The neighbours in a graph, where sides may be free.
struct GraphSides {
    const CompactGraph& graph;

    [[nodiscard]] TriangleId count() const { return graph.count(); }
    [[nodiscard]] HalfEdgeId twin(HalfEdgeId halfEdge) const { return graph.twin(halfEdge); }
    [[nodiscard]] bool isOutside(HalfEdgeId twin) const { return graph.isSentinel(twin); }
    [[nodiscard]] bool isFree(HalfEdgeId twin) const { return isFreeSide(graph, twin); }
};

/// The neighbours in a partition.
struct PartitionSides {
    const StripPartition& partition;

    [[nodiscard]] TriangleId count() const { return partition.count(); }
    [[nodiscard]] HalfEdgeId twin(HalfEdgeId halfEdge) const { return partition.twin(halfEdge); }
    [[nodiscard]] bool isOutside(HalfEdgeId twin) const { return twin == partition.border(); }
    [[nodiscard]] static bool isFree(HalfEdgeId) { return false; }
};

} // namespace

/// Walks around every vertex. A corner is the half-edge of a triangle that leaves the vertex.
template <class Sides>
class StarListing {
public:
    explicit StarListing(const Sides& sides) : sides_(sides), crossings_(sides.count()) {
        // An edge has two entries, of its two triangles or of the one at a border.
        layout_.entries_.reserve(std::size_t{3} * sides.count() + countOpenSides());
        layout_.ends_.reserve(sides.count() / 2 + 16);
    }

    void notePartsOf(const Parts& parts, std::uint32_t groupCount) {
        parts_ = &parts;
        layout_.partCount_ = parts.count();
        layout_.groupCount_ = groupCount;
        layout_.parts_.reserve(sides_.count() / 2 + 16);
    }
    void noteCornersIn(std::vector<HalfEdgeId>& corners) { corners_ = &corners; }

    void list(TriangleId triangle) {
        for (std::uint32_t place = 0; place < 3; ++place) {
            if (const HalfEdgeId corner = halfEdgeOf(triangle, place); !crossings_.isListed(corner)) {
                listAround(corner);
            }
        }
    }

    StarLayout finish() { return std::move(layout_); }

private:
    [[nodiscard]] std::size_t countOpenSides() const {
        std::size_t count = 0;
        for (TriangleId id = 0; id < sides_.count(); ++id) {
            for (std::uint32_t place = 0; place < 3; ++place) {
                count += sides_.isOutside(sides_.twin(halfEdgeOf(id, place))) ? 1 : 0;
            }
        }
        return count;
    }

    void listAround(HalfEdgeId corner) {
        const std::size_t begin = layout_.entries_.size();
        const HalfEdgeId first = findFirst(corner);
        const bool isOpen = sides_.isOutside(sides_.twin(first));
        if (isOpen) {
            addEntry(first, first);
        }
        for (HalfEdgeId current = first;;) {
            crossings_.setListed(current);
            const HalfEdgeId side = prevOf(current);
            current = sides_.twin(side);
            if (sides_.isOutside(current)) {
                addEntry(side, side);
                break;
            }
            addEntry(side, current);
            if (current == first) {
                break;
            }
        }
        const auto star = layout_.entries_.begin() + static_cast<std::ptrdiff_t>(begin);
        HalfEdgeId firstCorner = first;
        if (!isOpen) {
            for (std::ptrdiff_t steps = keptFirst(star, layout_.entries_.end()); steps > 0; --steps) {
                firstCorner = sides_.twin(prevOf(firstCorner));
            }
        }
        layout_.ends_.push_back({static_cast<std::uint32_t>(layout_.entries_.size()) & 0x7fffffffU, isOpen ? 1U : 0U});
        if (parts_ != nullptr) {
            layout_.parts_.push_back((*parts_)[triangleOf(corner)]);
        }
        if (corners_ != nullptr) {
            corners_->push_back(firstCorner);
        }
        layout_.maxStarSize_ =
            std::max(layout_.maxStarSize_, static_cast<std::uint32_t>(layout_.entries_.size() - begin));
    }

    /// Turns a closed star until it begins with a kept table after one that is not; returns by how many entries.
    static std::ptrdiff_t keptFirst(std::vector<StarEntry>::iterator begin, std::vector<StarEntry>::iterator end) {
        const auto rest = std::find_if_not(begin, end, [](const StarEntry& entry) { return entry.isKept(); });
        const auto kept = std::find_if(rest, end, [](const StarEntry& entry) { return entry.isKept(); });
        if (kept == end) {
            return 0;
        }
        std::rotate(begin, kept, end);
        return kept - begin;
    }

    /// The first corner counter-clockwise around an open star, the given one of a closed star.
    [[nodiscard]] HalfEdgeId findFirst(HalfEdgeId corner) const {
        for (HalfEdgeId current = corner;;) {
            const HalfEdgeId twin = sides_.twin(current);
            if (sides_.isOutside(twin)) {
                return current;
            }
            current = nextOf(twin);
            if (current == corner) {
                return corner;
            }
        }
    }

    /// \param side  the half-edge of this star across which the edge lies
    /// \param other the half-edge across which it lies in its other star
    void addEntry(HalfEdgeId side, HalfEdgeId other) {
        std::uint32_t& table = crossings_.table(side);
        if (table == noTable) {
            crossings_.table(other) = layout_.tableCount_;
            layout_.entries_.emplace_back(layout_.tableCount_++, StarEntry::Share::Kept);
            return;
        }
        const HalfEdgeId twin = sides_.twin(side);
        layout_.entries_.emplace_back(table, sides_.isFree(twin)      ? StarEntry::Share::FreeRest
                                             : sides_.isOutside(twin) ? StarEntry::Share::BorderRest
                                                                      : StarEntry::Share::InnerRest);
    }

    Sides sides_;
    Crossings crossings_;
    const Parts* parts_ = nullptr;
    std::vector<HalfEdgeId>* corners_ = nullptr;
    StarLayout layout_;
};

StarLayout listStars(std::span<const unsigned int> triangles) {
    std::vector<TrianglePair> joined;
    std::optional<CompactGraph> graph = pairManifoldEdges(triangles);
    if (!graph) {
        graph = pairEdges(triangles);
        joined = freeSharedSides(*graph, triangles);
    }
    const Parts parts(*graph, joined);
    const std::uint32_t groupCount = parts.countGroups(triangles);
    StarListing listing(GraphSides{*graph});
    listing.notePartsOf(parts, groupCount);
    if (isScattered(*graph, scatteredPercent)) {
        for (const TriangleId id : patchOrder(*graph)) {
            listing.list(id);
        }
    } else {
        for (TriangleId id = 0; id < graph->count(); ++id) {
            listing.list(id);
        }
    }
    return listing.finish();
}

StarLayout listStars(const StripPartition& partition, std::vector<HalfEdgeId>& corners) {
    StarListing listing(PartitionSides{partition});
    listing.noteCornersIn(corners);
    for (TriangleId id = 0; id < partition.count(); ++id) {
        if (!partition.isCollapsed(id)) {
            listing.list(id);
        }
    }
    return listing.finish();
}

} // namespace vexa::mesh::detail
