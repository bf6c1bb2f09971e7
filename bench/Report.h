#pragma once

#include "Goals.h"
#include "Measurement.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// What was measured with: the machine, the compiler, the peers.
using Surroundings = std::vector<std::pair<std::string, std::string>>;

void printHeading(const Surroundings& surroundings);
/// One comparison's lines of the table.
void printMeasurement(const Measurement& measurement);
void printGoals(const std::vector<Goal>& goals);

void writeJson(const std::filesystem::path& file, const Surroundings& surroundings, const Results& results,
               const std::vector<Goal>& goals);

} // namespace bench
