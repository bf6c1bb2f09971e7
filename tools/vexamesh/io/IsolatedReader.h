#pragma once

#include "io/Document.h"

#include <filesystem>
#include <functional>
#include <optional>

namespace vexa::tool {

/// The user's limits on reading one file.
struct ParseLimits {
    std::optional<std::size_t> memory; ///< MiB; by default 4096 plus eight times the size of the file
    unsigned int seconds = 300;
};

/// Sets the limits for every file that is read from now on.
void setParseLimits(const ParseLimits& limits);

/// Reads a file in a child process, so that a reader that crashes or exceeds its limits does not end the program.
///
/// \param size  of the file, in bytes
/// \param parse reads and checks the file; throws if something is wrong with it
/// \return the document without its decoded meshes
/// \throw FileError carries the message of the exception from `parse`, or says how the child process ended
Document readIsolated(const std::filesystem::path& file, std::size_t size, const std::function<Document()>& parse);

} // namespace vexa::tool
