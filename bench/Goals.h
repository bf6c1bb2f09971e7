#pragma once

#include "Measurement.h"

#include <optional>
#include <string>
#include <vector>

namespace bench {

/// An upper bound on a measured value.
struct Goal {
    std::string text;
    double limit = 0;
    std::optional<double> value; ///< empty if this run did not measure it

    [[nodiscard]] bool isMet() const { return value && *value <= limit; }
};

std::vector<Goal> evaluateGoals(const Results& results);

} // namespace bench
