#pragma once

#include "Commands.h"
#include "Stripping.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace vexa::tool {

/// Many files to turn into strips.
struct StripBatch {
    std::vector<std::string> inputs;
    std::filesystem::path directory; ///< of the outputs; made if it is not there
    std::size_t jobs = 1;            ///< processes side by side
    bool skipExisting = false;       ///< leave the outputs that are there as they are
    bool json = false;
    StripSettings settings;
};

/// Works on all of them and prints a table of what became of each.
///
/// \return `EXIT_CHECK_FAILED` if one failed
/// \throw UsageError two outputs would have the same name, or that of an input
/// \throw FileError  the directory cannot be made
int stripMany(const StripBatch& batch, const Streams& streams);

} // namespace vexa::tool
