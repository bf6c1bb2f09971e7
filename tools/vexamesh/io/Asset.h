#pragma once

#include "base/Bytes.h"
#include "base/Json.h"
#include "io/AssetModel.h"
#include "io/gltf/GltfCheck.h"

#include <filesystem>
#include <string>
#include <vector>

namespace vexa::tool {

/// A glTF document in memory, complete: nothing in it is outside of it but images that could not be found.
///
/// `json` is what is edited and written, so that everything that nobody touches stays as it was, unknown members
/// included. `model` says where in `buffers` the elements of its accessors are, as read by TinyGLTF.
struct Asset {
    Json json;
    std::vector<Bytes> buffers;
    AssetModel model;
    std::vector<std::string> warnings; ///< what a person should know, a line each
    std::vector<std::string> leftOut; ///< data of the file that this document does not hold, a line each; also warnings
};

/// Makes an asset of a document whose buffers are at hand; checks it as `checkDocument` does.
///
/// \param buffers one for each buffer of the document, at least as long as it declares
/// \throw FormatError what is wrong, and where
Asset makeAsset(Json json, std::vector<Bytes> buffers, MeshCheck check = MeshCheck::Full);

/// Reads a .gltf file or .glb file (the first bytes decide) from memory, with the files that it refers to.
/// Images become buffer views, with their bytes as they are.
///
/// \param directory where its relative references start; empty: references to buffers are refused, to images left alone
/// \throw FormatError what is wrong, and where
/// \throw FileError   a buffer's file is missing or cannot be read
Asset readGltf(const Bytes& file, const std::filesystem::path& directory, MeshCheck check = MeshCheck::Full);

/// The document as a binary glTF file with one buffer, which holds what the buffer views refer to and nothing else.
///
/// \throw FormatError it would be larger than 4 GiB
Bytes writeGlb(const Json& json, const std::vector<Bytes>& buffers);

/// The same as a .gltf file, its buffer as text in it.
Bytes writeGltf(const Json& json, const std::vector<Bytes>& buffers);

} // namespace vexa::tool
