#include "Errors.h"
#include "io/Accessors.h"
#include "io/Asset.h"
#include "io/DataUri.h"
#include "io/Files.h"
#include "io/Glb.h"
#include "io/GltfCheck.h"
#include "io/ImageType.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <span>
#include <tiny_gltf.h>

namespace vexa::tool {

namespace {

namespace fs = std::filesystem;

bool isText(const Json& object, const char* key) {
    return object.contains(key) && object[key].is_string();
}

/// Checks that a relative reference stays what it is meant to be: a file.
fs::path localPath(const std::string& uri, const fs::path& directory) {
    if (uri.find("://") != std::string::npos) {
        throw FormatError("refers to " + uri + ", which is no local file");
    }
    const std::string name = decodePercent(uri);
    if (name.find('\0') != std::string::npos) {
        throw FormatError("refers to a name that holds a zero byte");
    }
    return directory / name;
}

Bytes readBuffer(const Json& buffer, std::size_t index, const std::optional<std::span<const unsigned char>>& binary,
                 const fs::path& directory) {
    if (!buffer.contains("uri")) {
        if (index != 0 || !binary) {
            throw FormatError("has no data");
        }
        return {binary->begin(), binary->end()};
    }
    if (!isText(buffer, "uri")) {
        throw FormatError("has a uri that is no string");
    }
    const auto uri = buffer["uri"].get<std::string>();
    if (auto data = decodeDataUri(uri)) {
        return std::move(data->content);
    }
    return readFile(localPath(uri, directory));
}

std::vector<Bytes> readBuffers(const Json& document, const std::optional<std::span<const unsigned char>>& binary,
                               const fs::path& directory) {
    std::vector<Bytes> contents;
    const Json& buffers = arrayMember(document, "buffers", "");
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        try {
            contents.push_back(readBuffer(buffers[i], i, binary, directory));
        } catch (const FormatError& error) {
            throw FormatError(elementName("buffers", i) + " " + error.what());
        }
    }
    return contents;
}

/// Puts an image in place of the reference to it.
void embedImage(Json& document, std::vector<Bytes>& buffers, Json& image, DataUri data) {
    const std::string type = imageType(data.content);
    if (!isText(image, "mimeType")) {
        image["mimeType"] = !type.empty() ? type : !data.mimeType.empty() ? data.mimeType : "application/octet-stream";
    }
    Json& views = document["bufferViews"];
    image.erase("uri");
    image["bufferView"] = views.size();
    views.push_back({{"buffer", buffers.size()}, {"byteLength", data.content.size()}});
    document["buffers"].push_back({{"byteLength", data.content.size()}});
    buffers.push_back(std::move(data.content));
}

void embedImages(Json& document, std::vector<Bytes>& buffers, const fs::path& directory,
                 std::vector<std::string>& warnings) {
    if (!document.contains("images")) {
        return;
    }
    for (std::size_t i = 0; i < document["images"].size(); ++i) {
        Json& image = document["images"][i];
        if (!isText(image, "uri")) {
            continue;
        }
        const std::string where = elementName("images", i);
        const auto uri = image["uri"].get<std::string>();
        try {
            auto data = decodeDataUri(uri);
            if (!data) {
                data = DataUri{"", readFile(localPath(uri, directory))};
            }
            if (data->content.empty()) {
                throw FormatError("is empty");
            }
            embedImage(document, buffers, image, std::move(*data));
        } catch (const FileError& error) {
            // A model without one of its pictures is still a model.
            warnings.push_back(where + " is left as a reference: " + error.what());
        } catch (const FormatError& error) {
            warnings.push_back(where + " is left as it is: " + error.what());
        }
    }
}

// ---- TinyGLTF. It sees a copy of the document whose buffers have short names; their content comes from here.

constexpr std::string_view bufferName = "buffer-";

Bytes* bufferByName(const std::string& path, void* buffers) {
    const std::size_t at = path.rfind(bufferName);
    std::size_t index = 0;
    if (at == std::string::npos ||
        std::from_chars(path.data() + at + bufferName.size(), path.data() + path.size(), index).ec != std::errc()) {
        return nullptr;
    }
    return &static_cast<std::vector<Bytes>*>(buffers)->at(index);
}

tinygltf::FsCallbacks bufferCallbacks(std::vector<Bytes>& buffers) {
    tinygltf::FsCallbacks callbacks{};
    callbacks.FileExists = [](const std::string& path, void* data) { return bufferByName(path, data) != nullptr; };
    callbacks.ExpandFilePath = [](const std::string& path, void*) { return path; };
    callbacks.ReadWholeFile = [](std::vector<unsigned char>* out, std::string*, const std::string& path, void* data) {
        *out = *bufferByName(path, data);
        return true;
    };
    callbacks.WriteWholeFile = [](std::string*, const std::string&, const std::vector<unsigned char>&, void*) {
        return false;
    };
    callbacks.user_data = &buffers;
    return callbacks;
}

/// What TinyGLTF is given: images are carried as bytes and need no decoding, and it knows no index accessors without a
/// buffer view.
Json documentForLoader(const Json& document) {
    Json copy = document;
    copy.erase("images");
    if (copy.contains("buffers")) {
        for (std::size_t i = 0; i < copy["buffers"].size(); ++i) {
            copy["buffers"][i]["uri"] = std::string(bufferName) + std::to_string(i);
        }
    }
    if (copy.contains("meshes")) {
        for (Json& mesh : copy["meshes"]) {
            for (Json& primitive : mesh["primitives"]) {
                primitive.erase("indices");
            }
        }
    }
    return copy;
}

AccessorModel toModel(const tinygltf::Accessor& source) {
    AccessorModel accessor;
    accessor.componentType = source.componentType;
    accessor.normalized = source.normalized;
    accessor.bufferView = source.bufferView;
    accessor.byteOffset = source.byteOffset;
    accessor.count = source.count;
    accessor.isSparse = source.sparse.isSparse;
    if (accessor.isSparse) {
        const auto& indices = source.sparse.indices;
        const auto& values = source.sparse.values;
        accessor.sparseCount = static_cast<std::size_t>(source.sparse.count);
        accessor.sparseIndices = {static_cast<std::size_t>(indices.bufferView),
                                  static_cast<std::size_t>(indices.byteOffset), indices.componentType};
        accessor.sparseValues = {static_cast<std::size_t>(values.bufferView),
                                 static_cast<std::size_t>(values.byteOffset), 0};
    }
    return accessor;
}

AssetModel loadModel(const Json& document, std::vector<Bytes>& buffers) {
    const std::string text = documentForLoader(document).dump(-1, ' ', false, Json::error_handler_t::replace);
    if (text.size() > std::numeric_limits<unsigned int>::max()) {
        throw FormatError("the document is larger than 4 GiB");
    }
    tinygltf::TinyGLTF loader;
    loader.SetFsCallbacks(bufferCallbacks(buffers));
    tinygltf::Model model;
    std::string error;
    std::string warning;
    if (!loader.LoadASCIIFromString(&model, &error, &warning, text.c_str(), static_cast<unsigned int>(text.size()),
                                    "")) {
        const std::string line = error.substr(0, error.find('\n'));
        throw FormatError(line.empty() ? "no glTF that can be read" : line);
    }
    if (model.accessors.size() != arrayMember(document, "accessors", "").size() ||
        model.meshes.size() != arrayMember(document, "meshes", "").size()) {
        throw FormatError("no glTF that can be read: parts of it are not understood");
    }
    AssetModel result;
    for (const tinygltf::Accessor& accessor : model.accessors) {
        result.accessors.push_back(toModel(accessor));
    }
    for (const tinygltf::BufferView& view : model.bufferViews) {
        result.bufferViews.push_back({static_cast<std::size_t>(view.buffer), view.byteOffset, view.byteStride});
    }
    return result;
}

} // namespace

Asset makeAsset(Json json, std::vector<Bytes> buffers, MeshCheck check) {
    checkDocument(json, check);
    const Json& declared = arrayMember(json, "buffers", "");
    for (std::size_t i = 0; i < declared.size(); ++i) {
        const auto length = declared[i]["byteLength"].get<std::uint64_t>();
        if (buffers.at(i).size() < length) {
            throw FormatError(elementName("buffers", i) + " is cut off: " + std::to_string(length) +
                              " bytes declared, " + std::to_string(buffers[i].size()) + " there");
        }
        buffers[i].resize(length);
    }
    AssetModel model = loadModel(json, buffers);
    Asset asset{std::move(json), std::move(buffers), std::move(model), {}};
    checkSparseAccessors(asset);
    return asset;
}

Asset readGltf(const Bytes& file, const fs::path& directory, MeshCheck check) {
    Json json;
    std::optional<std::span<const unsigned char>> binary;
    if (hasGlbMagic(file)) {
        const GlbChunks chunks = splitGlb(file);
        json = parseJson(chunks.json);
        binary = chunks.binary;
    } else {
        json = parseJson({reinterpret_cast<const char*>(file.data()), file.size()});
    }
    checkDocument(json, check);
    std::vector<Bytes> buffers = readBuffers(json, binary, directory);
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        // The content is at hand now, and as text it can be most of the document.
        json["buffers"][i].erase("uri");
    }
    std::vector<std::string> warnings;
    embedImages(json, buffers, directory, warnings);
    Asset asset = makeAsset(std::move(json), std::move(buffers), check);
    asset.warnings = std::move(warnings);
    return asset;
}

} // namespace vexa::tool
