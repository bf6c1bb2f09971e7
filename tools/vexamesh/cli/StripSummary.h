#pragma once

#include "StripFile.h"
#include "io/Json.h"

#include <ostream>
#include <string>

namespace vexa::tool {

/// Indices of the output per triangle; 0 without triangles.
double indicesPerTriangle(const StripFigures& figures);

/// What became of a file, for programs.
Json stripJson(const std::string& input, const std::string& output, const StripOutcome& outcome);

/// The same as a table for people.
void printStripTable(std::ostream& out, const std::string& input, const std::string& output,
                     const StripOutcome& outcome);

} // namespace vexa::tool
