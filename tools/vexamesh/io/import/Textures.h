#pragma once

#include "io/AssetBuilder.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vexa::tool {

/// How a texture continues outside of its picture.
enum class TextureWrap { Repeat, Clamp };

/// The pictures that an imported file refers to by name; each moves into the document once.
class TextureLoader {
public:
    /// \param directory of the file that refers to them
    /// \param leftOut   gets a line, once per picture, if it cannot be read
    TextureLoader(AssetBuilder& builder, std::filesystem::path directory, std::vector<std::string>& leftOut)
        : builder_(builder), directory_(std::move(directory)), leftOut_(leftOut) {}

    /// \param name as written in the file; a backslash separates directories, too
    /// \return the index of a texture that shows the picture; nothing if it cannot be read
    std::optional<std::size_t> load(const std::string& name, TextureWrap wrap = TextureWrap::Repeat);

private:
    std::optional<std::size_t> loadImage(const std::string& name);
    std::size_t clampSampler();

    AssetBuilder& builder_;
    std::filesystem::path directory_;
    std::vector<std::string>& leftOut_;
    std::map<std::string, std::optional<std::size_t>> images_;
    std::map<std::pair<std::size_t, TextureWrap>, std::size_t> textures_; ///< by image
    std::optional<std::size_t> clampSampler_;
};

} // namespace vexa::tool
