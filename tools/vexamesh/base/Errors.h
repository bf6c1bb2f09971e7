#pragma once

#include <stdexcept>
#include <string>

namespace vexa::tool {

/// What the program ends with.
enum ExitCode {
    EXIT_DONE = 0,         ///< everything was done
    EXIT_CHECK_FAILED = 1, ///< the files could be read, but a check of their meshes failed
    EXIT_WRONG_USE = 2,    ///< wrong arguments
    EXIT_BAD_FILE = 3      ///< a file could not be read or written
};

/// What is wrong with some data, and where in it. The file's name is added where it is known.
class FormatError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A file that could not be read or written: the text names it.
class FileError : public std::runtime_error {
public:
    FileError(const std::string& file, const std::string& what) : std::runtime_error(file + ": " + what) {}
    explicit FileError(const std::string& text) : std::runtime_error(text) {}
};

/// Arguments that contradict each other, or the files they name.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A check that failed: the text says which.
class CheckError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace vexa::tool
