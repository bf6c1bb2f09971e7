#pragma once

#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/PatchGroups.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// One of the edges around a vertex. Every edge belongs to two stars, those of its ends; their two tables of its costs
/// always add up to its whole costs, so that one of them is kept and the other is what is left.
class StarEntry {
public:
    enum class Share : std::uint32_t {
        Kept,       ///< this star's table is the one that is kept
        InnerRest,  ///< what is left of an edge between two triangles
        BorderRest, ///< what is left of a border side
        FreeRest    ///< what is left of a side that costs nothing
    };

    StarEntry(std::uint32_t table, Share share) : word_(table << 2 | static_cast<std::uint32_t>(share)) {}

    [[nodiscard]] std::uint32_t table() const { return word_ >> 2; }
    [[nodiscard]] Share share() const { return static_cast<Share>(word_ & 3); }
    /// Whether this is the first of the two stars of the edge, in the order of the stars.
    [[nodiscard]] bool isKept() const { return share() == Share::Kept; }

private:
    std::uint32_t word_;
};
static_assert(sizeof(StarEntry) == 4);

/// Consecutive stars.
struct StarRun {
    std::uint32_t begin;
    std::uint32_t end;
};

/// The edges around every vertex, counter-clockwise. Where the triangles at a vertex do not all hang together, each
/// group has a star of its own. An open star begins and ends with a border side or a free one; a closed one begins with
/// kept tables where it has both kinds, so that these mostly stand together. Stars are listed in groups by the triangles
/// around them, see PatchGroups.
class StarLayout {
public:
    /// Most triangles whose edges an entry can name.
    static constexpr std::uint64_t maxTriangles = std::uint64_t{1} << 28;

    [[nodiscard]] std::uint32_t starCount() const { return static_cast<std::uint32_t>(ends_.size()); }
    [[nodiscard]] std::span<const StarEntry> star(std::uint32_t index) const {
        const std::uint32_t begin = index == 0 ? 0 : ends_[index - 1].entry;
        return std::span(entries_).subspan(begin, ends_[index].entry - begin);
    }
    [[nodiscard]] bool isOpen(std::uint32_t index) const { return ends_[index].isOpen != 0; }
    /// Number of edges; their tables are numbered in the order in which the stars first meet them.
    [[nodiscard]] std::uint32_t tableCount() const { return tableCount_; }
    [[nodiscard]] std::uint32_t maxStarSize() const { return maxStarSize_; }
    /// The connected part of the mesh that a star lies in, below `partCount()`.
    [[nodiscard]] std::uint32_t part(std::uint32_t index) const { return parts_[index]; }
    [[nodiscard]] std::uint32_t partCount() const { return partCount_; }
    /// Number of groups of parts that share no vertex with one another.
    [[nodiscard]] std::uint32_t groupCount() const { return groupCount_; }

    /// Calls `visit(stars, member)` for runs of stars that together are all stars, each run in one thread of a team: in the
    /// order of the stars, or from last to first, as far as stars have edges in common.
    ///
    /// \param goesOn see `WorkTeam::forEach`
    /// \return false if runs were left out
    bool forEachRun(WorkTeam& team, bool isForth, const std::function<void(StarRun, unsigned)>& visit,
                    const GoesOn& goesOn) const;

private:
    template <class Sides>
    friend class StarListing;

    bool visitRest(bool isForth, const std::function<void(StarRun, unsigned)>& visit, const GoesOn& goesOn) const;

    struct End {
        std::uint32_t entry : 31; ///< after the star's last one
        std::uint32_t isOpen : 1;
    };

    LargeVector<StarEntry> entries_;
    LargeVector<End> ends_;
    LargeVector<std::uint32_t> parts_; ///< per star
    std::vector<std::uint32_t> groupEnds_;
    std::array<std::uint32_t, PatchGroups::levels + 1> levelBegins_{}; ///< of groups
    std::uint32_t partCount_ = 0;
    std::uint32_t groupCount_ = 0;
    std::uint32_t tableCount_ = 0;
    std::uint32_t maxStarSize_ = 0;
};

/// Lists the stars of triangles, none of them collapsed.
///
/// Where more than two triangles meet at an edge and a strip may cross it in some pairing, the sides there are free:
/// they cost nothing, and their triangles belong to the same part.
///
/// \param triangles three vertex indices per triangle, at most `StarLayout::maxTriangles`
/// Cost: linear for meshes without such edges, otherwise O(n log n).
StarLayout listStars(std::span<const unsigned int> triangles, WorkTeam& team);

/// Lists the stars of the triangles of a partition that are not collapsed, in their order. The stars know no parts.
///
/// \param corners receives for every star the half-edge that leaves its vertex in the triangle before the first entry;
///                in an open star, where the outside is before it, the one in the triangle after it
/// \param goesOn  the result is of no use once it has returned false
StarLayout listStars(const StripPartition& partition, const PatchGroups& groups, LargeVector<HalfEdgeId>& corners,
                     const GoesOn& goesOn);

} // namespace vexa::mesh::detail
