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
    Part,  ///< another library that does a part of it, the rest done before
    Limit, ///< what the memory allows: the same data only copied or read
};

/// What a run left behind, looked at outside the timed part.
struct Output {
    std::uint64_t indices = 0; ///< length of the index lists; 0 where there are none
    std::uint64_t bytes = 0;   ///< size of the result, which is not working memory
    std::string fault;         ///< empty when the result is right, otherwise what is wrong with it
};

/// One way of doing the work of a comparison. What the functions share is owned by them.
struct Contender {
    std::string name;
    Role role = Role::Own;
    double elements = 0;             ///< triangles or attribute elements that a run works on
    std::function<void()> prepare;   ///< before every run, untimed: frees the last result and readies the input
    std::function<void()> run;       ///< the timed part
    std::function<Output()> inspect; ///< after a run, untimed; may be empty
};

/// Contenders over the same input, measured in turns.
struct Comparison {
    std::string name;            ///< "area/model"
    std::string unit;            ///< what `Contender::elements` counts: "triangle", "element"
    bool real = false;           ///< measured on a real model
    bool measuresMemory = false; ///< also take the peak memory of every contender
    int rounds = 0;
    std::vector<Contender> contenders;
};

/// What was measured of one contender.
struct Figure {
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
    std::vector<Figure> figures;

    [[nodiscard]] const Figure* find(std::string_view figure) const;
    /// The fastest of a role; null when there is none.
    [[nodiscard]] const Figure* best(Role role) const;
};

/// The median over the rounds of one figure's time through the other's, both of the same round: what slows the whole
/// machine for a while slows both.
double ratio(const Figure& figure, const Figure& reference);

class Results {
public:
    void add(Measurement measurement) { measurements_.push_back(std::move(measurement)); }
    [[nodiscard]] const std::vector<Measurement>& all() const { return measurements_; }

    [[nodiscard]] const Figure* find(std::string_view measurement, std::string_view figure) const;
    /// Empty when either was not measured.
    [[nodiscard]] std::optional<double> ratio(std::string_view measurement, std::string_view figure,
                                              std::string_view reference) const;

private:
    std::vector<Measurement> measurements_;
};

/// Checks each contender once, then times them in turns, a run of each per round.
Measurement measure(const Comparison& comparison);

} // namespace bench
