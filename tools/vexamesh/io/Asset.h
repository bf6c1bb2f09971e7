#pragma once

#include "base/Bytes.h"
#include "base/Json.h"
#include "io/AssetModel.h"
#include "io/gltf/GltfCheck.h"

#include <filesystem>
#include <string>
#include <vector>

namespace vexa::tool {

/// A complete glTF document in memory. It refers to files only for images that could not be read.
///
/// Edits change `json`, and `json` is written, so everything else stays as it was, including unknown members. `model`,
/// as read by TinyGLTF, locates the elements of the accessors in `buffers`.
struct Asset {
    Json json;
    std::vector<Bytes> buffers;
    AssetModel model;
    std::vector<std::string> warnings; ///< for the user, a line each
    std::vector<std::string> leftOut; ///< data of the file that this document does not hold, a line each; also warnings
};

/// Makes an asset of a document and its buffers, after `checkDocument`.
///
/// \param buffers one for each buffer of the document, at least as long as it declares
/// \throw FormatError says what is wrong and where
Asset makeAsset(Json json, std::vector<Bytes> buffers, MeshCheck check = MeshCheck::Full);

/// Reads a .gltf or .glb file (the first bytes decide) from memory, and the files that it refers to. Images become
/// buffer views with the same bytes.
///
/// \param directory base of relative references. If empty, references to buffers are refused and those to images kept
/// \throw FormatError says what is wrong and where
/// \throw FileError   a buffer's file is missing or cannot be read
Asset readGltf(const Bytes& file, const std::filesystem::path& directory, MeshCheck check = MeshCheck::Full);

/// The document as a binary glTF file with one buffer, which holds only the data that buffer views refer to.
///
/// \throw FormatError it would be larger than 4 GiB
Bytes writeGlb(const Json& json, const std::vector<Bytes>& buffers);

/// A .gltf file, and the file of its one buffer.
struct GltfFiles {
    Bytes text;
    Bytes binary; ///< empty: the document has no buffer
};

/// Splits a file of `writeGlb` into two.
///
/// \param binaryName of the second one, next to the first
GltfFiles splitGltf(const Bytes& glb, const std::string& binaryName);

/// Brings the two back together: the bytes that were split.
///
/// \throw FormatError the text is not such a document
Bytes joinGltf(const GltfFiles& files);

} // namespace vexa::tool
