#pragma once

#include "vexa/mesh/detail/CompactGraph.h"
#include "vexa/mesh/detail/LargeArray.h"
#include "vexa/mesh/detail/Random.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// What a search tells while it runs. May throw; the search is then given up.
class SearchObserver {
public:
    virtual ~SearchObserver() = default;
    /// A free triangle came with a negative state.
    virtual void onInvalidTriangle() = 0;
    /// One of several passes is done.
    virtual void onPass(std::int32_t cost, std::int32_t best, std::int32_t worst) = 0;
};

struct SearchOptions {
    std::uint32_t iterations; ///< at least 1
    bool allStrips;           ///< strips of triangles without free neighbours too
    std::uint32_t freeCount;  ///< triangles to search: the first ids. Those behind are in strips of an earlier search,
                              ///< which the first of several passes takes apart
    std::uint32_t fanCost;    ///< indices of the fans, counted into a pass's cost
};

/// A triangle of a strip in one word: four times its id, and how the strip leaves it. For the strip's first triangle
/// that is the place of the half-edge by which it is left (1 when it is alone); for the others `leavesBefore` or
/// `leavesBehind` the half-edge by which it was entered.
using StripTriangle = std::uint32_t;

constexpr std::uint32_t leavesBehind = 0;
constexpr std::uint32_t leavesBefore = 1;

/// The strips that a search settled on.
class StripSet {
public:
    struct Strip {
        std::span<const StripTriangle> triangles; ///< in the order in which the strip took them
        bool isReversed;                          ///< emitted from the last to the first
        bool isIrregular;                         ///< some of its triangles are, so that the ways out are not reliable:
                                                  ///< the first shared edge decides
    };

    [[nodiscard]] std::size_t size() const { return strips_.size(); }
    [[nodiscard]] std::size_t triangleCount() const { return taken_; }
    [[nodiscard]] Strip operator[](std::size_t index) const {
        const Range& range = strips_[index];
        const std::uint32_t end = index + 1 < strips_.size() ? strips_[index + 1].begin : taken_;
        return {{order_.get() + range.begin, order_.get() + end}, range.isReversed != 0, range.isIrregular != 0};
    }
    /// So many words may be read behind the last triangle of a strip: those of the next strips, or zeros.
    static constexpr std::size_t lookAhead = 32;

    std::vector<TriangleId> leftOver; ///< free triangles that no strip took, in order
    std::uint32_t cost = 0;           ///< indices of all strips
    std::int32_t best = 0;            ///< lowest and highest cost of several passes; 0 after a single one
    std::int32_t worst = 0;

private:
    template <class Buckets>
    friend class StripSearch;

    struct Range {
        std::uint32_t begin : 30;
        std::uint32_t isReversed : 1;
        std::uint32_t isIrregular : 1;
    };

    LargeArray<StripTriangle> order_;
    std::uint32_t taken_ = 0;
    std::vector<Range> strips_;
};

/// Cuts the free triangles of a graph, whose irregular ones are known, into strips; see `HalfEdgeGraph::calcOptPrim`.
///
/// Leaves `stateInStrip` in the triangles that a strip took, and 0 in those left over.
StripSet searchStrips(CompactGraph& graph, const SearchOptions& options, RandomSource& random,
                      SearchObserver& observer);

/// No strips: every triangle that no fan holds is left over.
StripSet leaveAll(const CompactGraph& graph);

} // namespace vexa::mesh::detail
