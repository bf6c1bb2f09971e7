#include "io/gltf/GltfExtensions.h"

#include "base/Errors.h"
#include "io/gltf/PrimitiveRestart.h"

#include <algorithm>
#include <array>

namespace vexa::tool {

namespace {

// Their members refer to no accessor, buffer view or buffer (or see `forEachKnownReference`).
constexpr std::array supported = {std::string_view("AGI_articulations"),
                                  std::string_view("AGI_stk_metadata"),
                                  std::string_view("CESIUM_primitive_outline"),
                                  std::string_view("EXT_lights_ies"),
                                  std::string_view("EXT_lights_image_based"),
                                  std::string_view(instancingExtension),
                                  std::string_view(edgeVisibilityExtension),
                                  std::string_view(restartGroupExtension),
                                  std::string_view("EXT_meshopt_compression"),
                                  std::string_view("EXT_texture_avif"),
                                  std::string_view("EXT_texture_webp"),
                                  std::string_view("FB_ngon_encoding"),
                                  std::string_view("KHR_animation_pointer"),
                                  std::string_view("KHR_draco_mesh_compression"),
                                  std::string_view(lightsExtension),
                                  std::string_view("KHR_materials_anisotropy"),
                                  std::string_view("KHR_materials_clearcoat"),
                                  std::string_view("KHR_materials_diffuse_transmission"),
                                  std::string_view("KHR_materials_dispersion"),
                                  std::string_view("KHR_materials_emissive_strength"),
                                  std::string_view("KHR_materials_ior"),
                                  std::string_view("KHR_materials_iridescence"),
                                  std::string_view("KHR_materials_pbrSpecularGlossiness"),
                                  std::string_view("KHR_materials_sheen"),
                                  std::string_view("KHR_materials_specular"),
                                  std::string_view("KHR_materials_transmission"),
                                  std::string_view("KHR_materials_unlit"),
                                  std::string_view(variantsExtension),
                                  std::string_view("KHR_materials_volume"),
                                  std::string_view(restartExtension),
                                  std::string_view(quantizationExtension),
                                  std::string_view("KHR_meshopt_compression"),
                                  std::string_view("KHR_node_hoverability"),
                                  std::string_view("KHR_node_selectability"),
                                  std::string_view("KHR_node_visibility"),
                                  std::string_view("KHR_techniques_webgl"),
                                  std::string_view("KHR_texture_basisu"),
                                  std::string_view("KHR_texture_transform"),
                                  std::string_view("KHR_xmp"),
                                  std::string_view("KHR_xmp_json_ld"),
                                  std::string_view("MSFT_lod"),
                                  std::string_view("MSFT_packing_normalRoughnessMetallic"),
                                  std::string_view("MSFT_packing_occlusionRoughnessMetallic"),
                                  std::string_view("MSFT_texture_dds")};

/// Calls `visit(name, content)` for each member of each "extensions" object. Extras are not part of glTF.
template <typename Value, typename Visit>
void forEachExtension(Value& value, const Visit& visit) {
    if (value.is_array()) {
        for (auto& element : value) {
            forEachExtension(element, visit);
        }
        return;
    }
    if (!value.is_object()) {
        return;
    }
    for (const auto& item : value.items()) {
        const std::string& key = item.key();
        auto& member = item.value();
        if (key == "extensions" && member.is_object()) {
            for (const auto& extension : member.items()) {
                visit(extension.key(), extension.value());
            }
        }
        if (key != "extras") {
            forEachExtension(member, visit);
        }
    }
}

void collectNumbers(const Json& value, std::set<std::uint64_t>& numbers) {
    if (value.is_number_unsigned()) {
        numbers.insert(value.get<std::uint64_t>());
    } else if (value.is_structured()) {
        for (const Json& member : value) {
            collectNumbers(member, numbers);
        }
    }
}

bool namesBuffer(const Json& value) {
    if (value.is_object() && value.contains("buffer")) {
        return true;
    }
    return value.is_structured() && std::any_of(value.begin(), value.end(), namesBuffer);
}

/// Calls `visit(reference)` for each reference to an accessor that a supported extension holds.
template <typename Value, typename Visit>
void forEachKnownReference(const std::string& name, Value& content, const Visit& visit) {
    const auto visitNumber = [&](auto& value) {
        if (value.is_number_unsigned()) {
            visit(value);
        }
    };
    if (name == instancingExtension && content.is_object() && content.contains("attributes")) {
        for (auto& accessor : content["attributes"]) {
            visitNumber(accessor);
        }
    } else if (name == edgeVisibilityExtension && content.is_object()) {
        for (const char* member : {"visibility", "silhouetteNormals", "silhouetteMates"}) {
            if (content.contains(member)) {
                visitNumber(content[member]);
            }
        }
        if (content.contains("lineStrings")) {
            for (auto& lines : content["lineStrings"]) {
                if (lines.is_object() && lines.contains("indices")) {
                    visitNumber(lines["indices"]);
                }
            }
        }
    } else if (name == "CESIUM_primitive_outline" && content.is_object() && content.contains("indices")) {
        visitNumber(content["indices"]);
    } else if (name == restartGroupExtension && content.is_object() && content.contains("primitiveGroups")) {
        for (auto& group : content["primitiveGroups"]) {
            if (group.is_object() && group.contains("indices")) {
                visitNumber(group["indices"]);
            }
        }
    }
}

} // namespace

bool isSupportedExtension(std::string_view name) {
    return std::find(supported.begin(), supported.end(), name) != supported.end();
}

void checkExtensions(const Json& document) {
    for (const char* key : {"extensionsUsed", "extensionsRequired"}) {
        for (const Json& name : arrayMember(document, key, "")) {
            if (!name.is_string()) {
                throw FormatError(std::string(key) + " holds something that is not a string");
            }
        }
    }
    for (const Json& name : arrayMember(document, "extensionsRequired", "")) {
        if (!isSupportedExtension(name.get<std::string>())) {
            throw FormatError("requires the extension " + name.get<std::string>() +
                              ", which is not supported; export or convert it without");
        }
    }
}

const Json* findExtension(const Json& object, const char* name) {
    const auto extensions = object.find("extensions");
    if (extensions == object.end() || !extensions->is_object()) {
        return nullptr;
    }
    const auto found = extensions->find(name);
    return found == extensions->end() ? nullptr : &*found;
}

Json takeExtension(Json& object, const char* name) {
    if (findExtension(object, name) == nullptr) {
        return nullptr;
    }
    Json content = std::move(object["extensions"][name]);
    object["extensions"].erase(name);
    if (object["extensions"].empty()) {
        object.erase("extensions");
    }
    return content;
}

bool isListed(const Json& document, const char* key, const char* name) {
    const Json& names = arrayMember(document, key, "");
    return std::find(names.begin(), names.end(), name) != names.end();
}

void setListed(Json& document, const char* key, const char* name, bool list) {
    if (list == isListed(document, key, name)) {
        return;
    }
    if (list) {
        document[key].push_back(name);
        return;
    }
    Json kept = Json::array();
    for (Json& other : document[key]) {
        if (other != name) {
            kept.push_back(std::move(other));
        }
    }
    if (kept.empty()) {
        document.erase(key);
    } else {
        document[key] = std::move(kept);
    }
}

void dropCompression(Json& document, const char* name, std::vector<std::string>& warnings) {
    if (isListed(document, "extensionsUsed", name) || isListed(document, "extensionsRequired", name)) {
        warnings.push_back(std::string("is compressed with ") + name + "; files made of it are not");
        setListed(document, "extensionsUsed", name, false);
        setListed(document, "extensionsRequired", name, false);
    }
}

ExtensionReferences collectExtensionReferences(const Json& document) {
    ExtensionReferences references;
    forEachExtension(document, [&](const std::string& name, const Json& content) {
        if (isSupportedExtension(name)) {
            forEachKnownReference(
                name, content, [&](const Json& accessor) { references.accessors.insert(accessor.get<std::size_t>()); });
            return;
        }
        references.unknown = true;
        collectNumbers(content, references.anything);
        if (namesBuffer(content)) {
            references.bufferUsers.insert(name);
        }
    });
    return references;
}

void renumberExtensionAccessors(Json& document, const std::vector<std::size_t>& numbers) {
    forEachExtension(document, [&](const std::string& name, Json& content) {
        forEachKnownReference(name, content, [&](Json& accessor) {
            if (const auto number = accessor.get<std::size_t>(); number < numbers.size()) {
                accessor = numbers[number];
            }
        });
    });
}

} // namespace vexa::tool
