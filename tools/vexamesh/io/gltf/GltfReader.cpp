#include "base/Errors.h"
#include "io/Accessors.h"
#include "io/Asset.h"
#include "io/Files.h"
#include "io/ModelDirectory.h"
#include "io/gltf/DataUri.h"
#include "io/gltf/DracoDecoding.h"
#include "io/gltf/Glb.h"
#include "io/gltf/GltfCheck.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/ImageType.h"
#include "io/gltf/MeshoptDecoding.h"
#include "io/gltf/PrimitiveRestart.h"

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

bool isRemote(const std::string& uri) {
    return uri.find("://") != std::string::npos;
}

/// The file that a relative reference names.
fs::path localPath(const std::string& uri, const ModelDirectory& directory) {
    if (directory.path().empty()) {
        throw FormatError("refers to " + uri + ", but is not a file itself");
    }
    const std::string name = decodePercent(uri);
    if (name.find('\0') != std::string::npos) {
        throw FormatError("refers to a name that holds a zero byte");
    }
    // Some exporters leave these characters of a name unescaped; otherwise a query or a fragment begins there.
    const std::size_t end = uri.find_first_of("?#");
    const bool isWhole = end == std::string::npos || directory.contains(name);
    return directory.resolve(isWhole ? name : decodePercent(uri.substr(0, end)));
}

Bytes readBuffer(const Json& buffer, std::size_t index, const std::optional<std::span<const unsigned char>>& binary,
                 const ModelDirectory& directory, bool mayLackData) {
    if (!buffer.contains("uri")) {
        if (index != 0 || !binary) {
            if (mayLackData) {
                return {};
            }
            throw FormatError("has no data");
        }
        return {binary->begin(), binary->end()};
    }
    if (!isText(buffer, "uri")) {
        throw FormatError("has a uri that is not a string");
    }
    const auto uri = buffer["uri"].get<std::string>();
    if (auto data = decodeDataUri(uri)) {
        return std::move(data->content);
    }
    if (isRemote(uri)) {
        throw FormatError("refers to " + uri + ", which is not a local file");
    }
    return readFile(localPath(uri, directory));
}

std::vector<Bytes> readBuffers(const Json& document, const std::optional<std::span<const unsigned char>>& binary,
                               const ModelDirectory& directory) {
    std::vector<Bytes> contents;
    const Json& buffers = arrayMember(document, "buffers", "");
    const bool mayLackData = usesMeshopt(document);
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        try {
            contents.push_back(readBuffer(buffers[i], i, binary, directory, mayLackData));
        } catch (const FormatError& error) {
            throw FormatError(elementName("buffers", i) + " " + error.what());
        }
    }
    return contents;
}

/// Replaces the reference to an image by the image.
void embedImage(Json& document, std::vector<Bytes>& buffers, Json& image, Bytes content, const std::string& type) {
    if (!isText(image, "mimeType")) {
        image["mimeType"] = type;
    }
    Json& views = document["bufferViews"];
    image.erase("uri");
    image["bufferView"] = views.size();
    views.push_back({{"buffer", buffers.size()}, {"byteLength", content.size()}});
    document["buffers"].push_back({{"byteLength", content.size()}});
    buffers.push_back(std::move(content));
}

/// Replaces the "data:" URI of an image by the image.
///
/// \return false: the image is not one of those
bool embedDataUri(Json& document, std::vector<Bytes>& buffers, Json& image) {
    auto data = decodeDataUri(image["uri"].get<std::string>());
    if (!data) {
        return false;
    }
    if (data->content.empty()) {
        throw FormatError("is empty");
    }
    const std::string type = imageType(data->content);
    const std::string declared = data->mimeType.empty() ? "application/octet-stream" : data->mimeType;
    embedImage(document, buffers, image, std::move(data->content), type.empty() ? declared : type);
    return true;
}

/// Whether a file of this type may become part of the model: one that is not an image must not be carried along.
bool isPermittedImage(const Json& document, const std::string& type) {
    return type == "image/png" || type == "image/jpeg" || type == "image/webp" || type == "image/ktx2" ||
           (type == "image/avif" && isListed(document, "extensionsUsed", "EXT_texture_avif")) ||
           (type == "image/vnd-ms.dds" && isListed(document, "extensionsUsed", "MSFT_texture_dds"));
}

/// Replaces the reference to a file by the image that it holds.
///
/// \throw FileError   it cannot be read
/// \throw FormatError it must not be read, or is not an image
void embedImageFile(Json& document, std::vector<Bytes>& buffers, Json& image, const fs::path& file) {
    Bytes content = readFile(file);
    const std::string type = imageType(content);
    if (!isPermittedImage(document, type)) {
        throw FormatError("refers to " + file.string() + ", which is not a PNG, JPEG, WebP or KTX2 image");
    }
    embedImage(document, buffers, image, std::move(content), type);
}

/// Embeds an image that the document refers to.
///
/// \return a warning if that is not possible, else ""
/// \throw FormatError it refers to a file that must not be read
std::string embedReference(Json& document, std::vector<Bytes>& buffers, Json& image, const ModelDirectory& directory) {
    const auto uri = image["uri"].get<std::string>();
    try {
        if (embedDataUri(document, buffers, image)) {
            return "";
        }
    } catch (const FormatError& error) {
        return std::string("is left as it is: ") + error.what();
    }
    if (isRemote(uri)) {
        return "is left as a reference: " + uri + " is not a local file";
    }
    try {
        embedImageFile(document, buffers, image, localPath(uri, directory));
        return "";
    } catch (const FileError& error) {
        // A model that lacks one of its images is still a model.
        return std::string("is left as a reference: ") + error.what();
    }
}

void embedImages(Json& document, std::vector<Bytes>& buffers, const ModelDirectory& directory,
                 std::vector<std::string>& warnings) {
    if (!document.contains("images")) {
        return;
    }
    // A new member moves all others, and with them the image at hand.
    for (const char* array : {"bufferViews", "buffers"}) {
        if (!document.contains(array)) {
            document[array] = Json::array();
        }
    }
    for (std::size_t i = 0; i < document["images"].size(); ++i) {
        Json& image = document["images"][i];
        if (!isText(image, "uri")) {
            continue;
        }
        const std::string where = elementName("images", i) + " ";
        try {
            const std::string warning = embedReference(document, buffers, image, directory);
            if (!warning.empty()) {
                warnings.push_back(where + warning);
            }
        } catch (const FormatError& error) {
            throw FormatError(where + error.what());
        }
    }
    for (const char* array : {"bufferViews", "buffers"}) {
        if (document[array].empty()) {
            document.erase(array);
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

/// The document for TinyGLTF: images are carried as bytes and need no decoding, and it rejects index accessors without a
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
    const std::string text = compactText(documentForLoader(document));
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
        throw FormatError(line.empty() ? "not readable as glTF" : line);
    }
    if (model.accessors.size() != arrayMember(document, "accessors", "").size() ||
        model.meshes.size() != arrayMember(document, "meshes", "").size()) {
        throw FormatError("not readable as glTF: TinyGLTF has skipped parts of it");
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
                              " bytes declared, " + std::to_string(buffers[i].size()) + " present");
        }
        buffers[i].resize(length);
    }
    AssetModel model = loadModel(json, buffers);
    Asset asset{std::move(json), std::move(buffers), std::move(model), {}, {}};
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
    updateRestartExtensions(json);
    const ModelDirectory files(directory);
    std::vector<Bytes> buffers = readBuffers(json, binary, files);
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        // The content is at hand now, and as text it can be most of the document.
        json["buffers"][i].erase("uri");
    }
    std::vector<std::string> warnings;
    decodeMeshopt(json, buffers, warnings);
    decodeDraco(json, buffers, warnings);
    if (!directory.empty()) {
        embedImages(json, buffers, files, warnings);
    }
    Asset asset = makeAsset(std::move(json), std::move(buffers), check);
    asset.warnings = std::move(warnings);
    return asset;
}

} // namespace vexa::tool
