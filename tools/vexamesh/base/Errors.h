#pragma once

#include <stdexcept>
#include <string>

namespace vexa::tool {

/// Exit codes of the program.
enum ExitCode {
    EXIT_DONE = 0,         ///< everything was done
    EXIT_CHECK_FAILED = 1, ///< the files could be read, but a check of their meshes failed
    EXIT_WRONG_USE = 2,    ///< wrong arguments
    EXIT_BAD_FILE = 3      ///< a file could not be read or written
};

/// A text as messages show it: only its beginning and end if it is longer than `longest` bytes, as names in a hostile file
/// may be.
inline std::string shortened(const std::string& text, std::size_t longest) {
    if (text.size() <= longest) {
        return text;
    }
    const auto continues = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xc0) == 0x80; };
    std::size_t head = longest / 2;
    std::size_t tail = text.size() - longest / 2;
    while (head > 0 && continues(head)) {
        --head;
    }
    while (tail < text.size() && continues(tail)) {
        ++tail;
    }
    return text.substr(0, head) + "..." + text.substr(tail);
}

/// An error in some data: the text says what and where in it. The file's name is added where it is known.
class FormatError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A file that could not be read or written: the text names it.
class FileError : public std::runtime_error {
public:
    FileError(const std::string& file, const std::string& what)
        : std::runtime_error(shortened(file, longestPath) + ": " + what) {}
    explicit FileError(const std::string& text) : std::runtime_error(text) {}

private:
    static constexpr std::size_t longestPath = 300;
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
