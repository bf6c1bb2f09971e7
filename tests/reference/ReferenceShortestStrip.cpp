#include "reference/ReferenceShortestStrip.h"

#include "reference/ReferenceDecode.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace reference {

namespace {

/// The state that the cost of the rest of a list depends on.
struct State {
    std::uint32_t drawn = 0; ///< a bit per triangle
    std::uint32_t first = 0; ///< the last index but one, as a vertex; `noVertex` where there is none since a restart
    std::uint32_t second = 0;
    bool isOdd = false;             ///< the next triangle is drawn the other way round
    bool followsDegenerate = false; ///< the last three indices draw nothing
};

class Search {
public:
    Search(const Indices& triangles, Joins joins)
        : joins_(joins), vertices_(triangles), count_(static_cast<std::uint32_t>(triangles.size() / 3)) {
        std::sort(vertices_.begin(), vertices_.end());
        vertices_.erase(std::unique(vertices_.begin(), vertices_.end()), vertices_.end());
        noVertex_ = static_cast<std::uint32_t>(vertices_.size());
        triangles_.resize(std::size_t{noVertex_} * noVertex_ * noVertex_);
        for (std::uint32_t t = 0; t < count_; ++t) {
            for (std::uint32_t i = 0; i < 3; ++i) {
                trianglesAt(vertexAt(triangles[3 * t + i]), vertexAt(triangles[3 * t + (i + 1) % 3]),
                            vertexAt(triangles[3 * t + (i + 2) % 3])) |= 1U << t;
            }
        }
    }

    /// The states in the order of their distance from the empty list, until one has drawn everything.
    Indices run() {
        const std::uint32_t all = (1U << count_) - 1;
        seen_.resize((std::size_t{all} + 1) * (noVertex_ + 1) * (noVertex_ + 1) * 4);
        visit({0, noVertex_, noVertex_, false, false}, 0, 0);
        for (std::size_t i = 0;; ++i) {
            const State state = steps_[i].state;
            if (state.drawn == all) {
                return listTo(i);
            }
            for (std::uint32_t vertex = 0; vertex < noVertex_; ++vertex) {
                if (const auto next = append(state, vertex)) {
                    visit(*next, i, vertices_[vertex]);
                }
            }
            if (joins_ != Joins::Degenerate) {
                visit({state.drawn, noVertex_, noVertex_, false, false}, i, restartIndex);
            }
        }
    }

private:
    struct Step {
        State state;
        std::size_t before;
        std::uint32_t index;
    };

    [[nodiscard]] std::uint32_t vertexAt(std::uint32_t index) const {
        return static_cast<std::uint32_t>(std::lower_bound(vertices_.begin(), vertices_.end(), index) -
                                          vertices_.begin());
    }
    std::uint32_t& trianglesAt(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
        return triangles_[(std::size_t{a} * noVertex_ + b) * noVertex_ + c];
    }

    /// The state after one more vertex; nothing where that would draw a triangle that is not wanted (any more).
    std::optional<State> append(const State& state, std::uint32_t vertex) {
        State next{state.drawn, state.second, vertex, false, false};
        if (state.first == noVertex_) {
            return next;
        }
        next.isOdd = !state.isOdd;
        if (state.first == state.second || state.second == vertex || vertex == state.first) {
            next.followsDegenerate = true;
            return joins_ == Joins::Restart && state.followsDegenerate ? std::nullopt : std::optional(next);
        }
        const std::uint32_t drawable = (state.isOdd ? trianglesAt(state.second, state.first, vertex)
                                                    : trianglesAt(state.first, state.second, vertex)) &
                                       ~state.drawn;
        // Equal triangles are drawn in their order.
        next.drawn |= drawable & (0U - drawable);
        return drawable == 0 ? std::nullopt : std::optional(next);
    }

    void visit(const State& state, std::size_t before, std::uint32_t index) {
        std::size_t key = (std::size_t{state.drawn} * (noVertex_ + 1) + state.first) * (noVertex_ + 1) + state.second;
        key = 4 * key + (state.isOdd ? 2 : 0) + (state.followsDegenerate ? 1 : 0);
        if (!seen_[key]) {
            seen_[key] = true;
            steps_.push_back({state, before, index});
        }
    }

    [[nodiscard]] Indices listTo(std::size_t step) const {
        Indices list;
        for (; step != 0; step = steps_[step].before) {
            list.push_back(steps_[step].index);
        }
        std::reverse(list.begin(), list.end());
        return list;
    }

    Joins joins_;
    Indices vertices_;
    std::uint32_t count_;
    std::uint32_t noVertex_;
    Indices triangles_; ///< for every three vertices the triangles that they draw, a bit each
    std::vector<bool> seen_;
    std::vector<Step> steps_;
};

} // namespace

Indices findShortestStrip(const Indices& triangles, Joins joins) {
    const Indices wanted = withoutCollapsed(triangles);
    if (wanted.size() > 3 * 16) {
        throw std::invalid_argument("too many triangles to try all lists");
    }
    return Search(wanted, joins).run();
}

std::uint64_t minIndexCount(const Indices& triangles, Joins joins) {
    return findShortestStrip(triangles, joins).size();
}

} // namespace reference
