#pragma once

#include "io/Bytes.h"

#include <filesystem>
#include <string>

namespace vexa::tool {

/// The whole content of a regular file.
///
/// \throw FileError it is missing, no regular file, not readable, or larger than 4 GiB
Bytes readFile(const std::filesystem::path& path);

/// Whether a file's name ends in `extension`, in small letters or capitals.
bool hasExtension(const std::filesystem::path& file, const std::string& extension);

/// Checks what can be known of an output before the work begins.
///
/// \throw UsageError it does not end in `extension`, or it is the same file as `input`
void checkOutputName(const std::filesystem::path& output, const std::string& extension,
                     const std::filesystem::path& input);

/// Writes a file as a whole: the bytes go to a new file beside it, which then takes its name. Whatever fails, a file
/// that was there before is left as it was, and nothing else is left behind.
///
/// \throw FileError it cannot be written
void writeFile(const std::filesystem::path& path, const Bytes& content);

} // namespace vexa::tool
