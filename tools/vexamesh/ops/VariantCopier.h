#pragma once

#include "io/AssetBuilder.h"
#include "io/Document.h"
#include "ops/MaterialCopier.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vexa::tool {

/// Copies the material variants (`KHR_materials_variants`) of documents into an asset that is being built. Variants of
/// one name, in different documents, become one: choosing it changes everything that it changed before.
class VariantCopier {
public:
    VariantCopier(AssetBuilder& builder, MaterialCopier& materials) : builder_(builder), materials_(materials) {}

    /// Adds the variants of a document, whose primitives follow.
    void begin(const Document& document);

    /// \param primitive of the document that was begun
    /// \return its mappings of variants to materials, for the new asset; null if it has none
    /// \throw FormatError they are malformed
    Json copyMappings(const Document& document, const Json& primitive, const std::string& where);

    /// Writes the variants.
    void finish();

private:
    AssetBuilder& builder_;
    MaterialCopier& materials_;
    Json variants_ = Json::array();
    /// By name and by how many of that name a document has before it.
    std::map<std::pair<std::string, std::size_t>, std::size_t> known_;
    std::vector<std::size_t> numbers_; ///< of the variants of the document at hand
};

} // namespace vexa::tool
