#include "ops/MaterialCopier.h"

#include "io/gltf/GltfExtensions.h"

#include <algorithm>

namespace vexa::tool {

std::size_t MaterialCopier::copyOnce(const char* array, Json entry) {
    const std::string text = compactText(entry);
    const auto found = copied_.find({array, text});
    if (found != copied_.end()) {
        return found->second;
    }
    const std::size_t index = builder_.addEntry(array, std::move(entry));
    copied_[{array, text}] = index;
    return index;
}

std::optional<std::size_t> MaterialCopier::copy(const Document& document, std::size_t material) {
    const Json& materials = arrayMember(document.asset.json, "materials", "");
    if (material >= materials.size()) {
        return std::nullopt;
    }
    Json entry = materials[material];
    noteExtensions(document, entry, builder_);
    copyTextures(document, entry);
    return copyOnce("materials", std::move(entry));
}

/// Texture references are the members whose names end in "Texture", in the extensions as well.
void MaterialCopier::copyTextures(const Document& document, Json& value) {
    if (!value.is_structured()) {
        return;
    }
    if (value.is_array()) {
        std::for_each(value.begin(), value.end(), [&](Json& element) { copyTextures(document, element); });
        return;
    }
    for (auto& [key, member] : value.items()) {
        if (key.ends_with("Texture") && member.is_object() && member.contains("index")) {
            const std::size_t count = arrayMember(document.asset.json, "textures", "").size();
            member["index"] = copyTexture(document, indexMember(member, "index", key, count));
        }
        if (key != "extras") {
            copyTextures(document, member);
        }
    }
}

std::size_t MaterialCopier::copyTexture(const Document& document, std::size_t index) {
    const Json& json = document.asset.json;
    const std::string where = elementName("textures", index);
    const std::size_t images = arrayMember(json, "images", "").size();
    const Json& samplers = arrayMember(json, "samplers", "");
    Json texture = json["textures"][index];
    if (const auto source = optionalIndexMember(texture, "source", where, images)) {
        texture["source"] = copyImage(document, *source);
    }
    if (const auto sampler = optionalIndexMember(texture, "sampler", where, samplers.size())) {
        texture["sampler"] = copyOnce("samplers", samplers[*sampler]);
    }
    if (texture.contains("extensions") && texture["extensions"].is_object()) {
        noteExtensions(document, texture, builder_);
        for (auto& [name, extension] : texture["extensions"].items()) {
            if (const auto source =
                    extension.is_object() ? optionalIndexMember(extension, "source", where, images) : std::nullopt) {
                extension["source"] = copyImage(document, *source);
            }
        }
    }
    return copyOnce("textures", std::move(texture));
}

std::size_t MaterialCopier::copyImage(const Document& document, std::size_t index) {
    Json image = document.asset.json["images"][index];
    if (!image.contains("bufferView")) {
        return copyOnce("images", std::move(image));
    }
    const Json& view = document.asset.json["bufferViews"][image["bufferView"].get<std::size_t>()];
    const Bytes& buffer = document.asset.buffers.at(view["buffer"].get<std::size_t>());
    const auto begin = buffer.begin() + view.value("byteOffset", std::ptrdiff_t{0});
    const Bytes content(begin, begin + view["byteLength"].get<std::ptrdiff_t>());
    const auto [entry, isNew] = images_.try_emplace(content, 0);
    if (isNew) {
        entry->second = builder_.addData(content);
    }
    image["bufferView"] = entry->second;
    return copyOnce("images", std::move(image));
}

void noteExtensions(const Document& document, const Json& value, AssetBuilder& builder) {
    if (!value.is_structured()) {
        return;
    }
    if (value.is_object() && value.contains("extensions") && value["extensions"].is_object()) {
        for (const auto& [name, extension] : value["extensions"].items()) {
            builder.useExtension(name, isListed(document.asset.json, "extensionsRequired", name.c_str()));
        }
    }
    std::for_each(value.begin(), value.end(), [&](const Json& member) { noteExtensions(document, member, builder); });
}

} // namespace vexa::tool
