#include "ops/UneditedContent.h"

#include "io/gltf/GltfExtensions.h"
#include "io/gltf/PrimitiveRestart.h"
#include "io/gltf/UnusedData.h"

#include <algorithm>
#include <functional>
#include <string_view>

namespace vexa::tool {

namespace {

std::size_t hashOf(std::string_view bytes) {
    return std::hash<std::string_view>()(bytes);
}

std::size_t hashOf(const unsigned char* data, std::size_t size) {
    return hashOf(std::string_view(reinterpret_cast<const char*>(data), size));
}

/// Of the elements of an accessor and of everything that the document says about it but their place.
std::size_t accessorHash(const Asset& asset, std::size_t index) {
    Json entry = asset.json["accessors"][index];
    for (const char* member : {"bufferView", "byteOffset", "sparse"}) {
        entry.erase(member);
    }
    const AccessorData data = readAccessor(asset, index);
    entry["hash"] = hashOf(data.bytes.data(), data.bytes.size());
    return hashOf(compactText(entry));
}

std::size_t viewHash(const Asset& asset, std::size_t index) {
    const Json& view = asset.json["bufferViews"][index];
    const Bytes& buffer = asset.buffers.at(view["buffer"].get<std::size_t>());
    return hashOf(buffer.data() + view.value("byteOffset", std::size_t{0}), view["byteLength"].get<std::size_t>());
}

void hashReferences(const Asset& asset, Json& json) {
    std::vector<std::size_t> hashes(arrayMember(json, "accessors", "").size());
    // Only those that are used: what an edit leaves without use is removed.
    const auto hash = [&](std::size_t index) {
        return hashes[index] != 0 ? hashes[index] : hashes[index] = accessorHash(asset, index);
    };
    for (const std::size_t index : collectExtensionReferences(json).accessors) {
        if (index < hashes.size()) {
            hash(index);
        }
    }
    renumberExtensionAccessors(json, hashes);
    forEachAccessorReference(json, [&](Json& reference) { reference = hash(reference.get<std::size_t>()); });
    if (json.contains("images")) {
        for (Json& image : json["images"]) {
            if (image.contains("bufferView")) {
                image["bufferView"] = viewHash(asset, image["bufferView"].get<std::size_t>());
            }
        }
    }
    for (const char* array : {"accessors", "bufferViews", "buffers"}) {
        json.erase(array);
    }
}

} // namespace

Json uneditedContent(const Document& document, const std::vector<EditedPrimitive>& edited) {
    Json json = document.asset.json;
    if (json.contains("meshes")) {
        std::for_each(json["meshes"].begin(), json["meshes"].end(), removeRestartGroups);
    }
    // From the last one on, so that positions before it stay right.
    for (auto edit = edited.rbegin(); edit != edited.rend(); ++edit) {
        Json& primitives = json["meshes"].at(edit->mesh)["primitives"];
        Json& primitive = primitives.at(edit->first);
        primitive.erase("indices");
        primitive.erase("mode");
        const auto replacement = primitives.begin() + static_cast<std::ptrdiff_t>(edit->first);
        primitives.erase(replacement + 1, replacement + static_cast<std::ptrdiff_t>(edit->count));
    }
    listRestartExtensions(json, [](std::size_t) { return false; });
    hashReferences(document.asset, json);
    return json;
}

bool isSameContent(const Json& a, const Json& b) {
    return compactText(a) == compactText(b);
}

} // namespace vexa::tool
