#pragma once

#include "io/Document.h"

#include <filesystem>
#include <functional>
#include <optional>

namespace vexa::tool {

/// Limits on reading one file, as the user sets them.
struct ParseLimits {
    std::optional<std::size_t> memory; ///< MiB; otherwise 4096 and eight times the size of the file
    unsigned int seconds = 300;
};

/// For every file that is read from now on.
void setParseLimits(const ParseLimits& limits);

/// Reads a file in a process of its own, so that a reader that crashes or exceeds its limits ends nothing but itself.
///
/// \param parse reads and checks the file, or throws what is wrong with it
/// \return the document without its decoded meshes
/// \throw FileError what `parse` has thrown, or how its process has ended
Document readIsolated(const std::filesystem::path& file, const std::function<Document()>& parse);

} // namespace vexa::tool
