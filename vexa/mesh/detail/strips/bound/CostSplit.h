#pragma once

#include "vexa/mesh/detail/strips/LargeVector.h"
#include "vexa/mesh/detail/strips/bound/CostTable.h"
#include "vexa/mesh/detail/strips/bound/MinPlus.h"
#include "vexa/mesh/detail/strips/bound/StarLayout.h"

#include <array>
#include <functional>
#include <vector>

namespace vexa::mesh::detail {

/// The costs of all edges, each split between its two stars. The sum of the stars' least costs is a lower bound on the
/// costs of any labels, whatever the split; sweeps raise it.
///
/// \tparam Matrix one of the kinds of MinPlus.h, which all give the same tables
template <class Matrix>
class CostSplit {
public:
    /// Called between stars, in the thread of the team's owner, with the part of the sweeps that is done; false stops
    /// them.
    using Observer = std::function<bool(double)>;

    /// Gives every edge wholly to the first of its stars. Keeps references to the layout and the team.
    ///
    /// \param poll called meanwhile, in this thread
    CostSplit(const StarLayout& layout, const EdgeCosts& costs, WorkTeam& team, const Poll& poll = {});

    /// Goes over all stars, first to last and back. Each hands what it can do without to those that come later: the least
    /// cost of any star does not fall, but for rounding.
    ///
    /// \param push how much of what an edge can spare it hands on, in 1/65536 of an equal share; at least that
    /// \return false when the observer has stopped it
    bool sweep(std::uint32_t push, const Observer& observer);

    /// Sweeps that hand on more than equal shares at first, which gets costs further, and equal ones in the end.
    ///
    /// \return false when the observer has stopped them
    bool sweepMany(unsigned count, const Observer& observer);

    /// The tables that are kept, by number.
    [[nodiscard]] const LargeVector<CostTable>& tables() const { return tables_; }

private:
    enum class Direction { Forth, Back };
    bool sweepOneWay(Direction direction, std::uint32_t push, const Observer& observer);
    /// Matrices of one star.
    struct Scratch {
        std::vector<Matrix> own;   ///< the costs of its edges
        std::vector<Matrix> after; ///< for each of its edges, the product from there to the end
    };
    void handOn(std::span<const StarEntry> star, Direction direction, std::uint32_t push, Scratch& scratch);
    [[nodiscard]] Matrix ownCosts(std::span<const StarEntry> star, std::size_t entry) const;

    const StarLayout& layout_;
    LargeVector<CostTable> tables_;
    Matrix inner_;
    Matrix borderFirst_;
    Matrix borderLast_;
    Matrix free_;
    WorkTeam& team_;
    std::vector<Scratch> scratch_; ///< of each member
};

extern template class CostSplit<PlainMatrix>;
#if defined(__SSE2__)
extern template class CostSplit<SseMatrix>;
#endif

/// The whole costs of an edge seen from one of its stars: of both its tables together.
///
/// \param share what this star has of it; not `Kept`
CostTable wholeCosts(const EdgeCosts& costs, StarEntry::Share share, bool isFirst);

using ExactTable = std::array<std::array<std::int64_t, 3>, 3>;

/// The costs that a star has of one of its edges, without rounding.
///
/// \param isFirst whether the edge is the first of the star
ExactTable exactCosts(const EdgeCosts& costs, const CostTable& kept, StarEntry::Share share, bool isFirst);

} // namespace vexa::mesh::detail
