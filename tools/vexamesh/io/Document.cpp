#include "io/Document.h"

#include "Errors.h"
#include "io/AssimpReader.h"
#include "io/Files.h"
#include "io/Glb.h"
#include "io/IsolatedReader.h"
#include "io/ObjReader.h"
#include "io/PrimitiveRestart.h"

#include <algorithm>
#include <numeric>

namespace vexa::tool {

namespace {

namespace fs = std::filesystem;

/// Puts the restart indices of a primitive into their decoded form, where they are allowed, and marks it.
void decodeRestarts(const Asset& asset, Json& source, Primitive& primitive) {
    if (!allowsRestart(asset.json, source)) {
        return;
    }
    const unsigned int restart = restartIndexOf(primitive.indexType);
    if (std::find(primitive.indices.begin(), primitive.indices.end(), restart) != primitive.indices.end()) {
        std::replace(primitive.indices.begin(), primitive.indices.end(), restart, decodedRestart);
        markRestart(source, true);
    }
}

Primitive readPrimitive(const Asset& asset, Json& source, const std::string& where, MeshCheck check) {
    Primitive primitive;
    primitive.type = static_cast<mesh::PrimitiveType>(source.value("mode", static_cast<int>(mesh::TRIANGLES)));
    for (const auto& [name, accessor] : source["attributes"].items()) {
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
    Json& sources = asset.json["meshes"];
    for (std::size_t m = 0; m < sources.size(); ++m) {
        Mesh mesh;
        mesh.name = stringMember(sources[m], "name");
        if (mesh.name.empty()) {
            mesh.name = "mesh " + std::to_string(m);
        }
        Json& primitives = sources[m]["primitives"];
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

Asset readAsset(const Bytes& content, const fs::path& file, MeshCheck check, std::string& format) {
    const std::string extension = lowerExtension(file);
    if (extension == ".obj") {
        format = "OBJ";
        return readObj(content, file);
    }
    if (extension == ".ply" || extension == ".stl" || extension == ".off") {
        format = extension == ".ply" ? "PLY" : extension == ".stl" ? "STL" : "OFF";
        return readWithAssimp(content, extension);
    }
    if (extension != ".glb" && extension != ".gltf") {
        throw FormatError("no .glb, .gltf, .obj, .ply, .stl or .off file");
    }
    if (extension == ".glb" && !hasGlbMagic(content)) {
        throw FormatError("no binary glTF: it does not begin with \"glTF\"");
    }
    format = hasGlbMagic(content) ? "glTF binary" : "glTF";
    return readGltf(content, file.parent_path(), check);
}

} // namespace

const Attribute* Primitive::findAttribute(const std::string& name) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const Attribute& attribute) { return attribute.name == name; });
    return found == attributes.end() ? nullptr : &*found;
}

namespace {

Document parseDocument(const Bytes& content, const fs::path& name, MeshCheck check) {
    try {
        if (content.empty()) {
            throw FormatError("is empty");
        }
        Document document;
        document.file = name;
        document.fileSize = content.size();
        document.asset = readAsset(content, name, check, document.format);
        document.meshes = readMeshes(document.asset, check);
        return document;
    } catch (const FileError& error) {
        // A file that this one refers to.
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
        return parseDocument(content, name, check);
    } catch (const std::length_error&) {
        throw FileError(name.string(), "asks for more memory than there is");
    } catch (const std::bad_alloc&) {
        throw FileError(name.string(), "asks for more memory than there is");
    }
}

Document loadDocument(const fs::path& file, MeshCheck check) {
    Document document = readIsolated(file, [&] { return parseDocument(readFile(file), file, check); });
    // They were checked by whoever has sent them.
    document.meshes = readMeshes(document.asset, MeshCheck::References);
    return document;
}

} // namespace vexa::tool
