#pragma once

#include "io/Accessors.h"
#include "io/Asset.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>
#include <vexa/mesh/Types.h>

namespace vexa::tool {

/// A vertex attribute of a primitive: `readAccessor` gives its values.
struct Attribute {
    std::string name; ///< as in glTF: "POSITION", "NORMAL", "TEXCOORD_0", ...
    std::size_t accessor;
};

/// A primitive with its indices decoded.
struct Primitive {
    mesh::PrimitiveType type = mesh::TRIANGLES;
    std::optional<std::size_t> indexAccessor; ///< nothing: the file has no indices, those here count up
    mesh::ComponentType indexType = mesh::UNSIGNED_INT;
    std::vector<unsigned int> indices; ///< below `vertices`, unless the meshes were not checked in full
    std::size_t vertices = 0;
    std::vector<Attribute> attributes;

    [[nodiscard]] const Attribute* findAttribute(const std::string& name) const;
};

struct Mesh {
    std::string name; ///< never empty: "mesh 3" for one without a name
    std::vector<Primitive> primitives;
};

/// A file that was read: its meshes, and the glTF document to carry along. A file of another format has become one, too.
struct Document {
    std::filesystem::path file;
    std::string format;       ///< "glTF binary", "glTF", "OBJ", "PLY", "STL" or "OFF"
    std::size_t fileSize = 0; ///< bytes of the file itself
    Asset asset;
    std::vector<Mesh> meshes; ///< in the order of the asset's, and so are their primitives
};

/// Whether files that hold data which a document must leave out are refused from now on; otherwise they are read, with
/// warnings.
void refuseLosses(bool refuse);

/// Refuses a file of which something is left out, after `refuseLosses(true)`.
///
/// \param leftOut a line each
/// \throw CheckError there is such a line, and nothing must be left out
void checkLosses(const std::filesystem::path& file, const std::vector<std::string>& leftOut);

/// Reads a .glb, .gltf, .obj, .ply, .stl or .off file, in a process of its own.
///
/// \throw FileError  it cannot be read, or is no such file; one line that says what is wrong, and where
/// \throw CheckError its `asset.leftOut` is not empty, after `refuseLosses(true)`
Document loadDocument(const std::filesystem::path& file, MeshCheck check = MeshCheck::Full);

/// The format of standard input, such as "ply", for every verb that reads it; "": glTF, text or binary by its first bytes.
void setInputFormat(const std::string& format);

/// Reads standard input as `loadDocument` does, with `format` standing for the extension of its name. Files that it refers
/// to cannot be read.
///
/// \throw UsageError it was read before
/// \throw FileError, CheckError as above
Document loadStandardInput(MeshCheck check = MeshCheck::Full);

/// Reads a binary glTF file that this program has made from memory, in this process.
///
/// \param name stands for the file in messages
/// \throw FileError as above
Document loadDocument(const Bytes& content, const std::filesystem::path& name, MeshCheck check = MeshCheck::Full);

} // namespace vexa::tool
