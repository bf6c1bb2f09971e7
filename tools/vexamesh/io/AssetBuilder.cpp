#include "io/AssetBuilder.h"

#include "base/Errors.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/PrimitiveRestart.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <regex>

namespace vexa::tool {

namespace {

/// The name of an attribute in a file: what glTF gives no meaning begins with an underscore.
std::string writtenName(const std::string& name) {
    static const std::regex known("(POSITION|NORMAL|TANGENT|(TEXCOORD|COLOR|JOINTS|WEIGHTS)_[0-9]+)|_.*");
    return std::regex_match(name, known) ? name : "_" + name;
}

} // namespace

std::pair<Json, Json> bounds(const AccessorData& values) {
    Json least = Json::array();
    Json largest = Json::array();
    for (std::size_t c = 0; c < values.components; ++c) {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        for (std::size_t i = 0; i < values.count; ++i) {
            if (const double value = values.component(i, c); std::isfinite(value)) {
                low = std::min(low, value);
                high = std::max(high, value);
            }
        }
        if (low > high) {
            low = high = 0;
        }
        const bool isFloat = values.componentType == mesh::FLOAT;
        least.push_back(isFloat ? Json(low) : Json(static_cast<std::int64_t>(low)));
        largest.push_back(isFloat ? Json(high) : Json(static_cast<std::int64_t>(high)));
    }
    return {std::move(least), std::move(largest)};
}

Bytes alignElements(const AccessorData& values, std::size_t stride) {
    const std::size_t size = values.elementSize();
    Bytes aligned(values.count * stride);
    for (std::size_t i = 0; i < values.count; ++i) {
        std::copy_n(values.bytes.data() + i * size, size, aligned.data() + i * stride);
    }
    return aligned;
}

mesh::ComponentType narrowestIndexType(const std::vector<unsigned int>& indices) {
    unsigned int largest = 0;
    for (const unsigned int index : indices) {
        largest = std::max(largest, index == decodedRestart ? 0 : index);
    }
    return largest < std::numeric_limits<std::uint8_t>::max()    ? mesh::UNSIGNED_BYTE
           : largest < std::numeric_limits<std::uint16_t>::max() ? mesh::UNSIGNED_SHORT
                                                                 : mesh::UNSIGNED_INT;
}

void appendIndices(Bytes& bytes, const std::vector<unsigned int>& indices, mesh::ComponentType type) {
    for (const unsigned int index : indices) {
        if (type == mesh::UNSIGNED_BYTE) {
            bytes.push_back(static_cast<unsigned char>(index));
        } else if (type == mesh::UNSIGNED_SHORT) {
            appendValue(bytes, static_cast<std::uint16_t>(index));
        } else {
            appendValue(bytes, static_cast<std::uint32_t>(index));
        }
    }
}

AccessorData floatValues(const std::string& type, const std::vector<float>& values) {
    AccessorData data;
    data.type = type;
    data.components = type == "SCALAR" ? 1 : type == "VEC2" ? 2 : type == "VEC3" ? 3 : 4;
    data.count = values.size() / data.components;
    const auto* bytes = reinterpret_cast<const unsigned char*>(values.data());
    data.bytes.assign(bytes, bytes + values.size() * sizeof(float));
    return data;
}

AssetBuilder::AssetBuilder() {
    json_["asset"] = {{"version", "2.0"}, {"generator", "vexamesh " VEXAMESH_VERSION}};
    json_["scene"] = 0;
    json_["scenes"] = Json::array({{{"nodes", Json::array()}}});
}

std::size_t AssetBuilder::addView(const Bytes& content, int target, std::size_t stride) {
    padTo(binary_, 4);
    Json view = {{"buffer", 0}, {"byteOffset", binary_.size()}, {"byteLength", content.size()}};
    if (stride != 0) {
        view["byteStride"] = stride;
    }
    if (target != 0) {
        view["target"] = target;
    }
    binary_.insert(binary_.end(), content.begin(), content.end());
    json_["bufferViews"].push_back(std::move(view));
    return json_["bufferViews"].size() - 1;
}

std::size_t AssetBuilder::addAttribute(const NewAttribute& attribute) {
    const AccessorData& values = attribute.values;
    const std::size_t size = values.elementSize();
    const std::size_t stride = (size + 3) / 4 * 4;
    const std::size_t view = stride == size ? addView(values.bytes, arrayBuffer, 0)
                                            : addView(alignElements(values, stride), arrayBuffer, stride);
    Json accessor = {
        {"bufferView", view}, {"componentType", values.componentType}, {"count", values.count}, {"type", values.type}};
    if (values.normalized) {
        accessor["normalized"] = true;
    }
    if (attribute.name == "POSITION") {
        std::tie(accessor["min"], accessor["max"]) = bounds(values);
    }
    json_["accessors"].push_back(std::move(accessor));
    return json_["accessors"].size() - 1;
}

std::size_t AssetBuilder::addIndices(const std::vector<unsigned int>& indices) {
    const mesh::ComponentType type = narrowestIndexType(indices);
    Bytes content;
    appendIndices(content, indices, type);
    const std::size_t view = addView(content, elementArrayBuffer, 0);
    json_["accessors"].push_back(
        {{"bufferView", view}, {"componentType", type}, {"count", indices.size()}, {"type", "SCALAR"}});
    return json_["accessors"].size() - 1;
}

void AssetBuilder::addMesh(const std::string& name, const std::vector<NewPrimitive>& primitives) {
    Json mesh = Json::object();
    if (!name.empty()) {
        mesh["name"] = name;
    }
    for (const NewPrimitive& primitive : primitives) {
        Json entry = {{"attributes", Json::object()}};
        if (primitive.sharesWith) {
            entry["attributes"] = mesh["primitives"].at(*primitive.sharesWith)["attributes"];
        }
        for (const NewAttribute& attribute : primitive.attributes) {
            entry["attributes"][writtenName(attribute.name)] = addAttribute(attribute);
        }
        entry["indices"] = addIndices(primitive.indices);
        if (primitive.material) {
            entry["material"] = *primitive.material;
        }
        entry["mode"] = primitive.type;
        if (!primitive.extensions.empty()) {
            entry["extensions"] = primitive.extensions;
        }
        mesh["primitives"].push_back(std::move(entry));
    }
    Json node = {{"mesh", json_["meshes"].size()}};
    if (!name.empty()) {
        node["name"] = name;
    }
    addNode(std::move(node));
    json_["meshes"].push_back(std::move(mesh));
}

void AssetBuilder::addNode(Json node) {
    // A new member moves all others.
    Json& nodes = json_["nodes"];
    nodes.push_back(std::move(node));
    const std::size_t number = nodes.size() - 1;
    json_["scenes"][0]["nodes"].push_back(number);
}

std::size_t AssetBuilder::addEntry(const char* array, Json entry) {
    Json& entries = json_[array];
    entries.push_back(std::move(entry));
    return entries.size() - 1;
}

std::size_t AssetBuilder::addMaterial(Json material) {
    return addEntry("materials", std::move(material));
}

void AssetBuilder::useExtension(const std::string& name, bool isRequired) {
    setListed(json_, "extensionsUsed", name.c_str(), true);
    if (isRequired) {
        setListed(json_, "extensionsRequired", name.c_str(), true);
    }
}

void AssetBuilder::addExtension(const std::string& name, Json content) {
    useExtension(name);
    json_["extensions"][name] = std::move(content);
}

Asset AssetBuilder::finish(std::vector<std::string> leftOut) {
    if (!json_.contains("meshes")) {
        throw FormatError("holds no meshes");
    }
    json_["buffers"] = Json::array({{{"byteLength", binary_.size()}}});
    std::vector<Bytes> buffers;
    buffers.push_back(std::move(binary_));
    Asset asset = makeAsset(std::move(json_), std::move(buffers));
    asset.leftOut = std::move(leftOut);
    return asset;
}

} // namespace vexa::tool
