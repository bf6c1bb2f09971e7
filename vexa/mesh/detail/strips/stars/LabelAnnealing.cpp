#include "vexa/mesh/detail/strips/stars/LabelAnnealing.h"

#include "vexa/mesh/detail/strips/bound/CostTable.h"
#include "vexa/mesh/detail/strips/bound/LabelDecoding.h"
#include "vexa/mesh/detail/strips/stars/StarOdds.h"
#include "vexa/mesh/detail/strips/stars/Stars.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

namespace {

/// Xorshift: fast, and good enough to pick labels.
class FastRandom {
public:
    explicit FastRandom(std::uint64_t seed) : state_(mix(mix(seed))) { state_ = state_ == 0 ? 1 : state_; }

    /// Numbers that differ little come out unlike one another.
    static std::uint64_t mix(std::uint64_t value) {
        value += 0x9e3779b97f4a7c15U;
        value = (value ^ value >> 30) * 0xbf58476d1ce4e5b9U;
        value = (value ^ value >> 27) * 0x94d049bb133111ebU;
        return value ^ value >> 31;
    }
    std::uint64_t draw() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return state_;
    }

private:
    std::uint64_t state_;
};

/// A triangle's label counted from each of its edges, two bits an edge.
using LabelCode = std::uint8_t;

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

class LabelAnnealing {
public:
    LabelAnnealing(const StripPartition& partition, const PatchGroups& groups, std::uint32_t seed, WorkTeam& team,
                   const Poll& poll)
        : stars_(partition, groups, poll), codes_(std::size_t{partition.count()} + 1), seed_(FastRandom::mix(seed)),
          team_(team) {
        load(partition, poll);
    }

    /// Takes the labels of the triangles.
    void load(const StripPartition& partition, const Poll& poll) {
        forEachPolled(partition.count(), poll,
                      [&](TriangleId triangle) { codes_[triangle] = codeOf[0][partition[triangle].label]; });
    }

    /// Twice what the labels cost, if an end costs as much as given; borders count once.
    [[nodiscard]] double cost(const StripPartition& partition, double endCost, const Poll& poll) const {
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

    [[nodiscard]] const std::vector<LabelCode>& codes() const { return codes_; }
    void restore(std::vector<LabelCode> codes) { codes_ = std::move(codes); }

    /// Passes at which changes for the worse practically do not happen. Returns whether to go on.
    bool cool(double endCost, std::uint32_t passes, StripMonitor& monitor, double done) {
        constexpr double cold = 0.03;
        const StarOdds odds(cold, endCost);
        bool goesOn = true;
        for (std::uint32_t i = 0; i < passes && goesOn; ++i) {
            goesOn = pass(odds, monitor, done);
        }
        return goesOn;
    }

    /// Returns whether to go on.
    bool pass(const StarOdds& odds, StripMonitor& monitor, double done) {
        const PatchGroups& groups = stars_.groups();
        const auto goesOn = [&] { return monitor.poll(done, 1); };
        ++passCount_;
        for (std::uint32_t level = 0; level < PatchGroups::levels; ++level) {
            const std::uint32_t begin = groups.begin(level);
            const auto relabelGroup = [&](std::uint32_t i, unsigned) {
                relabelAll(stars_.group(begin + i), odds, begin + i);
            };
            if (!team_.forEach(groups.begin(level + 1) - begin, relabelGroup, goesOn)) {
                return false;
            }
        }
        constexpr std::size_t block = 1U << 14;
        const std::span<const Star> rest = stars_.group(groups.rest());
        for (std::size_t i = 0; i < rest.size(); i += block) {
            if (!goesOn()) {
                return false;
            }
            relabelAll(rest.subspan(i, std::min(block, rest.size() - i)), odds, groups.rest() + i);
        }
        return true;
    }

    void link(StripPartition& partition, const Poll& poll) const {
        forEachPolled(partition.count(), poll, [&](TriangleId triangle) {
            LinkedTriangle& record = partition[triangle];
            if (partition.isCollapsed(triangle)) {
                return;
            }
            std::uint32_t links = 0;
            for (std::uint32_t place = 0; place < 3; ++place) {
                const HalfEdgeId across = record.twin[place];
                const bool isLinked = across != partition.border() && labelFrom(halfEdgeOf(triangle, place)) != 0 &&
                                      labelFrom(across) != 0;
                links |= (isLinked ? 1U : 0U) << place;
            }
            record.links = static_cast<EdgeSet>(links);
        });
    }

private:
    /// The label of the half-edge's triangle, counted from the half-edge: 0 if it is the one to stay unlinked.
    [[nodiscard]] std::uint32_t labelFrom(HalfEdgeId halfEdge) const {
        return codes_[triangleOf(halfEdge)] >> 2 * placeOf(halfEdge) & 3U;
    }
    /// \param part number of this part of the pass, on which the random numbers depend
    void relabelAll(std::span<const Star> stars, const StarOdds& odds, std::uint64_t part) {
        FastRandom random(seed_ ^ (passCount_ << 32 | part));
        for (const Star& star : stars) {
            relabel(star, odds, random);
        }
    }
    void relabel(const Star& star, const StarOdds& odds, FastRandom& random);

    Stars stars_;
    std::vector<LabelCode> codes_; ///< and 0 for the sentinel: what a border's far side looks like
    std::uint64_t seed_;
    std::uint64_t passCount_ = 0;
    WorkTeam& team_;
};

inline void LabelAnnealing::relabel(const Star& star, const StarOdds& odds, FastRandom& random) {
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

/// Temperature after so much of the cooling: it falls geometrically.
double temperatureAt(std::uint32_t step, std::uint32_t steps, bool isMild) {
    // The last one is 0.22. Labels that are good already would be lost at the higher one.
    const double hottest = isMild ? 0.4 : 0.6;
    const double ratio = isMild ? 0.97434 : 0.95731;
    double temperature = hottest;
    for (std::uint32_t i = 0; i < step * 23 / std::max(1U, steps - 1); ++i) {
        temperature *= ratio;
    }
    return temperature;
}

/// Starts from the labels of a cost split if these cost less once both have cooled down. Returns whether they do.
bool trySplitCosts(LabelAnnealing& annealing, StripPartition& partition, const PatchGroups& groups,
                   const AnnealingOptions& options, WorkTeam& team, StripMonitor& monitor) {
    constexpr std::uint32_t coldPasses = 5;
    const auto endCost = static_cast<std::int16_t>(options.endCost * costUnit);
    if (!annealing.cool(options.endCost, coldPasses, monitor, 0)) {
        return false;
    }
    const double given = annealing.cost(partition, options.endCost, monitor.poller());
    std::vector<LabelCode> codes = annealing.codes();
    if (!labelBySplittingCosts(partition, groups, endCost, options.sweeps, team, monitor)) {
        return false;
    }
    annealing.load(partition, monitor.poller());
    annealing.cool(options.endCost, coldPasses, monitor, 0);
    if (annealing.cost(partition, options.endCost, monitor.poller()) < given) {
        return true;
    }
    annealing.restore(std::move(codes));
    return false;
}

} // namespace

bool annealLabels(StripPartition& partition, const AnnealingOptions& options, WorkTeam& team, StripMonitor& monitor) {
    constexpr std::uint32_t coldPasses = 4;
    // Making the tables takes as long as a pass over ten thousand triangles.
    const std::uint32_t steps = std::clamp(partition.count() / 1024, 4U, 24U);
    const double scale = options.endCost / 1.5;
    PatchGroups groups(partition, options.patchSize, team, monitor.poller());
    LabelAnnealing annealing(partition, groups, options.seed, team, monitor.poller());
    const bool isSplit = options.sweeps != 0 && trySplitCosts(annealing, partition, groups, options, team, monitor);
    groups.release();
    std::optional<StarOdds> odds;
    std::uint32_t step = steps;
    std::uint32_t passes = 0;
    bool goesOn = true;
    for (double done = options.cooling(0); done < 1 && goesOn; done = options.cooling(++passes)) {
        const std::uint32_t newStep = static_cast<std::uint32_t>(done * steps);
        if (newStep != step) {
            step = newStep;
            odds.emplace(scale * temperatureAt(step, steps, isSplit || options.isShort), options.endCost);
        }
        goesOn = annealing.pass(*odds, monitor, done);
    }
    if (!goesOn || !annealing.cool(options.endCost, coldPasses, monitor, 1)) {
        return false;
    }
    annealing.link(partition, monitor.poller());
    return true;
}

} // namespace vexa::mesh::detail
