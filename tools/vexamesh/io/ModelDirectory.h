#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vexa::tool {

/// Lets every model that is read from now on refer to files in these directories, too.
void allowDirectories(const std::vector<std::filesystem::path>& directories);

/// Stands for the directory of a model that is standard input.
constexpr const char* noDirectory = "/dev/null";

/// The directory of a model. Files that the model refers to must lie below it, or below a directory that the user
/// allows, after symbolic links are resolved. Otherwise an untrusted model could bring the user's own files into an
/// output.
class ModelDirectory {
public:
    explicit ModelDirectory(std::filesystem::path directory) : directory_(std::move(directory)) {}

    [[nodiscard]] const std::filesystem::path& path() const { return directory_; }

    /// The path of a file. The file need not exist.
    ///
    /// \param name relative to the directory, or absolute
    /// \throw FormatError the file is outside the permitted directories
    /// \throw FileError   the model is standard input
    [[nodiscard]] std::filesystem::path resolve(const std::string& name) const;

    /// Whether a permitted file of this name exists.
    [[nodiscard]] bool contains(const std::string& name) const;

private:
    std::filesystem::path directory_;
};

} // namespace vexa::tool
