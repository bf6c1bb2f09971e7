#include "io/ModelDirectory.h"

#include "base/Errors.h"

#include <algorithm>

namespace vexa::tool {

namespace fs = std::filesystem;

namespace {

std::vector<fs::path>& allowedDirectories() {
    static std::vector<fs::path> directories;
    return directories;
}

/// A path without links, as far as it exists.
fs::path withoutLinks(const fs::path& path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path.empty() ? fs::path(".") : path, error);
    const fs::path resolved = fs::weakly_canonical(absolute, error);
    return error ? absolute.lexically_normal() : resolved;
}

bool isBelow(const fs::path& file, const fs::path& directory) {
    const fs::path parent = withoutLinks(directory);
    return std::mismatch(parent.begin(), parent.end(), file.begin(), file.end()).first == parent.end();
}

bool isPermitted(const fs::path& path, const fs::path& directory) {
    const fs::path file = withoutLinks(path);
    const std::vector<fs::path>& others = allowedDirectories();
    return isBelow(file, directory) ||
           std::any_of(others.begin(), others.end(), [&](const fs::path& other) { return isBelow(file, other); });
}

} // namespace

void allowDirectories(const std::vector<fs::path>& directories) {
    allowedDirectories() = directories;
}

fs::path ModelDirectory::resolve(const std::string& name) const {
    if (directory_ == noDirectory) {
        throw FileError(name +
                        ": cannot be read, because standard input is not in a directory; give the model by its name");
    }
    fs::path path = directory_ / name;
    if (!isPermitted(path, directory_)) {
        throw FormatError(
            "refers to " + path.string() +
            ", which lies outside the model's directory; --allow-outside DIR permits the files below DIR");
    }
    return path;
}

bool ModelDirectory::contains(const std::string& name) const {
    const fs::path path = directory_ / name;
    std::error_code error;
    return isPermitted(path, directory_) && fs::exists(path, error);
}

} // namespace vexa::tool
