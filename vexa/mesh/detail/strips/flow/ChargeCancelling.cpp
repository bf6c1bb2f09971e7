#include "vexa/mesh/detail/strips/flow/ChargeCancelling.h"

#include "vexa/mesh/detail/strips/flow/ChargeFlow.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

namespace {

/// Pairs opposite charges that are one edge apart: fans with a single option left first, as in greedy matching, because
/// they lose it otherwise.
class AdjacentCancelling {
public:
    AdjacentCancelling(FanGraph& fans, ChargeFlow& flow) : fans_(fans), flow_(flow) {}

    void run(StripMonitor& monitor) {
        forEachPolled(fans_.count(), monitor.poller(), [this](FanId fan) { countOptions(fan); });
        // Large meshes in blocks, so that chains of single options run while their surroundings are in the cache.
        const FanId block = fans_.count() < 2 * blockSize ? fans_.count() : blockSize;
        for (FanId begin = 0; begin < fans_.count(); begin += block) {
            const FanId end = fans_.count() - begin < block ? fans_.count() : begin + block;
            runBlock(begin, end);
            if (!monitor.poll(0.3 + 0.2 * end / fans_.count(), 1)) {
                break;
            }
        }
        flow_.flush();
    }

private:
    // Blocks of 2048 fans would cost 0.2 % of the indices.
    static constexpr FanId blockSize = 65536;
    static constexpr std::uint32_t manyOptions = 63;

    /// Option counts stand above the charge.
    [[nodiscard]] std::uint32_t optionsOf(FanId fan) { return fans_.state(fan) >> 2; }

    void countOptions(FanId fan) {
        const std::uint32_t charge = fans_.charge(fan);
        std::uint32_t options = 0;
        for (const FanId other : fans_.neighbours(fan)) {
            options += fans_.charge(other) + charge == 3 ? 1 : 0;
        }
        // More than fit only decide who goes first.
        fans_.state(fan) = static_cast<std::uint8_t>(charge | std::min(options, manyOptions) << 2);
    }

    void runBlock(FanId begin, FanId end) {
        for (FanId fan = begin; fan < end; ++fan) {
            if (optionsOf(fan) == 1) {
                single_.push_back(fan);
            }
        }
        for (FanId fan = begin; fan < end; ++fan) {
            pairSingles();
            if (optionsOf(fan) != 0) {
                pair(fan);
            }
        }
        pairSingles();
    }

    void pairSingles() {
        for (std::size_t i = 0; i < single_.size(); ++i) {
            if (optionsOf(single_[i]) == 1) {
                pair(single_[i]);
            }
        }
        single_.clear();
    }

    /// Cancels a fan's charge against that of the neighbour with the fewest options.
    void pair(FanId fan) {
        const std::uint32_t charge = fans_.charge(fan);
        const std::uint32_t opposite = 3 - charge;
        const std::span<const FanId> neighbours = fans_.neighbours(fan);
        // There is one: options are counted exactly, or too low where they are many.
        std::size_t best = 0;
        std::uint32_t fewest = manyOptions + 1;
        for (std::size_t i = 0; i < neighbours.size() && fewest > 1; ++i) {
            if (fans_.charge(neighbours[i]) == opposite && optionsOf(neighbours[i]) < fewest) {
                fewest = optionsOf(neighbours[i]);
                best = i;
            }
        }
        const FanId partner = neighbours[best];
        flow_.move(fan, static_cast<std::uint32_t>(best), charge);
        fans_.state(fan) = 0;
        fans_.state(partner) = 0;
        takeOptionFrom(neighbours, opposite);
        takeOptionFrom(fans_.neighbours(partner), charge);
    }

    /// A fan is gone from the options of its neighbours with this charge.
    void takeOptionFrom(std::span<const FanId> neighbours, std::uint32_t charge) {
        std::uint8_t* const states = fans_.states();
        for (const FanId fan : neighbours) {
            std::uint8_t& state = states[fan];
            if ((state & 3U) == charge && state >= 4) {
                state = static_cast<std::uint8_t>(state - 4);
                if (state >> 2 == 1) {
                    single_.push_back(fan);
                }
            }
        }
    }

    FanGraph& fans_;
    ChargeFlow& flow_;
    std::vector<FanId> single_;
};

/// Moves each charge that is left to the nearest other one, where the two cancel or become one.
class NearestCancelling {
public:
    NearestCancelling(FanGraph& fans, ChargeFlow& flow, StripMonitor& monitor)
        : fans_(fans), flow_(flow), monitor_(monitor), queue_(fans.count() + 1) {}

    /// In the order of the fans, so that neighbours follow one another: in random order the last charges would be far
    /// apart.
    void run() {
        for (FanId fan = 0; fan < fans_.count(); ++fan) {
            fans_.state(fan) = static_cast<std::uint8_t>(fans_.charge(fan));
        }
        FanId next = nextCharged(0);
        while (next < fans_.count()) {
            const FanId fan = next;
            next = nextCharged(fan + 1);
            prefetchAround(next);
            while (fans_.charge(fan) != 0) {
                const std::uint32_t hit = search(fan);
                if (hit == nothing) {
                    break;
                }
                moveTo(hit);
            }
            if (!pollAfter(searched_, fan) || monitor_.isStopped()) {
                break;
            }
        }
        flow_.flush();
    }

private:
    /// A fan of the search and the position in the queue of the one that it was reached from.
    using Node = std::uint64_t;
    static FanId fanOf(Node node) { return static_cast<FanId>(node); }
    static std::uint32_t parentOf(Node node) { return static_cast<std::uint32_t>(node >> 32); }

    static constexpr std::uint32_t nothing = ~std::uint32_t{0};
    static constexpr std::uint32_t visited = 4;
    static constexpr std::size_t fansPerPoll = 1U << 16;

    /// Polls if much was searched since the last time. Returns whether to go on.
    bool pollAfter(std::size_t searched, FanId fan) {
        unpolled_ += searched;
        if (unpolled_ <= fansPerPoll) {
            return true;
        }
        unpolled_ = 0;
        return monitor_.poll(0.5 + 0.3 * fan / fans_.count(), 1);
    }

    FanId nextCharged(FanId fan) {
        while (fan < fans_.count() && fans_.state(fan) == 0) {
            ++fan;
        }
        return fan;
    }

    void prefetchAround(FanId fan) const {
        if (fan < fans_.count()) {
            for (const FanId neighbour : fans_.neighbours(fan)) {
                fans_.prefetchNeighbours(neighbour);
            }
        }
    }

    /// Breadth-first from a charge to the nearest other one, an opposite one if it is as near. Returns its position in
    /// the queue, or `nothing`.
    std::uint32_t search(FanId start) {
        const std::uint32_t charge = fans_.charge(start);
        std::uint8_t* const states = fans_.states();
        Node* const queue = queue_.get();
        std::uint32_t end = 1;
        std::uint32_t levelEnd = 1;
        std::uint32_t hit = nothing;
        queue[0] = start;
        states[start] |= visited;
        bool isOpposite = false;
        for (std::uint32_t i = 0; i < end && !isOpposite; ++i) {
            if (i == levelEnd) {
                if (hit != nothing || !pollAfter(end - levelEnd, start)) {
                    break;
                }
                levelEnd = end;
            }
            // Lists are scattered.
            if (i + 2 < end) {
                // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): nodes below `end` have been written
                fans_.prefetchNeighbours(fanOf(queue[i + 2]));
            }
            if (i + 5 < end) {
                fans_.prefetchBegin(fanOf(queue[i + 5]));
            }
            for (const FanId fan : fans_.neighbours(fanOf(queue[i]))) {
                const std::uint32_t state = states[fan];
                // No branch on whether the fan was visited before: it could not be predicted.
                queue[end] = fan | Node{i} << 32;
                end += 1 - (state >> 2);
                states[fan] = static_cast<std::uint8_t>(state | visited);
                if (state - 1 < 2) {
                    isOpposite = state + charge == 3;
                    if (isOpposite || hit == nothing) {
                        hit = end - 1;
                    }
                    if (isOpposite) {
                        break;
                    }
                }
            }
        }
        searched_ = end - levelEnd;
        for (std::uint32_t i = 0; i < end; ++i) {
            states[fanOf(queue[i])] &= 3;
        }
        return hit;
    }

    /// Moves the charge from the start of the search to the fan found; all between them are without charge.
    void moveTo(std::uint32_t hit) {
        const FanId start = fanOf(queue_[0]);
        const FanId target = fanOf(queue_[hit]);
        const std::uint32_t charge = fans_.charge(start);
        for (std::uint32_t position = hit; position != 0;) {
            const FanId to = fanOf(queue_[position]);
            position = parentOf(queue_[position]);
            const FanId from = fanOf(queue_[position]);
            const std::span<const FanId> neighbours = fans_.neighbours(from);
            const auto edge = std::find(neighbours.begin(), neighbours.end(), to);
            flow_.move(from, static_cast<std::uint32_t>(edge - neighbours.begin()), charge);
        }
        fans_.state(start) = 0;
        fans_.state(target) = static_cast<std::uint8_t>((fans_.charge(target) + charge) % 3);
    }

    FanGraph& fans_;
    ChargeFlow& flow_;
    StripMonitor& monitor_;
    LargeArray<Node> queue_;   ///< the newest entry may be one that turns out to be in it already
    std::size_t searched_ = 0; ///< fans in the last level of the last search
    std::size_t unpolled_ = 0;
};

} // namespace

void cancelCharges(StripPartition& partition, FanGraph& fans, StripMonitor& monitor) {
    ChargeFlow flow(partition, fans);
    AdjacentCancelling(fans, flow).run(monitor);
    if (!monitor.isStopped()) {
        NearestCancelling(fans, flow, monitor).run();
    }
}

} // namespace vexa::mesh::detail
