#pragma once

#include "io/AssetBuilder.h"
#include "io/Document.h"

#include <map>
#include <optional>
#include <string>

namespace vexa::tool {

/// Lists the extensions of a copied part of a document.
void noteExtensions(const Document& document, const Json& value, AssetBuilder& builder);

/// Copies materials, with the textures, samplers and images that they use, into an asset that is being built. Identical
/// ones are copied once.
class MaterialCopier {
public:
    explicit MaterialCopier(AssetBuilder& builder) : builder_(builder) {}

    /// \return the material's index in the new asset; nothing if the document does not have it
    /// \throw FormatError the material or something that it refers to is malformed
    std::optional<std::size_t> copy(const Document& document, std::size_t material);

private:
    std::size_t copyOnce(const char* array, Json entry);
    void copyTextures(const Document& document, Json& value);
    std::size_t copyTexture(const Document& document, std::size_t index);
    std::size_t copyImage(const Document& document, std::size_t index);

    AssetBuilder& builder_;
    std::map<std::pair<std::string, std::string>, std::size_t> copied_; ///< by array and text
    std::map<Bytes, std::size_t> images_;                               ///< buffer views by content
};

} // namespace vexa::tool
