#include "vexa/mesh/detail/strips/bound/LabelDecoding.h"

#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/bound/CostSplit.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

namespace {

constexpr std::uint8_t noLabel = 3;
constexpr std::int64_t forbidden = std::numeric_limits<std::int64_t>::max() / 4;

using Split = CostSplit<MinPlusMatrix>;

/// Finds the cheapest labels of one star after the other.
class LabelDecoding {
public:
    LabelDecoding(StripPartition& partition, const EdgeCosts& costs, const StarLayout& layout, const Split& split)
        : partition_(partition), costs_(costs), layout_(layout), split_(split), steps_(layout.maxStarSize()),
          corners_(layout.maxStarSize() + std::size_t{1}) {}

    void label(std::uint32_t index, HalfEdgeId firstCorner) {
        const std::span<const StarEntry> star = layout_.star(index);
        if (!listCorners(star.size(), layout_.isOpen(index), firstCorner)) {
            return;
        }
        for (std::size_t k = 0; k < star.size(); ++k) {
            steps_[k].costs = exactCosts(costs_, split_.tables()[star[k].table()], star[k].share(), k == 0);
        }
        std::int64_t lowest = forbidden;
        std::uint32_t bestFirst = 0;
        for (std::uint32_t first = 0; first < 3; ++first) {
            if (const std::int64_t cost = findCheapest(star.size(), first); cost < lowest) {
                lowest = cost;
                bestFirst = first;
            }
        }
        findCheapest(star.size(), bestFirst);
        setLabels(star.size(), bestFirst);
    }

private:
    struct Step {
        ExactTable costs;
        std::array<std::uint8_t, 3> before; ///< for each label after the edge, the best one before it
    };

    /// The triangles before, between and after the edges of a star; `noHalfEdge` for the outside. Returns whether any is
    /// still without a label.
    bool listCorners(std::size_t size, bool isOpen, HalfEdgeId corner) {
        bool hasUnlabelled = false;
        corners_[0] = corners_[size] = noHalfEdge;
        for (std::size_t k = isOpen ? 1 : 0; k < size; ++k) {
            corners_[k] = corner;
            hasUnlabelled |= partition_[triangleOf(corner)].label == noLabel;
            corner = partition_.twin(prevOf(corner));
        }
        if (!isOpen) {
            corners_[size] = corners_[0];
        }
        return hasUnlabelled;
    }

    /// Whether a triangle can have this label, counted from the corner. The outside has label 0, which is as good as any.
    [[nodiscard]] bool isPossible(HalfEdgeId corner, std::uint32_t label) const {
        if (corner == noHalfEdge) {
            return label == 0;
        }
        const std::uint8_t fixed = partition_[triangleOf(corner)].label;
        return fixed == noLabel || fixed == (placeOf(corner) + label) % 3;
    }

    /// The lowest cost of the star if what is before its first edge has the given label.
    std::int64_t findCheapest(std::size_t size, std::uint32_t first) {
        std::array<std::int64_t, 3> lowest{forbidden, forbidden, forbidden};
        lowest[first] = isPossible(corners_[0], first) ? 0 : forbidden;
        for (std::size_t k = 0; k < size; ++k) {
            const auto before = lowest;
            for (std::uint32_t label = 0; label < 3; ++label) {
                lowest[label] = forbidden;
                for (std::uint32_t from = 0; from < 3; ++from) {
                    const std::int64_t cost = before[from] + steps_[k].costs[from][label];
                    if (before[from] != forbidden && isPossible(corners_[k + 1], label) && cost < lowest[label]) {
                        lowest[label] = cost;
                        steps_[k].before[label] = static_cast<std::uint8_t>(from);
                    }
                }
            }
        }
        return lowest[first];
    }

    /// Follows the steps back from the label at the end, which is that of the beginning.
    void setLabels(std::size_t size, std::uint32_t label) {
        for (std::size_t k = size; k-- > 0;) {
            label = steps_[k].before[label];
            if (corners_[k] != noHalfEdge) {
                partition_[triangleOf(corners_[k])].label =
                    static_cast<std::uint8_t>((placeOf(corners_[k]) + label) % 3);
            }
        }
    }

    StripPartition& partition_;
    const EdgeCosts& costs_;
    const StarLayout& layout_;
    const Split& split_;
    std::vector<Step> steps_;
    std::vector<HalfEdgeId> corners_;
};

} // namespace

bool labelBySplittingCosts(StripPartition& partition, const PatchGroups& groups, std::int16_t endCost, unsigned sweeps,
                           WorkTeam& team, StripMonitor& monitor) {
    LargeVector<HalfEdgeId> corners;
    const StarLayout layout = listStars(partition, groups, corners, [&monitor] { return monitor.poll(0, 1); });
    if (monitor.isStopped()) {
        return false;
    }
    const EdgeCosts costs(endCost);
    Split split(layout, costs, team, monitor.poller());
    if (!split.sweepMany(sweeps, [&](double part) { return monitor.poll(part, 1); })) {
        return false;
    }
    for (TriangleId id = 0; id < partition.count(); ++id) {
        partition[id].label = noLabel;
    }
    std::vector<LabelDecoding> decodings(team.size(), LabelDecoding(partition, costs, layout, split));
    const auto labelStars = [&](StarRun run, unsigned member) {
        for (std::uint32_t star = run.begin; star != run.end; ++star) {
            decodings[member].label(star, corners[star]);
        }
    };
    layout.forEachRun(team, true, labelStars, [&monitor] {
        monitor.poll(1, 1);
        return true;
    });
    for (TriangleId id = 0; id < partition.count(); ++id) {
        if (partition.isCollapsed(id)) {
            partition[id].label = 0;
        }
    }
    return true;
}

} // namespace vexa::mesh::detail
