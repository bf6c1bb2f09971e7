#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

enum class Role {
    Own,   ///< this library
    Peer,  ///< another library that does the same work
    Part,  ///< another library that does part of it; the rest is done in advance
    Limit, ///< lower bound set by the memory: the same data merely copied or read
};

/// The cost of strips as one index list.
struct JoinedStrips {
    std::uint64_t byRestart = 0;     ///< indices; 0 where they were not joined so
    std::uint64_t byDegenerates = 0; ///< indices; 0 where they were not joined so
    std::uint64_t misses16 = 0;      ///< vertices that a first-in first-out cache of 16 loads, joined by restart
    std::uint64_t misses32 = 0;      ///< the same for 32
};

/// Result of a run, inspected outside the timed part.
struct Output {
    std::uint64_t indices = 0; ///< length of the index lists; 0 where there are none
    std::uint64_t bytes = 0;   ///< size of the result, which does not count as working memory
    std::string error;         ///< empty if the result is correct, otherwise a description of what is wrong
    JoinedStrips joined = {};
    std::optional<double> processBytes = {}; ///< memory of the process that did the work, if it was one of its own
};

/// One way of doing the work of a comparison. The functions own whatever they share.
struct Contender {
    std::string name;
    Role role = Role::Own;
    double elements = 0;             ///< triangles or attribute elements processed by a run
    std::function<void()> prepare;   ///< before every run, untimed: frees the last result and prepares the input
    std::function<void()> run;       ///< the timed part
    std::function<Output()> inspect; ///< after a run, untimed; may be empty
    /// Takes seconds per run: timed in one round only, and its memory is not measured.
    bool isSlow = false;
};

/// Contenders on the same input, measured in turn.
struct Comparison {
    std::string name;            ///< "area/model"
    std::string unit;            ///< the unit of `Contender::elements`: "triangle", "element"
    bool real = false;           ///< measured on a real model
    bool measuresMemory = false; ///< also measure the peak memory of every contender
    int rounds = 0;
    std::vector<Contender> contenders;
};

/// Measurements of one contender.
struct Stats {
    std::string name;
    Role role = Role::Own;
    double elements = 0;
    std::vector<double> seconds; ///< one per round
    Output output;
    std::optional<double> peakBytes; ///< memory touched by a run beyond input and output

    [[nodiscard]] double median() const;
};

struct Measurement {
    std::string name;
    std::string unit;
    bool real = false;
    std::vector<Stats> contenders;

    /// Null if that contender does not exist.
    [[nodiscard]] const Stats* find(std::string_view contender) const;
    /// The fastest of a role; null if there is none.
    [[nodiscard]] const Stats* best(Role role) const;
};

/// The median over the rounds of the ratio of the two times per element. Both times of a ratio come from the same
/// round, so that anything which slows the whole machine for a while affects both.
double ratio(const Stats& measured, const Stats& reference);

class Results {
public:
    void add(Measurement measurement) { measurements_.push_back(std::move(measurement)); }
    [[nodiscard]] const std::vector<Measurement>& all() const { return measurements_; }

    /// Null if it was not measured.
    [[nodiscard]] const Stats* find(std::string_view measurement, std::string_view contender) const;
    /// Empty if either was not measured.
    [[nodiscard]] std::optional<double> ratio(std::string_view measurement, std::string_view contender,
                                              std::string_view reference) const;

private:
    std::vector<Measurement> measurements_;
};

/// Checks the output of each contender once, then times them in turn, one run of each per round. A slow contender is
/// timed while its output is checked.
Measurement measure(const Comparison& comparison);

} // namespace bench
