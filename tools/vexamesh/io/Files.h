#pragma once

#include "base/Bytes.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace vexa::tool {

/// Bytes of the largest file that is read.
constexpr std::int64_t largestFile = 0xffffffff;

/// The whole content of a regular file.
///
/// \throw FileError the file is missing, not regular, not readable, or larger than 4 GiB or than the memory that is free
Bytes readFile(const std::filesystem::path& path);

/// Everything that standard input holds.
///
/// \throw FileError it cannot be read, or holds more than 4 GiB
Bytes readStandardInput();

/// Whether a file's name ends in `extension`, ignoring case.
bool hasExtension(const std::filesystem::path& file, const std::string& extension);

/// Checks the name of an output file.
///
/// \throw UsageError the name ends in none of `extensions`, or names the same file as `input`
void checkOutputName(const std::filesystem::path& output, const std::vector<std::string>& extensions,
                     const std::filesystem::path& input);

/// Writes a file atomically: the bytes go to a temporary file in the same directory, which is then renamed. On failure,
/// or if a signal ends the process, an existing file is unchanged and the temporary file is removed.
///
/// \throw FileError the file cannot be written
void writeFile(const std::filesystem::path& path, const Bytes& content);

/// Writes two files, as `writeFile` does: none of them is replaced before both are complete.
///
/// \throw FileError one of them cannot be written
void writeFiles(const std::filesystem::path& path, const Bytes& content, const std::filesystem::path& otherPath,
                const Bytes& otherContent);

} // namespace vexa::tool
