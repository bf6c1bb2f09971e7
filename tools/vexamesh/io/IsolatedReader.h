#pragma once

#include "io/Document.h"

#include <filesystem>
#include <functional>
#include <optional>

namespace vexa::tool {

/// What a person grants the reading of one file; what is not given has a default.
struct ParseLimits {
    std::optional<std::size_t> memory; ///< MiB; otherwise 4096 and eight times the size of the file
    unsigned int seconds = 300;
};

/// For every file that is read from now on.
void setParseLimits(const ParseLimits& limits);

/// Reads a file in a process of its own, so that a reader that crashes, or takes too much, ends nothing but itself.
///
/// \param parse reads and checks the file, or throws what is wrong with it
/// \return the document without its decoded meshes
/// \throw FileError what `parse` has thrown, or how its process has ended
Document readIsolated(const std::filesystem::path& file, const std::function<Document()>& parse);

} // namespace vexa::tool
