#include "io/Document.h"

#include "base/Errors.h"
#include "io/Files.h"
#include "io/IsolatedReader.h"
#include "io/ModelDirectory.h"
#include "io/gltf/Glb.h"
#include "io/gltf/PrimitiveRestart.h"
#include "io/import/ObjReader.h"
#include "io/import/OffReader.h"
#include "io/import/PlyReader.h"
#include "io/import/StlReader.h"

#include <algorithm>
#include <fstream>
#include <numeric>

namespace vexa::tool {

namespace {

namespace fs = std::filesystem;

/// Puts the restart indices of a primitive into their decoded form, where they are allowed.
void decodeRestarts(Asset& asset, const Json& source, Primitive& primitive) {
    if (!allowsRestart(asset.json, source)) {
        return;
    }
    const unsigned int restart = restartIndexOf(primitive.indexType);
    if (std::find(primitive.indices.begin(), primitive.indices.end(), restart) != primitive.indices.end()) {
        std::replace(primitive.indices.begin(), primitive.indices.end(), restart, decodedRestart);
        asset.model.accessors[*primitive.indexAccessor].holdsRestarts = true;
    }
}

Primitive readPrimitive(Asset& asset, const Json& source, const std::string& where, MeshCheck check) {
    Primitive primitive;
    primitive.type = static_cast<mesh::PrimitiveType>(source.value("mode", static_cast<int>(mesh::TRIANGLES)));
    for (const auto& [name, accessor] : objectMember(source, "attributes", where).items()) {
        primitive.attributes.push_back({name, accessor.get<std::size_t>()});
        if (name == "POSITION" || primitive.attributes.size() == 1) {
            primitive.vertices = asset.model.accessors.at(primitive.attributes.back().accessor).count;
        }
    }
    if (!source.contains("indices")) {
        primitive.indices.resize(primitive.vertices);
        std::iota(primitive.indices.begin(), primitive.indices.end(), 0U);
        return primitive;
    }
    primitive.indexAccessor = source["indices"].get<std::size_t>();
    primitive.indexType =
        static_cast<mesh::ComponentType>(asset.model.accessors.at(*primitive.indexAccessor).componentType);
    try {
        primitive.indices = readIndices(asset, *primitive.indexAccessor);
        decodeRestarts(asset, source, primitive);
        if (check == MeshCheck::Full) {
            checkIndices(asset, *primitive.indexAccessor, primitive.indices, primitive.vertices,
                         allowsRestart(asset.json, source));
        }
    } catch (const FormatError& error) {
        throw FormatError(where + ": " + error.what());
    }
    return primitive;
}

std::vector<Mesh> readMeshes(Asset& asset, MeshCheck check) {
    std::vector<Mesh> meshes;
    if (!asset.json.contains("meshes")) {
        return meshes;
    }
    const Json& sources = asset.json["meshes"];
    for (std::size_t m = 0; m < sources.size(); ++m) {
        Mesh mesh;
        mesh.name = stringMember(sources[m], "name");
        if (mesh.name.empty()) {
            mesh.name = "mesh " + std::to_string(m);
        }
        const Json& primitives = sources[m]["primitives"];
        for (std::size_t p = 0; p < primitives.size(); ++p) {
            const std::string where = elementName(elementName("meshes", m) + ".primitives", p);
            mesh.primitives.push_back(readPrimitive(asset, primitives[p], where, check));
        }
        meshes.push_back(std::move(mesh));
    }
    return meshes;
}

std::string lowerExtension(const fs::path& file) {
    std::string extension = file.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
    return extension;
}

/// \param directory of the files that it refers to; empty: it must not refer to any
Asset readAsset(const Bytes& content, const fs::path& file, const std::string& extension, const fs::path& directory,
                MeshCheck check, std::string& format) {
    if (extension == ".obj") {
        format = "OBJ";
        return readObj(content, file);
    }
    if (extension == ".ply") {
        format = "PLY";
        return readPly(content, file);
    }
    if (extension == ".stl") {
        format = "STL";
        return readStl(content);
    }
    if (extension == ".off") {
        format = "OFF";
        return readOff(content);
    }
    if (extension != ".glb" && extension != ".gltf") {
        throw FormatError("not a .glb, .gltf, .obj, .ply, .stl or .off file");
    }
    if (extension == ".glb" && !hasGlbMagic(content)) {
        throw FormatError("not a binary glTF file: it does not begin with \"glTF\"");
    }
    format = hasGlbMagic(content) ? "glTF binary" : "glTF";
    return readGltf(content, directory, check);
}

} // namespace

const Attribute* Primitive::findAttribute(const std::string& name) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const Attribute& attribute) { return attribute.name == name; });
    return found == attributes.end() ? nullptr : &*found;
}

namespace {

bool& isStrict() {
    static bool strict = false;
    return strict;
}

std::string& inputFormat() {
    static std::string format;
    return format;
}

/// Adds what the asset leaves out to its warnings.
void reportLeftOut(Asset& asset) {
    constexpr std::size_t longestLine = 500;
    for (std::string& text : asset.leftOut) {
        text = shortened(text, longestLine);
        asset.warnings.push_back("left out: " + text);
    }
}

/// Refuses an STL file by its size and its first bytes: they tell whether the rest, which may be gigabytes, is of use.
void checkSize(const fs::path& file) {
    constexpr std::size_t beginSize = 1 << 16;
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    if (lowerExtension(file) != ".stl" || error || size == 0) {
        return;
    }
    std::string begin(static_cast<std::size_t>(std::min<std::uintmax_t>(size, beginSize)), '\0');
    std::ifstream stream(file, std::ios::binary);
    if (!stream.read(begin.data(), static_cast<std::streamsize>(begin.size()))) {
        // Reading the whole file reports any fault.
        return;
    }
    try {
        checkStlSize(begin, size);
    } catch (const FormatError& fault) {
        throw FileError(file.string(), fault.what());
    }
}

/// The extension of a model of which only the content is known.
std::string extensionByContent(const Bytes& content) {
    const auto isBlank = [](unsigned char c) { return c <= ' ' || c == 0xef || c == 0xbb || c == 0xbf; };
    const auto first = std::find_if_not(content.begin(), content.end(), isBlank);
    if (hasGlbMagic(content)) {
        return ".glb";
    }
    if (first != content.end() && *first == '{') {
        return ".gltf";
    }
    throw FormatError("does not begin as glTF does; --from FORMAT names another format");
}

/// \param directory of the files that it refers to
/// \param extension of its name, lower case; "" decides by its content
Document parseDocument(const Bytes& content, const fs::path& name, const fs::path& directory, MeshCheck check,
                       const std::string& extension) {
    try {
        if (content.empty()) {
            throw FormatError("is empty");
        }
        Document document;
        document.file = name;
        document.fileSize = content.size();
        const fs::path file = directory == noDirectory ? directory / name : name;
        document.asset = readAsset(content, file, extension.empty() ? extensionByContent(content) : extension,
                                   directory, check, document.format);
        reportLeftOut(document.asset);
        document.meshes = readMeshes(document.asset, check);
        return document;
    } catch (const FileError& error) {
        // About a file that this one refers to.
        throw FileError(name.string(), error.what());
    } catch (const FormatError& error) {
        throw FileError(name.string(), error.what());
    } catch (const Json::exception& error) {
        throw FileError(name.string(), error.what());
    }
}

} // namespace

Document loadDocument(const Bytes& content, const fs::path& name, MeshCheck check) {
    try {
        return parseDocument(content, name, {}, check, lowerExtension(name));
    } catch (const std::length_error&) {
        throw FileError(name.string(), "needs more memory than is available");
    } catch (const std::bad_alloc&) {
        throw FileError(name.string(), "needs more memory than is available");
    }
}

void refuseLosses(bool refuse) {
    isStrict() = refuse;
}

void checkLosses(const fs::path& file, const std::vector<std::string>& leftOut) {
    if (isStrict() && !leftOut.empty()) {
        const std::size_t more = leftOut.size() - 1;
        throw CheckError(file.string() + ": refused, as --strict demands: left out: " + leftOut.front() +
                         (more == 0 ? "" : " (and " + std::to_string(more) + " more)"));
    }
}

Document loadDocument(const fs::path& file, MeshCheck check) {
    const fs::path directory = file.has_parent_path() ? file.parent_path() : ".";
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    Document document = readIsolated(file, error ? 0 : static_cast<std::size_t>(size), [&] {
        checkSize(file);
        return parseDocument(readFile(file), file, directory, check, lowerExtension(file));
    });
    // They were checked by whoever has sent them.
    document.meshes = readMeshes(document.asset, MeshCheck::References);
    checkLosses(file, document.asset.leftOut);
    return document;
}

void setInputFormat(const std::string& format) {
    inputFormat() = format;
}

Document loadStandardInput(MeshCheck check) {
    static bool isRead = false;
    if (isRead) {
        throw UsageError("standard input (-) can be read only once");
    }
    isRead = true;
    const fs::path name = "standard input";
    const std::string extension = inputFormat().empty() ? "" : "." + inputFormat();
    // Here, so that the limits of the child process do not count the time until it is there.
    Bytes content = readStandardInput();
    Document document =
        readIsolated(name, content.size(), [&] { return parseDocument(content, name, noDirectory, check, extension); });
    content = {};
    document.meshes = readMeshes(document.asset, MeshCheck::References);
    checkLosses(name, document.asset.leftOut);
    return document;
}

} // namespace vexa::tool
