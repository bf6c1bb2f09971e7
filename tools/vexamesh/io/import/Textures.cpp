#include "io/import/Textures.h"

#include "base/Errors.h"
#include "io/Files.h"
#include "io/ModelDirectory.h"
#include "io/gltf/ImageType.h"

#include <algorithm>

namespace vexa::tool {

std::optional<std::size_t> TextureLoader::load(const std::string& name, TextureWrap wrap) {
    const auto [image, isNewName] = images_.try_emplace(name, std::nullopt);
    if (isNewName) {
        image->second = loadImage(name);
    }
    if (!image->second) {
        return std::nullopt;
    }
    const auto [texture, isNew] = textures_.try_emplace({*image->second, wrap}, 0);
    if (isNew) {
        Json entry = {{"source", *image->second}};
        if (wrap == TextureWrap::Clamp) {
            entry["sampler"] = clampSampler();
        }
        texture->second = builder_.addEntry("textures", std::move(entry));
    }
    return texture->second;
}

std::optional<std::size_t> TextureLoader::loadImage(const std::string& name) {
    std::string path = name;
    std::replace(path.begin(), path.end(), '\\', '/');
    try {
        const Bytes content = readFile(ModelDirectory(directory_).resolve(path));
        const std::string type = imageType(content);
        if (type != "image/png" && type != "image/jpeg") {
            throw FileError(name, "is not a PNG or JPEG image");
        }
        return builder_.addEntry("images", {{"bufferView", builder_.addData(content)}, {"mimeType", type}});
    } catch (const FileError& error) {
        leftOut_.push_back(std::string("texture ") + error.what());
        return std::nullopt;
    } catch (const FormatError& error) {
        leftOut_.push_back("texture " + name + ": " + error.what());
        return std::nullopt;
    }
}

std::size_t TextureLoader::clampSampler() {
    constexpr int clampToEdge = 33071;
    if (!clampSampler_) {
        clampSampler_ = builder_.addEntry("samplers", {{"wrapS", clampToEdge}, {"wrapT", clampToEdge}});
    }
    return *clampSampler_;
}

} // namespace vexa::tool
