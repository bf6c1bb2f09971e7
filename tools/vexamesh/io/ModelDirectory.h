#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vexa::tool {

/// Adds directories to whose files models may refer, for every model that is read from now on.
void allowDirectories(const std::vector<std::filesystem::path>& directories);

/// The directory of a model. The files that the model refers to must lie below it, or below a directory that the user
/// allows, after symbolic links are resolved: a model from somewhere else must not bring the user's own files into what
/// is made of it.
class ModelDirectory {
public:
    explicit ModelDirectory(std::filesystem::path directory) : directory_(std::move(directory)) {}

    [[nodiscard]] const std::filesystem::path& path() const { return directory_; }

    /// The path of a file, which need not exist.
    ///
    /// \param name relative to the directory, or absolute
    /// \throw FormatError the file lies elsewhere
    [[nodiscard]] std::filesystem::path resolve(const std::string& name) const;

    /// Whether there is a file of this name at a permitted place.
    [[nodiscard]] bool contains(const std::string& name) const;

private:
    std::filesystem::path directory_;
};

} // namespace vexa::tool
