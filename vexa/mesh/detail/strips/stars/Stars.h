#pragma once

#include "vexa/mesh/detail/strips/PatchGroups.h"
#include "vexa/mesh/detail/strips/StripPartition.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// Longest row of triangles around a vertex that is relabelled at once.
constexpr std::uint32_t maxStarSize = 7;

/// A triangle of a star, seen from the vertex in the middle.
struct StarCorner {
    HalfEdgeId spoke; ///< leaves the vertex; `noHalfEdge` where there is no triangle
    HalfEdgeId outer; ///< on the far side of the edge opposite to the vertex
};

/// Triangles that follow one another around a vertex.
struct Star {
    enum class Kind : std::uint8_t {
        Ring,  ///< all around an inner vertex
        Open,  ///< all at a vertex of the border, from border to border
        Window ///< some of very many: the corners of the triangles before and after come with them
    };

    std::uint32_t begin; ///< of its corners in the list of all; a window has one more on either side
    std::uint8_t size;
    Kind kind;
};

/// Every star of a mesh, in groups by the triangles that it consists of or faces. Around vertices with more than `maxStarSize` triangles, windows overlap by half. Stars that
/// meet themselves, because a triangle occurs twice or faces another one, are left out.
class Stars {
public:
    /// \param groups must outlive the object; a finder's data are needed in the constructor only
    Stars(const StripPartition& partition, const PatchGroups& groups, const Poll& poll = {});

    [[nodiscard]] const std::vector<Star>& all() const { return stars_; }
    [[nodiscard]] const PatchGroups& groups() const { return groups_; }
    [[nodiscard]] std::span<const Star> group(std::uint32_t index) const {
        const std::uint32_t begin = index == 0 ? 0 : groupEnds_[index - 1];
        return std::span(stars_).subspan(begin, groupEnds_[index] - begin);
    }
    [[nodiscard]] const StarCorner* corners(const Star& star) const { return corners_.data() + star.begin; }

private:
    void addFan(const StripPartition& partition, HalfEdgeId corner, std::vector<std::uint8_t>& isSeen);
    void addWhole(bool isOpen);
    void addWindows(bool isOpen);
    void add(Star::Kind kind, std::span<const StarCorner> inside, std::span<const StarCorner> with);
    void sortByGroup(const Poll& poll);
    void sortBlocks(const Poll& poll);
    void sortCorners(const Poll& poll);

    const PatchGroups& groups_;
    HalfEdgeId border_; ///< where half-edges of triangles end
    std::vector<Star> stars_;
    std::vector<std::uint32_t> groupOf_; ///< of each star, until they are sorted
    std::vector<std::uint32_t> groupEnds_;
    std::vector<StarCorner> corners_;
    std::vector<StarCorner> fan_; ///< the corners of the newest fan
};

} // namespace vexa::mesh::detail
