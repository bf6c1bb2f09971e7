#pragma once

#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/PatchOrder.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace vexa::mesh::detail {

/// Groups work on neighbouring triangles such that several threads can share it, with results that do not depend on
/// their number.
///
/// Work that touches one patch of triangles only can go on beside work on others: it is a group of the first level. Most
/// of what is left lies within one patch of another division, and in a group of the second level. Anything else is the
/// rest, to be done in order. A level may begin when the one before is done.
class PatchGroups {
public:
    /// \param adjacency a graph or a partition
    /// \param patchSize triangles of a patch
    /// \param poll      called in the thread of the team's owner
    template <class Adjacency>
    PatchGroups(const Adjacency& adjacency, std::uint32_t patchSize, WorkTeam& team, const Poll& poll)
        : isWhole_(adjacency.count() <= patchSize) {
        if (isWhole_) {
            return;
        }
        team.forEach(levels, [&](std::uint32_t level, unsigned member) {
            const std::uint32_t offset = patchSize / 2 * level;
            patches_[level] = patchesOf(adjacency, patchSize, offset, member == 0 ? poll : Poll());
            counts_[level] = (adjacency.count() - 1 + offset) / patchSize + 1;
        });
    }

    static constexpr std::uint32_t levels = 2;

    /// The number of groups before a level; `begin(levels)` is the rest, the last group.
    [[nodiscard]] std::uint32_t begin(std::uint32_t level) const {
        return level == 0 ? 0 : level == 1 ? counts_[0] : counts_[0] + counts_[1];
    }
    [[nodiscard]] std::uint32_t rest() const { return begin(levels); }
    [[nodiscard]] std::uint32_t count() const { return rest() + 1; }

    /// Finds the group of work on some triangles.
    class Finder {
    public:
        explicit Finder(const PatchGroups& groups) : groups_(groups) {}

        void add(TriangleId triangle) {
            for (std::uint32_t level = 0; level < levels && !groups_.isWhole_; ++level) {
                const std::uint32_t patch = groups_.patches_[level][triangle];
                lowest_[level] = std::min(lowest_[level], patch);
                highest_[level] = std::max(highest_[level], patch);
            }
        }
        /// At least one triangle must have been added.
        [[nodiscard]] std::uint32_t group() const {
            if (groups_.isWhole_) {
                return 0;
            }
            for (std::uint32_t level = 0; level < levels; ++level) {
                if (lowest_[level] == highest_[level]) {
                    return groups_.begin(level) + lowest_[level];
                }
            }
            return groups_.rest();
        }

    private:
        const PatchGroups& groups_;
        std::array<std::uint32_t, levels> lowest_{~std::uint32_t{0}, ~std::uint32_t{0}};
        std::array<std::uint32_t, levels> highest_{};
    };

    /// Frees what a finder needs.
    void release() { patches_ = {}; }

private:
    bool isWhole_;
    std::array<LargeVector<std::uint32_t>, levels> patches_; ///< of each triangle
    std::array<std::uint32_t, levels> counts_{1, 0};
};

} // namespace vexa::mesh::detail
