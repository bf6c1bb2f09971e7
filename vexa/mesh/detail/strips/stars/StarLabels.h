#pragma once

#include "vexa/mesh/detail/strips/PatchGroups.h"
#include "vexa/mesh/detail/strips/Polling.h"
#include "vexa/mesh/detail/strips/StripMonitor.h"
#include "vexa/mesh/detail/strips/StripPartition.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"
#include "vexa/mesh/detail/strips/stars/FastRandom.h"
#include "vexa/mesh/detail/strips/stars/StarOdds.h"
#include "vexa/mesh/detail/strips/stars/Stars.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace vexa::mesh::detail {

/// At which changes for the worse practically do not happen.
constexpr double coldTemperature = 0.03;

/// A triangle's label counted from each of its edges, two bits an edge.
using LabelCode = std::uint8_t;

/// The labels of a partition's triangles, drawn star by star.
class StarLabels {
public:
    /// \param groups see Stars
    StarLabels(const StripPartition& partition, const PatchGroups& groups, std::uint32_t seed, const Poll& poll);

    /// Takes the labels of the triangles.
    void load(const StripPartition& partition, const Poll& poll);

    /// Twice what the labels cost, if an end costs as much as given; borders count once.
    [[nodiscard]] double cost(const StripPartition& partition, double endCost, const Poll& poll) const;

    [[nodiscard]] const std::vector<LabelCode>& codes() const { return codes_; }
    void restore(std::vector<LabelCode> codes) { codes_ = std::move(codes); }

    /// Passes at the cold temperature. Returns whether to go on.
    bool cool(double endCost, std::uint32_t passes, WorkTeam& team, StripMonitor& monitor, double done);

    /// Draws the labels of every star. Returns whether to go on.
    bool pass(const StarOdds& odds, WorkTeam& team, StripMonitor& monitor, double done);

    /// Draws the labels of the stars in the groups of one level only. Returns whether to go on.
    bool passOverLevel(std::uint32_t level, const StarOdds& odds, WorkTeam& team, StripMonitor& monitor);

    /// Links all triangles as their labels want it.
    void link(StripPartition& partition, const Poll& poll) const;
    /// The same, but only over the edges of triangles whose labels differ from earlier ones. No link may cross the edge of
    /// a label.
    void linkChanged(StripPartition& partition, const std::vector<LabelCode>& earlier, const Poll& poll) const;

private:
    /// The label of the half-edge's triangle, counted from the half-edge: 0 if it is the one to stay unlinked.
    [[nodiscard]] std::uint32_t labelFrom(HalfEdgeId halfEdge) const {
        return codes_[triangleOf(halfEdge)] >> 2 * placeOf(halfEdge) & 3U;
    }
    bool relabelLevel(std::uint32_t level, const StarOdds& odds, WorkTeam& team, const GoesOn& goesOn);
    /// \param part number of this part of the pass, on which the random numbers depend
    void relabelAll(std::span<const Star> stars, const StarOdds& odds, std::uint64_t part);
    void relabel(const Star& star, const StarOdds& odds, FastRandom& random);

    Stars stars_;
    std::vector<LabelCode> codes_; ///< and 0 for the sentinel: what a border's far side looks like
    std::uint64_t seed_;
    std::uint64_t passCount_ = 0;
};

} // namespace vexa::mesh::detail
