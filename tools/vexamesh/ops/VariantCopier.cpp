#include "ops/VariantCopier.h"

#include "base/Errors.h"
#include "io/gltf/GltfExtensions.h"

namespace vexa::tool {

void VariantCopier::begin(const Document& document) {
    numbers_.clear();
    const Json* const content = findExtension(document.asset.json, variantsExtension);
    if (content == nullptr || !content->is_object()) {
        return;
    }
    std::map<std::string, std::size_t> ofName;
    for (const Json& variant : arrayMember(*content, "variants", variantsExtension)) {
        const std::string name = variant.is_object() ? stringMember(variant, "name") : "";
        const auto [place, isNew] = known_.try_emplace({name, ofName[name]++}, variants_.size());
        if (isNew) {
            noteExtensions(document, variant, builder_);
            variants_.push_back(variant);
        }
        numbers_.push_back(place->second);
    }
}

Json VariantCopier::copyMappings(const Document& document, const Json& primitive, const std::string& where) {
    const Json* const content = findExtension(primitive, variantsExtension);
    if (content == nullptr) {
        return nullptr;
    }
    const std::string name = where + ".extensions." + variantsExtension;
    if (!content->is_object()) {
        throw FormatError(name + " is not an object");
    }
    const std::size_t materials = arrayMember(document.asset.json, "materials", "").size();
    Json copied = *content;
    const std::size_t count = arrayMember(copied, "mappings", name).size();
    for (std::size_t i = 0; i < count; ++i) {
        Json& mapping = copied["mappings"][i];
        const std::string here = elementName(name + ".mappings", i);
        if (!mapping.is_object()) {
            throw FormatError(here + " is not an object");
        }
        mapping["material"] = *materials_.copy(document, indexMember(mapping, "material", here, materials));
        const std::size_t variants = arrayMember(mapping, "variants", here).size();
        for (std::size_t v = 0; v < variants; ++v) {
            Json& variant = mapping["variants"][v];
            variant = numbers_[indexValue(variant, here + ".variants", numbers_.size())];
        }
    }
    return copied;
}

void VariantCopier::finish() {
    if (!variants_.empty()) {
        builder_.addExtension(variantsExtension, {{"variants", std::move(variants_)}});
    }
}

} // namespace vexa::tool
