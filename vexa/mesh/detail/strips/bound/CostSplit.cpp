#include "vexa/mesh/detail/strips/bound/CostSplit.h"

#include <algorithm>
#include <atomic>

namespace vexa::mesh::detail {

namespace {

/// Products of more tables than this are shifted down, so that they stay within 16 bits.
constexpr std::size_t shortProduct = 8;

/// The part that an edge keeps of what it can spare, in 1/65536, when `left` edges of the star still wait for theirs.
std::uint16_t keptPart(std::uint32_t push, std::uint32_t left) {
    return static_cast<std::uint16_t>(65536 - std::clamp<std::uint32_t>(push / left, 1, 65536));
}

} // namespace

CostTable wholeCosts(const EdgeCosts& costs, StarEntry::Share share, bool isFirst) {
    switch (share) {
    case StarEntry::Share::InnerRest:
        return costs.inner;
    case StarEntry::Share::BorderRest:
        return isFirst ? costs.borderFirst : costs.borderLast;
    default:
        return costs.free;
    }
}

ExactTable exactCosts(const EdgeCosts& costs, const CostTable& kept, StarEntry::Share share, bool isFirst) {
    const bool isKept = share == StarEntry::Share::Kept;
    const CostTable whole = wholeCosts(costs, share, isFirst);
    const CostTable table = isKept ? kept : seenFromOtherEnd(kept);
    ExactTable exact;
    for (unsigned row = 0; row < 3; ++row) {
        for (unsigned column = 0; column < 3; ++column) {
            exact[row][column] = isKept ? table.at(row, column) : whole.at(row, column) - table.at(row, column);
        }
    }
    return exact;
}

template <class Matrix>
CostSplit<Matrix>::CostSplit(const StarLayout& layout, const EdgeCosts& costs, WorkTeam& team, const Poll& poll)
    : layout_(layout), inner_(costs.inner), borderFirst_(costs.borderFirst), borderLast_(costs.borderLast),
      free_(costs.free), team_(team), scratch_(team.size()) {
    for (Scratch& scratch : scratch_) {
        scratch.own.resize(layout.maxStarSize());
        scratch.after.resize(layout.maxStarSize());
    }
    tables_.reserve(layout.tableCount());
    forEachPolled(layout.tableCount(), poll, [this](std::uint32_t) { tables_.emplace_back(); });
    forEachPolled(layout.starCount(), poll, [&](std::uint32_t i) {
        const std::span<const StarEntry> star = layout.star(i);
        for (const StarEntry& entry : star) {
            if (!entry.isKept()) {
                tables_[entry.table()] = seenFromOtherEnd(wholeCosts(costs, entry.share(), &entry == star.data()));
            }
        }
    });
}

template <class Matrix>
bool CostSplit<Matrix>::sweep(std::uint32_t push, const Observer& observer) {
    return sweepOneWay(Direction::Forth, push, [&](double part) { return observer(part / 2); }) &&
           sweepOneWay(Direction::Back, push, [&](double part) { return observer(0.5 + part / 2); });
}

template <class Matrix>
bool CostSplit<Matrix>::sweepMany(unsigned count, const Observer& observer) {
    constexpr std::uint32_t equal = 65536;
    constexpr std::uint32_t more = equal * 2 / 5;
    for (unsigned i = 0; i < count; ++i) {
        const std::uint32_t push =
            equal + more - static_cast<std::uint32_t>(std::uint64_t{more} * i / std::max(1U, count - 1));
        if (!sweep(push, [&](double part) { return observer((i + part) / count); })) {
            return false;
        }
    }
    return true;
}

template <class Matrix>
bool CostSplit<Matrix>::sweepOneWay(Direction direction, std::uint32_t push, const Observer& observer) {
    const bool isForth = direction == Direction::Forth;
    std::atomic<std::uint32_t> visited = 0;
    const auto handOnAll = [&](StarRun run, unsigned member) {
        for (std::uint32_t i = run.begin; i != run.end; ++i) {
            handOn(layout_.star(isForth ? i : run.end - 1 - (i - run.begin)), direction, push, scratch_[member]);
        }
        visited += run.end - run.begin;
    };
    return layout_.forEachRun(team_, isForth, handOnAll,
                              [&] { return observer(static_cast<double>(visited) / layout_.starCount()); });
}

/// Inner edges first: all others are rare.
template <class Matrix>
inline Matrix CostSplit<Matrix>::ownCosts(std::span<const StarEntry> star, std::size_t entry) const {
    const Matrix kept(tables_[star[entry].table()]);
    const StarEntry::Share share = star[entry].share();
    if (share == StarEntry::Share::Kept) {
        return kept;
    }
    const Matrix* whole = &inner_;
    if (share != StarEntry::Share::InnerRest) {
        whole = share == StarEntry::Share::FreeRest ? &free_ : entry == 0 ? &borderFirst_ : &borderLast_;
    }
    return *whole - kept.seenFromOtherEnd();
}

template <class Matrix>
void CostSplit<Matrix>::handOn(std::span<const StarEntry> star, Direction direction, std::uint32_t push,
                               Scratch& scratch) {
    std::vector<Matrix>& own = scratch.own;
    std::vector<Matrix>& after = scratch.after;
    // The other star of an edge is still to come if this one is the first of the two, in the order of the sweep.
    const auto isHandedOn = [direction](const StarEntry& entry) {
        return entry.isKept() == (direction == Direction::Forth);
    };
    auto left = static_cast<std::uint32_t>(std::count_if(star.begin(), star.end(), isHandedOn));
    if (left == 0) {
        return;
    }
    const std::size_t last = star.size() - 1;
    for (std::size_t k = 0; k <= last; ++k) {
        own[k] = ownCosts(star, k);
    }
    const auto first = static_cast<std::size_t>(std::find_if(star.begin(), star.end(), isHandedOn) - star.begin());
    after[last] = own[last];
    for (std::size_t k = last; --k > first;) {
        after[k] = own[k] * after[k + 1];
        if (k % shortProduct == 0) {
            after[k] = after[k].fromFirst();
        }
    }
    Matrix before = own[0];
    for (std::size_t k = 0; left != 0; ++k) {
        Matrix current = own[k];
        if (isHandedOn(star[k])) {
            // From the second triangle of the edge around the star to the first.
            const Matrix around = k == 0 ? after[1] : k == last ? before : after[k + 1] * before;
            const Matrix spare = (around.transposed() + current).fromLowest();
            const Matrix handed = spare.share(keptPart(push, left--));
            current = current - handed;
            CostTable& table = tables_[star[k].table()];
            if (direction == Direction::Forth) {
                current.store(table);
            } else {
                (Matrix(table) + handed.seenFromOtherEnd()).store(table);
            }
        }
        before = k == 0 ? current : before * current;
        if (k % shortProduct == shortProduct - 1) {
            before = before.fromFirst();
        }
    }
}

template class CostSplit<PlainMatrix>;
#if defined(__SSE2__)
template class CostSplit<SseMatrix>;
#endif

} // namespace vexa::mesh::detail
