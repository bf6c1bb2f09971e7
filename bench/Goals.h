#pragma once

#include "Measurement.h"

#include <optional>
#include <string>
#include <vector>

namespace bench {

/// A bound that the measured figures are held against.
struct Goal {
    std::string text;
    double limit = 0;
    std::optional<double> value; ///< empty when this run did not measure it

    [[nodiscard]] bool isReached() const { return value && *value <= limit; }
};

std::vector<Goal> judge(const Results& results);

} // namespace bench
