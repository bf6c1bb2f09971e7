#include "vexa/mesh/detail/strips/stars/StarLabels.h"

#include "vexa/mesh/detail/strips/stars/FastRandom.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace vexa::mesh::detail {

namespace {

/// By label as seen from a corner of the triangle, and place of the corner's spoke.
constexpr std::array<std::array<LabelCode, 4>, 3> codeOf = [] {
    std::array<std::array<LabelCode, 4>, 3> codes{};
    for (unsigned seen = 0; seen < 3; ++seen) {
        for (unsigned place = 0; place < 3; ++place) {
            unsigned code = 0;
            for (unsigned edge = 0; edge < 3; ++edge) {
                code |= (seen + place + 3 - edge) % 3 << 2 * edge;
            }
            codes[seen][place] = static_cast<LabelCode>(code);
        }
    }
    return codes;
}();

} // namespace

StarLabels::StarLabels(const StripPartition& partition, const PatchGroups& groups, std::uint32_t seed, const Poll& poll)
    : stars_(partition, groups, poll), codes_(std::size_t{partition.count()} + 1), seed_(FastRandom::mix(seed)) {
    load(partition, poll);
}

void StarLabels::load(const StripPartition& partition, const Poll& poll) {
    forEachPolled(partition.count(), poll,
                  [&](TriangleId triangle) { codes_[triangle] = codeOf[0][partition[triangle].label]; });
}

double StarLabels::cost(const StripPartition& partition, double endCost, const Poll& poll) const {
    std::uint64_t swaps = 0;
    std::uint64_t ends = 0;
    forEachPolled(partition.count(), poll, [&](TriangleId triangle) {
        for (std::uint32_t place = 0; place < 3 && !partition.isCollapsed(triangle); ++place) {
            const std::uint32_t here = labelFrom(halfEdgeOf(triangle, place));
            const std::uint32_t across = labelFrom(partition.twin(halfEdgeOf(triangle, place)));
            const bool isEnd = here == 0 || across == 0;
            ends += here != across && isEnd ? 1 : 0;
            swaps += here != across && !isEnd ? 1 : 0;
        }
    });
    return endCost * static_cast<double>(ends) + static_cast<double>(swaps);
}

bool StarLabels::cool(double endCost, std::uint32_t passes, WorkTeam& team, StripMonitor& monitor, double done) {
    const StarOdds odds(coldTemperature, endCost);
    bool goesOn = true;
    for (std::uint32_t i = 0; i < passes && goesOn; ++i) {
        goesOn = pass(odds, team, monitor, done);
    }
    return goesOn;
}

bool StarLabels::pass(const StarOdds& odds, WorkTeam& team, StripMonitor& monitor, double done) {
    const PatchGroups& groups = stars_.groups();
    const auto goesOn = [&] { return monitor.poll(done, 1); };
    ++passCount_;
    for (std::uint32_t level = 0; level < PatchGroups::levels; ++level) {
        if (!relabelLevel(level, odds, team, goesOn)) {
            return false;
        }
    }
    constexpr std::size_t block = 1U << 14;
    const std::span<const Star> rest = stars_.group(groups.rest());
    for (std::size_t i = 0; i < rest.size() && goesOn(); i += block) {
        relabelAll(rest.subspan(i, std::min(block, rest.size() - i)), odds, groups.rest() + i);
    }
    return !monitor.isStopped();
}

bool StarLabels::passOverLevel(std::uint32_t level, const StarOdds& odds, WorkTeam& team, StripMonitor& monitor) {
    ++passCount_;
    return relabelLevel(level, odds, team, [&] { return monitor.poll(0, 1); });
}

bool StarLabels::relabelLevel(std::uint32_t level, const StarOdds& odds, WorkTeam& team, const GoesOn& goesOn) {
    const std::uint32_t begin = stars_.groups().begin(level);
    const auto relabelGroup = [&](std::uint32_t i, unsigned) { relabelAll(stars_.group(begin + i), odds, begin + i); };
    return team.forEach(stars_.groups().begin(level + 1) - begin, relabelGroup, goesOn);
}

void StarLabels::link(StripPartition& partition, const Poll& poll) const {
    forEachPolled(partition.count(), poll, [&](TriangleId triangle) {
        LinkedTriangle& record = partition[triangle];
        if (partition.isCollapsed(triangle)) {
            return;
        }
        std::uint32_t links = 0;
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId across = record.twin[place];
            const bool isLinked =
                across != partition.border() && labelFrom(halfEdgeOf(triangle, place)) != 0 && labelFrom(across) != 0;
            links |= (isLinked ? 1U : 0U) << place;
        }
        record.links = static_cast<EdgeSet>(links);
    });
}

void StarLabels::linkChanged(StripPartition& partition, const std::vector<LabelCode>& earlier, const Poll& poll) const {
    forEachPolled(partition.count(), poll, [&](TriangleId triangle) {
        for (std::uint32_t place = 0; place < 3 && codes_[triangle] != earlier[triangle]; ++place) {
            const HalfEdgeId side = halfEdgeOf(triangle, place);
            const HalfEdgeId across = partition.twin(side);
            if (across == partition.border()) {
                continue;
            }
            if (labelFrom(side) != 0 && labelFrom(across) != 0) {
                partition.link(side);
            } else {
                partition.cut(side);
            }
        }
    });
}

void StarLabels::relabelAll(std::span<const Star> stars, const StarOdds& odds, std::uint64_t part) {
    FastRandom random(seed_ ^ (passCount_ << 32 | part));
    for (const Star& star : stars) {
        relabel(star, odds, random);
    }
}

inline void StarLabels::relabel(const Star& star, const StarOdds& odds, FastRandom& random) {
    const StarCorner* const corners = stars_.corners(star);
    const std::uint32_t size = star.size;
    std::uint32_t rows[maxStarSize]; // from each triangle to the end
    std::uint32_t digits = 0;
    for (std::uint32_t i = size; i-- > 0;) {
        digits = 3 * digits + labelFrom(corners[i].outer);
        rows[i] = StarOdds::rowOf(size - i, digits);
    }
    std::uint64_t bits = random.draw();
    const auto pick = [&bits](StarOdds::Thresholds thresholds) {
        const auto drawn = static_cast<std::uint32_t>(bits & 0xffff);
        bits >>= 16;
        return (drawn >= thresholds[0] ? 1U : 0U) + (drawn >= thresholds[1] ? 1U : 0U);
    };
    const auto put = [&](std::uint32_t i, std::uint32_t label) {
        codes_[triangleOf(corners[i].spoke)] = codeOf[label][placeOf(corners[i].spoke)];
    };
    std::uint32_t before = 2;
    std::uint32_t after = 0;
    std::uint32_t i = 0;
    if (star.kind == Star::Kind::Ring) {
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a star has a triangle, so that the row has been written
        before = after = pick(odds.pickInRing(rows[0]));
        put(i++, before);
    } else if (star.kind == Star::Kind::Window) {
        const HalfEdgeId previous = corners[-1].spoke;
        const HalfEdgeId next = corners[size].spoke;
        before = previous == noHalfEdge ? before : labelFrom(previous);
        after = next == noHalfEdge ? after : labelFrom(next);
    }
    for (; i < size; ++i) {
        if (i == 4) {
            bits = random.draw();
        }
        before = pick(odds.pick(rows[i], before, after));
        put(i, before);
    }
}

} // namespace vexa::mesh::detail
