#pragma once

#include "cli/Flags.h"
#include "ops/Stripping.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace vexa::tool {

class Console;

/// Many files to turn into strips.
struct StripBatch {
    std::vector<std::string> inputs;
    std::filesystem::path directory; ///< of the outputs; created if it does not exist
    std::size_t jobs = 1;            ///< processes at a time
    bool skipExisting = false;       ///< keep outputs that exist
    bool json = false;
    StripSettings settings;
    OptionalNumber weld;            ///< as for `Session`
    std::string extension = ".glb"; ///< of the outputs
};

/// Works on all of them and prints a table of what became of each.
///
/// \return `EXIT_CHECK_FAILED` if one failed
/// \throw UsageError two outputs would have the same name, or that of an input
/// \throw FileError  the directory cannot be created
int stripMany(const StripBatch& batch, Console& console);

} // namespace vexa::tool
