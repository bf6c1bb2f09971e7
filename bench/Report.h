#pragma once

#include "Goals.h"
#include "Measurement.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// The machine, the compiler and the peers' versions.
using Environment = std::vector<std::pair<std::string, std::string>>;

void printHeading(const Environment& environment);
/// Prints the table rows of one comparison.
void printMeasurement(const Measurement& measurement);
/// Prints how many indices per triangle each contender needs for joined strips, model by model.
void printIndexTable(const Results& results);
void printGoals(const std::vector<Goal>& goals);

void writeJson(const std::filesystem::path& file, const Environment& environment, const Results& results,
               const std::vector<Goal>& goals);

} // namespace bench
