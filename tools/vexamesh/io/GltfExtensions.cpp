#include "io/GltfExtensions.h"

#include "Errors.h"
#include "io/PrimitiveRestart.h"

#include <algorithm>
#include <array>

namespace vexa::tool {

namespace {

// Their members refer to no accessor, buffer view or buffer (or as told at `collectKnown`).
constexpr std::array SUPPORTED = {std::string_view("AGI_articulations"),
                                  std::string_view("AGI_stk_metadata"),
                                  std::string_view("CESIUM_primitive_outline"),
                                  std::string_view("EXT_lights_ies"),
                                  std::string_view("EXT_lights_image_based"),
                                  std::string_view("EXT_mesh_gpu_instancing"),
                                  std::string_view("EXT_texture_avif"),
                                  std::string_view("EXT_texture_webp"),
                                  std::string_view("FB_ngon_encoding"),
                                  std::string_view("KHR_animation_pointer"),
                                  std::string_view("KHR_lights_punctual"),
                                  std::string_view(restartExtension),
                                  std::string_view("KHR_mesh_quantization"),
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

constexpr std::array COMPRESSIONS = {std::string_view("KHR_draco_mesh_compression"),
                                     std::string_view("EXT_meshopt_compression"),
                                     std::string_view("KHR_meshopt_compression")};

bool isCompression(std::string_view name) {
    return std::find(COMPRESSIONS.begin(), COMPRESSIONS.end(), name) != COMPRESSIONS.end();
}

/// Calls `visit(name, content)` for each member of each "extensions" object. What extras hold is no part of glTF.
template <typename Visit>
void forEachExtension(const Json& value, const Visit& visit) {
    if (value.is_array()) {
        for (const Json& element : value) {
            forEachExtension(element, visit);
        }
        return;
    }
    if (!value.is_object()) {
        return;
    }
    for (const auto& [key, member] : value.items()) {
        if (key == "extensions" && member.is_object()) {
            for (const auto& [name, content] : member.items()) {
                visit(name, content);
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

void collectKnown(const std::string& name, const Json& content, std::set<std::size_t>& accessors) {
    const auto add = [&](const Json& value) {
        if (value.is_number_unsigned()) {
            accessors.insert(value.get<std::size_t>());
        }
    };
    if (name == "EXT_mesh_gpu_instancing" && content.is_object() && content.contains("attributes")) {
        for (const Json& accessor : content["attributes"]) {
            add(accessor);
        }
    } else if (name == "CESIUM_primitive_outline" && content.is_object() && content.contains("indices")) {
        add(content["indices"]);
    } else if (name == restartExtension && content.is_object() && content.contains("primitiveGroups")) {
        for (const Json& group : content["primitiveGroups"]) {
            if (group.is_object() && group.contains("indices")) {
                add(group["indices"]);
            }
        }
    }
}

} // namespace

bool isSupportedExtension(std::string_view name) {
    return name.starts_with("KHR_materials_") || std::find(SUPPORTED.begin(), SUPPORTED.end(), name) != SUPPORTED.end();
}

void checkExtensions(const Json& document) {
    const auto refuseCompression = [](const std::string& name) {
        if (isCompression(name)) {
            throw FormatError("compressed with " + name + ", which is not supported; export or convert it without");
        }
    };
    for (const char* key : {"extensionsUsed", "extensionsRequired"}) {
        for (const Json& name : arrayMember(document, key, "")) {
            if (!name.is_string()) {
                throw FormatError(std::string(key) + " holds something that is no string");
            }
            refuseCompression(name.get<std::string>());
        }
    }
    forEachExtension(document, [&](const std::string& name, const Json&) { refuseCompression(name); });
    for (const Json& name : arrayMember(document, "extensionsRequired", "")) {
        if (!isSupportedExtension(name.get<std::string>())) {
            throw FormatError("requires the extension " + name.get<std::string>() +
                              ", which is not supported; export or convert it without");
        }
    }
}

ExtensionReferences collectExtensionReferences(const Json& document) {
    ExtensionReferences references;
    forEachExtension(document, [&](const std::string& name, const Json& content) {
        if (isSupportedExtension(name)) {
            collectKnown(name, content, references.accessors);
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

} // namespace vexa::tool
