#include "vexa/mesh/detail/strips/bound/StarLayout.h"

#include "vexa/mesh/detail/strips/EdgePairing.h"
#include "vexa/mesh/detail/strips/LargeArray.h"
#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/PatchOrder.h"
#include "vexa/mesh/detail/strips/bound/FreeSides.h"
#include "vexa/mesh/detail/strips/bound/Parts.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <optional>
#include <utility>

namespace vexa::mesh::detail {

namespace {

constexpr std::uint32_t noTable = ~std::uint32_t{0};

/// From so many distant neighbours on, stars are listed patch by patch, which makes sweeps both faster and better.
constexpr unsigned scatteredPercent = 25;

/// Smaller ones would prove less: costs are handed on from patch to patch only sweep by sweep.
constexpr std::uint32_t patchSize = 16384;

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

/// The first corner counter-clockwise around an open star, the given one of a closed star. A corner is the half-edge of a
/// triangle that leaves the vertex.
template <class Sides>
HalfEdgeId findFirst(const Sides& sides, HalfEdgeId corner) {
    for (HalfEdgeId current = corner;;) {
        const HalfEdgeId twin = sides.twin(current);
        if (sides.isOutside(twin)) {
            return current;
        }
        current = nextUnpredicted(twin);
        if (current == corner) {
            return corner;
        }
    }
}

/// A corner of every star, group by group.
struct GroupedCorners {
    LargeVector<HalfEdgeId> corners;
    std::vector<std::uint32_t> ends; ///< of each group
};

template <class Sides>
class CornerGrouping {
public:
    CornerGrouping(const Sides& sides, const PatchGroups& groups)
        : sides_(sides), groups_(groups), isSeen_(sides.count()), ends_(groups.count()) {
        corners_.reserve(sides.count() / 2 + 16);
        groupOf_.reserve(sides.count() / 2 + 16);
    }

    /// Adds the stars of a triangle that were not added before.
    void add(TriangleId triangle) {
        for (std::uint32_t place = 0; place < 3; ++place) {
            if ((isSeen_[triangle] >> place & 1) == 0) {
                addStar(halfEdgeOf(triangle, place));
            }
        }
    }

    GroupedCorners finish() {
        std::exclusive_scan(ends_.begin(), ends_.end(), ends_.begin(), std::uint32_t{0});
        GroupedCorners grouped{LargeVector<HalfEdgeId>(corners_.size()), {}};
        for (std::size_t i = 0; i < corners_.size(); ++i) {
            grouped.corners[ends_[groupOf_[i]]++] = corners_[i];
        }
        grouped.ends = std::move(ends_);
        return grouped;
    }

private:
    void addStar(HalfEdgeId corner) {
        PatchGroups::Finder finder(groups_);
        const HalfEdgeId first = findFirst(sides_, corner);
        for (HalfEdgeId current = first;;) {
            std::uint8_t& seen = isSeen_[triangleOf(current)];
            seen = static_cast<std::uint8_t>(seen | 1U << placeOf(current));
            finder.add(triangleOf(current));
            current = sides_.twin(prevUnpredicted(current));
            if (sides_.isOutside(current) || current == first) {
                break;
            }
        }
        corners_.push_back(corner);
        groupOf_.push_back(finder.group());
        ++ends_[groupOf_.back()];
    }

    Sides sides_;
    const PatchGroups& groups_;
    LargeVector<std::uint8_t> isSeen_;
    LargeVector<HalfEdgeId> corners_;
    LargeVector<std::uint32_t> groupOf_;
    std::vector<std::uint32_t> ends_;
};

/// Calls `visit(triangle)` for the triangles in the order in which stars are to be listed.
template <class Visit>
void forEachInOrder(const CompactGraph& graph, const GoesOn& goesOn, Visit visit) {
    if (isScattered(graph, scatteredPercent)) {
        const LargeVector<TriangleId> order = patchOrder(graph);
        forEachWhile(graph.count(), goesOn, [&](std::uint32_t i) { visit(order[i]); });
    } else {
        forEachWhile(graph.count(), goesOn, visit);
    }
}

template <class Visit>
void forEachInOrder(const StripPartition& partition, const GoesOn& goesOn, Visit visit) {
    forEachWhile(partition.count(), goesOn, [&](TriangleId id) {
        if (!partition.isCollapsed(id)) {
            visit(id);
        }
    });
}

template <class Sides, class Adjacency>
GroupedCorners groupCorners(const Sides& sides, const Adjacency& adjacency, const PatchGroups& groups,
                            const GoesOn& goesOn) {
    CornerGrouping grouping(sides, groups);
    forEachInOrder(adjacency, goesOn, [&](TriangleId triangle) { grouping.add(triangle); });
    return grouping.finish();
}

} // namespace

/// Walks around every vertex.
template <class Sides>
class StarListing {
public:
    StarListing(const Sides& sides, const GoesOn& goesOn)
        : sides_(sides), goesOn_(goesOn), tables_(std::size_t{3} * sides.count()) {
        forEachWhile(sides.count(), goesOn_,
                     [this](TriangleId id) { std::fill_n(&table(halfEdgeOf(id, 0)), 3, noTable); });
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
    void noteCornersIn(LargeVector<HalfEdgeId>& corners) { corners_ = &corners; }

    StarLayout run(GroupedCorners grouped, const PatchGroups& groups) {
        forEachWhile(static_cast<std::uint32_t>(grouped.corners.size()), goesOn_,
                     [&](std::uint32_t star) { listAround(grouped.corners[star]); });
        layout_.groupEnds_ = std::move(grouped.ends);
        for (std::uint32_t level = 0; level <= PatchGroups::levels; ++level) {
            layout_.levelBegins_[level] = groups.begin(level);
        }
        return std::move(layout_);
    }

private:
    [[nodiscard]] std::size_t countOpenSides() const {
        std::size_t count = 0;
        forEachWhile(sides_.count(), goesOn_, [&](TriangleId id) {
            for (std::uint32_t place = 0; place < 3; ++place) {
                count += sides_.isOutside(sides_.twin(halfEdgeOf(id, place))) ? 1 : 0;
            }
        });
        return count;
    }

    void listAround(HalfEdgeId corner) {
        const std::size_t begin = layout_.entries_.size();
        const HalfEdgeId first = findFirst(sides_, corner);
        const bool isOpen = sides_.isOutside(sides_.twin(first));
        if (isOpen) {
            addEntry(first, first);
        }
        for (HalfEdgeId current = first;;) {
            const HalfEdgeId side = prevUnpredicted(current);
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
                firstCorner = sides_.twin(prevUnpredicted(firstCorner));
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

    /// The number that the first star of an edge has given its table, by half-edge; three of them a triangle.
    [[nodiscard]] std::uint32_t& table(HalfEdgeId halfEdge) const { return tables_[halfEdge - triangleOf(halfEdge)]; }

    /// Turns a closed star until it begins with a kept table after one that is not; returns by how many entries.
    static std::ptrdiff_t keptFirst(LargeVector<StarEntry>::iterator begin, LargeVector<StarEntry>::iterator end) {
        const auto rest = std::find_if_not(begin, end, [](const StarEntry& entry) { return entry.isKept(); });
        const auto kept = std::find_if(rest, end, [](const StarEntry& entry) { return entry.isKept(); });
        if (kept == end) {
            return 0;
        }
        std::rotate(begin, kept, end);
        return kept - begin;
    }

    /// \param side  the half-edge of this star across which the edge lies
    /// \param other the half-edge across which it lies in its other star
    void addEntry(HalfEdgeId side, HalfEdgeId other) {
        const std::uint32_t number = table(side);
        if (number == noTable) {
            table(other) = layout_.tableCount_;
            layout_.entries_.emplace_back(layout_.tableCount_++, StarEntry::Share::Kept);
            return;
        }
        const HalfEdgeId twin = sides_.twin(side);
        layout_.entries_.emplace_back(number, sides_.isFree(twin)      ? StarEntry::Share::FreeRest
                                              : sides_.isOutside(twin) ? StarEntry::Share::BorderRest
                                                                       : StarEntry::Share::InnerRest);
    }

    Sides sides_;
    const GoesOn& goesOn_;
    LargeArray<std::uint32_t> tables_;
    const Parts* parts_ = nullptr;
    LargeVector<HalfEdgeId>* corners_ = nullptr;
    StarLayout layout_;
};

bool StarLayout::forEachRun(WorkTeam& team, bool isForth, const std::function<void(StarRun, unsigned)>& visit,
                            const GoesOn& goesOn) const {
    if (!isForth && !visitRest(isForth, visit, goesOn)) {
        return false;
    }
    for (std::uint32_t i = 0; i < PatchGroups::levels; ++i) {
        const std::uint32_t level = isForth ? i : PatchGroups::levels - 1 - i;
        const std::uint32_t begin = levelBegins_[level];
        const auto visitGroup = [&](std::uint32_t group, unsigned member) {
            group += begin;
            visit({group == 0 ? 0 : groupEnds_[group - 1], groupEnds_[group]}, member);
        };
        if (!team.forEach(levelBegins_[level + 1] - begin, visitGroup, goesOn)) {
            return false;
        }
    }
    return !isForth || visitRest(isForth, visit, goesOn);
}

/// The stars of no level, in the owner's thread.
bool StarLayout::visitRest(bool isForth, const std::function<void(StarRun, unsigned)>& visit,
                           const GoesOn& goesOn) const {
    constexpr std::uint32_t block = 4096;
    const std::uint32_t rest = levelBegins_[PatchGroups::levels];
    const StarRun all{rest == 0 ? 0 : groupEnds_[rest - 1], groupEnds_[rest]};
    for (std::uint32_t done = 0; done < all.end - all.begin; done += block) {
        if (!goesOn()) {
            return false;
        }
        const std::uint32_t size = std::min(block, all.end - all.begin - done);
        const std::uint32_t begin = isForth ? all.begin + done : all.end - done - size;
        visit({begin, begin + size}, 0);
    }
    return true;
}

StarLayout listStars(std::span<const unsigned int> triangles, WorkTeam& team) {
    std::vector<TrianglePair> joined;
    std::optional<CompactGraph> graph = pairManifoldEdges(triangles);
    if (!graph) {
        graph = pairEdges(triangles);
        joined = freeSharedSides(*graph, triangles);
    }
    const Parts parts(*graph, joined);
    const std::uint32_t groupCount = parts.countGroups(triangles);
    PatchGroups groups(*graph, patchSize, team, {});
    const GoesOn always;
    GroupedCorners grouped = groupCorners(GraphSides{*graph}, *graph, groups, always);
    groups.release();
    StarListing listing(GraphSides{*graph}, always);
    listing.notePartsOf(parts, groupCount);
    return listing.run(std::move(grouped), groups);
}

StarLayout listStars(const StripPartition& partition, const PatchGroups& groups, LargeVector<HalfEdgeId>& corners,
                     const GoesOn& goesOn) {
    GroupedCorners grouped = groupCorners(PartitionSides{partition}, partition, groups, goesOn);
    StarListing listing(PartitionSides{partition}, goesOn);
    listing.noteCornersIn(corners);
    return listing.run(std::move(grouped), groups);
}

} // namespace vexa::mesh::detail
