#pragma once

#include "base/Json.h"
#include "ops/StripFile.h"

#include <string>

namespace vexa::tool {

class Console;

/// Indices of the output per triangle; 0 without triangles.
double indicesPerTriangle(const StripStats& stats);

/// The proven minimum likewise; 0 if it is not known.
double minIndicesPerTriangle(const StripStats& stats);

/// The strips of a file, for programs.
Json stripJson(const std::string& input, const std::string& output, const StripOutcome& outcome);

/// The same as a table for people.
void printStripTable(Console& console, const std::string& input, const std::string& output,
                     const StripOutcome& outcome);

} // namespace vexa::tool
