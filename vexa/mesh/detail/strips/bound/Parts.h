#pragma once

#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/bound/FreeSides.h"

#include <cstdint>
#include <span>

namespace vexa::mesh::detail {

/// The connected parts of a mesh, which no strip leaves.
class Parts {
public:
    /// \param joined triangles of one part that are not linked
    Parts(const CompactGraph& graph, std::span<const TrianglePair> joined);

    [[nodiscard]] std::uint32_t count() const { return count_; }
    /// The part of a triangle, below `count()`.
    [[nodiscard]] std::uint32_t operator[](TriangleId triangle) const { return part_[triangle]; }
    /// Number of groups of parts that share no vertex with one another.
    ///
    /// Cost: O(n log n) if there is more than one part.
    [[nodiscard]] std::uint32_t countGroups(std::span<const unsigned int> triangles) const;

private:
    void numberParts();

    LargeVector<std::uint32_t> part_;
    std::uint32_t count_ = 0;
};

} // namespace vexa::mesh::detail
