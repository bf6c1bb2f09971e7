#pragma once

#include "Stripping.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

namespace vexa::tool {

/// How a person wants triangles to be cut; the same for every subcommand that cuts them.
struct CutArguments {
    std::uint32_t iterations = 1;
    std::uint32_t fans = 0; ///< fewest triangles of a fan; 0 makes none
    bool allStrips = false;
    std::string join = "degenerate";
};

/// \param arguments is filled when the command line is parsed
void addCutOptions(CLI::App& command, CutArguments& arguments);

StripSettings settingsOf(const CutArguments& arguments);

} // namespace vexa::tool
