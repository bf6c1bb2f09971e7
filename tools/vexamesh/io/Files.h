#pragma once

#include "base/Bytes.h"

#include <filesystem>
#include <string>

namespace vexa::tool {

/// The whole content of a regular file.
///
/// \throw FileError it is missing, not a regular file, not readable, or larger than 4 GiB
Bytes readFile(const std::filesystem::path& path);

/// Whether a file's name ends in `extension`, in lower or upper case.
bool hasExtension(const std::filesystem::path& file, const std::string& extension);

/// Checks the name of an output before the work begins.
///
/// \throw UsageError it does not end in `extension`, or it is the same file as `input`
void checkOutputName(const std::filesystem::path& output, const std::string& extension,
                     const std::filesystem::path& input);

/// Writes a file as a whole: the bytes go to a temporary file in the same directory, which is then renamed. If anything
/// fails, an existing file stays as it was and the temporary file is removed, also when a signal ends the process.
///
/// \throw FileError it cannot be written
void writeFile(const std::filesystem::path& path, const Bytes& content);

} // namespace vexa::tool
