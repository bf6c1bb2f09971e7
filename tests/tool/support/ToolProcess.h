#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tool_test {

/// A temporary directory that is removed at the end of the test.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory();

    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Names of the files in it, sorted.
    [[nodiscard]] std::vector<std::string> files() const;

private:
    std::filesystem::path path_;
};

/// The exit status of a process and its output.
struct ProcessResult {
    int exitCode = -1; ///< -1 when a signal ended it
    int signal = 0;
    std::string out;
    std::string err;
    std::size_t maxMemory = 0; ///< bytes that it or a child of it had in memory at once
};

/// Runs the built program.
ProcessResult runProgram(const std::vector<std::string>& arguments);

/// The same with a text on standard input.
ProcessResult runProgram(const std::vector<std::string>& arguments, const std::string& input);

/// Runs the program's code in a forked process, which is faster; a hang ends with SIGALRM.
ProcessResult runForked(const std::vector<std::string>& arguments);

std::string readText(const std::filesystem::path& file);
void writeText(const std::filesystem::path& file, const std::string& text);

/// How often `part` occurs in `text`.
std::size_t countOf(const std::string& text, const std::string& part);

} // namespace tool_test
