#pragma once

#include "vexa/mesh/detail/strips/HalfEdgeId.h"
#include "vexa/mesh/detail/strips/LargeArray.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

/// A triangle of a strip in one word: four times its id, and the edge over which the strip leaves it. For the strip's
/// first triangle that is the place of the half-edge (1 when the triangle is alone); for the others `leavesBefore` or
/// `leavesAfter` the half-edge by which the strip entered; for the last one it does not matter.
using StripTriangle = std::uint32_t;

constexpr std::uint32_t leavesAfter = 0;
constexpr std::uint32_t leavesBefore = 1;

/// Strips of a mesh's triangles, in the order in which they were found; made by a `StripSetBuilder`.
class StripSet {
public:
    struct Strip {
        std::span<const StripTriangle> triangles; ///< in the order in which the strip took them
        bool isReversed;                          ///< emitted from the last to the first
        bool isIrregular; ///< the ways out are not reliable: the strip leaves each triangle over
                          ///< the first edge that it shares with the next one
    };

    [[nodiscard]] std::size_t size() const { return strips_.size(); }
    [[nodiscard]] std::size_t triangleCount() const { return taken_; }
    [[nodiscard]] Strip operator[](std::size_t index) const {
        const Range& range = strips_[index];
        const std::uint32_t end = index + 1 < strips_.size() ? strips_[index + 1].begin : taken_;
        return {{order_.get() + range.begin, order_.get() + end}, range.isReversed != 0, range.isIrregular != 0};
    }
    /// This many words can be read after the last triangle of a strip: those of the next strips, or zeros.
    static constexpr std::size_t lookAhead = 32;

private:
    friend class StripSetBuilder;

    struct Range {
        std::uint32_t begin : 30;
        std::uint32_t isReversed : 1;
        std::uint32_t isIrregular : 1;
    };

    LargeArray<StripTriangle> order_;
    std::uint32_t taken_ = 0;
    std::vector<Range> strips_;
};

/// Fills a `StripSet`, strip by strip.
class StripSetBuilder {
public:
    /// \param capacity triangles of all strips together
    explicit StripSetBuilder(std::size_t capacity) {
        set_.order_ = LargeArray<StripTriangle>(capacity + StripSet::lookAhead);
    }

    /// Appends a triangle to the current strip. Returns how many all strips had before.
    std::uint32_t add(StripTriangle triangle) {
        set_.order_[set_.taken_] = triangle;
        return set_.taken_++;
    }
    /// The triangles of the current strip.
    [[nodiscard]] std::span<const StripTriangle> current() const {
        return {set_.order_.get() + begin_, set_.taken_ - begin_};
    }
    /// Ends the current strip, which must not be empty.
    void endStrip(bool isReversed, bool isIrregular) {
        set_.strips_.push_back({begin_ & 0x3fffffff, isReversed, isIrregular});
        begin_ = set_.taken_;
    }

    /// The triangles of all strips, and zeros after them: as many as `StripSet::lookAhead`.
    std::span<const StripTriangle> triangles() {
        std::fill_n(set_.order_.get() + set_.taken_, StripSet::lookAhead, StripTriangle{0});
        return {set_.order_.get(), set_.taken_};
    }
    /// Removes all strips.
    void clear() {
        set_.strips_.clear();
        set_.taken_ = begin_ = 0;
    }
    /// The strips; the builder is empty afterwards and has no capacity.
    [[nodiscard]] StripSet finish() {
        triangles();
        begin_ = 0;
        return std::exchange(set_, {});
    }

private:
    StripSet set_;
    std::uint32_t begin_ = 0;
};

} // namespace vexa::mesh::detail
