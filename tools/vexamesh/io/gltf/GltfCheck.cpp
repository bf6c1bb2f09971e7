#include "io/gltf/GltfCheck.h"

#include "base/Errors.h"
#include "io/gltf/GltfExtensions.h"

#include <vexa/mesh/Types.h>

#include <algorithm>
#include <array>
#include <limits>
#include <regex>

namespace vexa::tool {

namespace {

// Also where the arithmetic on them below stays far from overflowing 64 bits.
constexpr std::uint64_t largestSize = std::uint64_t{1} << 40;
// Elements of an accessor without data of its own, which a file of a few bytes can ask for.
constexpr std::uint64_t mostZeroElements = std::uint64_t{1} << 24;

std::uint64_t sizeMember(const Json& object, const char* key, const std::string& where,
                         std::optional<std::uint64_t> fallback = std::nullopt) {
    const std::uint64_t size = unsignedMember(object, key, where, fallback);
    if (size > largestSize) {
        throw FormatError(where + "." + key + " is " + std::to_string(size) + ", which is too large");
    }
    return size;
}

void requireOne(std::uint64_t value, const std::string& what) {
    if (value == 0) {
        throw FormatError(what + " is 0");
    }
}

void checkAsset(const Json& document) {
    if (!document.is_object()) {
        throw FormatError("the JSON is not an object");
    }
    const auto asset = document.find("asset");
    if (asset == document.end() || !asset->is_object()) {
        throw FormatError("not glTF: \"asset\" is missing");
    }
    const std::string version = stringMember(*asset, "version");
    if (!std::regex_match(version, std::regex("2\\.[0-9]+"))) {
        throw FormatError(version.empty() ? "asset.version is missing"
                                          : "glTF version " + version + " is not supported, only 2 is");
    }
    const std::string least = stringMember(*asset, "minVersion");
    if (!least.empty() && least != "2.0") {
        throw FormatError("glTF version " + least + " is required, only 2.0 is supported");
    }
}

void checkArrays(const Json& document) {
    constexpr std::array names = {"accessors", "animations", "bufferViews", "buffers", "cameras",
                                  "images",    "materials",  "meshes",      "nodes",   "samplers",
                                  "scenes",    "skins",      "textures"};
    for (const char* name : names) {
        const Json& array = arrayMember(document, name, "");
        for (std::size_t i = 0; i < array.size(); ++i) {
            if (!array[i].is_object()) {
                throw FormatError(elementName(name, i) + " is not an object");
            }
        }
    }
}

void checkBufferViews(const Json& document) {
    const Json& buffers = arrayMember(document, "buffers", "");
    for (std::size_t i = 0; i < buffers.size(); ++i) {
        requireOne(sizeMember(buffers[i], "byteLength", elementName("buffers", i)),
                   elementName("buffers", i) + ".byteLength");
    }
    const Json& views = arrayMember(document, "bufferViews", "");
    for (std::size_t i = 0; i < views.size(); ++i) {
        const std::string where = elementName("bufferViews", i);
        const std::size_t buffer = indexMember(views[i], "buffer", where, buffers.size());
        const std::uint64_t offset = sizeMember(views[i], "byteOffset", where, 0);
        const std::uint64_t length = sizeMember(views[i], "byteLength", where);
        requireOne(length, where + ".byteLength");
        const std::uint64_t stride = sizeMember(views[i], "byteStride", where, 4);
        if (stride < 4 || stride > 252 || stride % 4 != 0) {
            throw FormatError(where + ".byteStride is " + std::to_string(stride));
        }
        const auto available = buffers[buffer]["byteLength"].get<std::uint64_t>();
        if (offset + length > available) {
            throw FormatError(where + " reaches to byte " + std::to_string(offset + length) + " of buffers[" +
                              std::to_string(buffer) + "], which has " + std::to_string(available));
        }
    }
}

/// Checks that `count` elements of `size` bytes, `stride` apart, lie inside a buffer view.
void checkRange(const Json& view, std::size_t viewIndex, std::uint64_t offset, std::uint64_t count, std::uint64_t size,
                std::uint64_t stride, const std::string& where) {
    const auto available = view["byteLength"].get<std::uint64_t>();
    // `count` is at most 2^40 and a stride at most 252: no overflow.
    const std::uint64_t end = offset + (count - 1) * stride + size;
    if (end > available) {
        throw FormatError(where + " reaches to byte " + std::to_string(end) + " of bufferViews[" +
                          std::to_string(viewIndex) + "], which has " + std::to_string(available));
    }
}

void checkSparse(const Json& accessor, const std::string& where, const Json& views, std::uint64_t size) {
    const Json& sparse = objectMember(accessor, "sparse", where);
    const std::string here = where + ".sparse";
    const std::uint64_t count = sizeMember(sparse, "count", here);
    requireOne(count, here + ".count");
    if (count > accessor["count"].get<std::uint64_t>()) {
        throw FormatError(here + ".count is " + std::to_string(count) + ", more than the accessor's");
    }
    for (const char* part : {"indices", "values"}) {
        const Json& object = objectMember(sparse, part, here);
        const std::string name = here + "." + part;
        const std::size_t view = indexMember(object, "bufferView", name, views.size());
        const std::uint64_t offset = sizeMember(object, "byteOffset", name, 0);
        if (std::max(offset, count) > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
            throw FormatError(name + " is too large");
        }
        std::uint64_t step = size;
        if (part == std::string_view("indices")) {
            const std::uint64_t type = unsignedMember(object, "componentType", name);
            if (type != mesh::UNSIGNED_BYTE && type != mesh::UNSIGNED_SHORT && type != mesh::UNSIGNED_INT) {
                throw FormatError(name + ".componentType is " + std::to_string(type));
            }
            step = elementSize(type, "SCALAR");
        }
        checkRange(views[view], view, offset, count, step, step, name);
    }
}

void checkAccessors(const Json& document) {
    const Json& views = arrayMember(document, "bufferViews", "");
    const Json& accessors = arrayMember(document, "accessors", "");
    for (std::size_t i = 0; i < accessors.size(); ++i) {
        const Json& accessor = accessors[i];
        const std::string where = elementName("accessors", i);
        const std::uint64_t componentType = unsignedMember(accessor, "componentType", where);
        const std::string type = stringMember(accessor, "type");
        const std::uint64_t size = elementSize(componentType, type);
        if (size == 0) {
            throw FormatError(where + " has the componentType " + std::to_string(componentType) + " and the type \"" +
                              type + "\"");
        }
        const std::uint64_t count = sizeMember(accessor, "count", where);
        requireOne(count, where + ".count");
        const std::uint64_t offset = sizeMember(accessor, "byteOffset", where, 0);
        if (const auto view = optionalIndexMember(accessor, "bufferView", where, views.size())) {
            const std::uint64_t stride = sizeMember(views[*view], "byteStride", where, size);
            if (stride < size) {
                throw FormatError(where + " has elements of " + std::to_string(size) +
                                  " bytes, which overlap at a byteStride of " + std::to_string(stride));
            }
            checkRange(views[*view], *view, offset, count, size, stride, where);
        } else if (count > mostZeroElements) {
            throw FormatError(where + " has " + std::to_string(count) + " elements without data");
        }
        if (accessor.contains("sparse")) {
            checkSparse(accessor, where, views, size);
        }
    }
}

void checkIndices(const Json& accessor, const std::string& where) {
    const auto type = accessor["componentType"].get<std::uint64_t>();
    if (stringMember(accessor, "type") != "SCALAR" ||
        (type != mesh::UNSIGNED_BYTE && type != mesh::UNSIGNED_SHORT && type != mesh::UNSIGNED_INT)) {
        throw FormatError(where + ".indices refers to an accessor that does not hold indices");
    }
}

void checkAttributes(const Json& primitive, const std::string& where, const Json& accessors, MeshCheck check) {
    if (!primitive.contains("attributes")) {
        throw FormatError(where + ".attributes is missing");
    }
    std::optional<std::uint64_t> vertices;
    for (const auto& [name, value] : objectMember(primitive, "attributes", where).items()) {
        const std::string here = where + ".attributes." + name;
        const Json& accessor = accessors[indexValue(value, here, accessors.size())];
        const auto count = accessor["count"].get<std::uint64_t>();
        if (check == MeshCheck::Full && vertices && *vertices != count) {
            throw FormatError(here + " has " + std::to_string(count) + " elements, another attribute " +
                              std::to_string(*vertices));
        }
        vertices = std::max(vertices.value_or(0), count);
        if (name == "POSITION" && stringMember(accessor, "type") != "VEC3") {
            throw FormatError(here + " is not a VEC3");
        }
    }
    if (vertices.value_or(0) > std::numeric_limits<std::uint32_t>::max()) {
        throw FormatError(where + " has " + std::to_string(*vertices) + " vertices");
    }
}

void checkPrimitive(const Json& primitive, const std::string& where, const Json& accessors, MeshCheck check) {
    if (!primitive.is_object()) {
        throw FormatError(where + " is not an object");
    }
    if (unsignedMember(primitive, "mode", where, mesh::TRIANGLES) > mesh::TRIANGLE_FAN) {
        throw FormatError(where + ".mode is " + primitive["mode"].dump());
    }
    if (const auto indices = optionalIndexMember(primitive, "indices", where, accessors.size())) {
        checkIndices(accessors[*indices], where);
    }
    checkAttributes(primitive, where, accessors, check);
    const Json& targets = arrayMember(primitive, "targets", where);
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const std::string here = elementName(where + ".targets", i);
        if (!targets[i].is_object()) {
            throw FormatError(here + " is not an object");
        }
        for (const auto& [name, value] : targets[i].items()) {
            indexValue(value, here + "." + name, accessors.size());
        }
    }
}

void checkMeshes(const Json& document, MeshCheck check) {
    const Json& accessors = arrayMember(document, "accessors", "");
    const Json& meshes = arrayMember(document, "meshes", "");
    for (std::size_t m = 0; m < meshes.size(); ++m) {
        const std::string where = elementName("meshes", m);
        const Json& primitives = arrayMember(meshes[m], "primitives", where);
        if (primitives.empty()) {
            throw FormatError(where + ".primitives is missing");
        }
        for (std::size_t p = 0; p < primitives.size(); ++p) {
            checkPrimitive(primitives[p], elementName(where + ".primitives", p), accessors, check);
        }
    }
}

/// The references of what is only carried along, to arrays that may change.
void checkOtherReferences(const Json& document) {
    const std::size_t accessors = arrayMember(document, "accessors", "").size();
    const std::size_t views = arrayMember(document, "bufferViews", "").size();
    const Json& images = arrayMember(document, "images", "");
    for (std::size_t i = 0; i < images.size(); ++i) {
        optionalIndexMember(images[i], "bufferView", elementName("images", i), views);
    }
    const Json& skins = arrayMember(document, "skins", "");
    for (std::size_t i = 0; i < skins.size(); ++i) {
        optionalIndexMember(skins[i], "inverseBindMatrices", elementName("skins", i), accessors);
    }
    const Json& animations = arrayMember(document, "animations", "");
    for (std::size_t i = 0; i < animations.size(); ++i) {
        const std::string where = elementName("animations", i);
        const Json& samplers = arrayMember(animations[i], "samplers", where);
        for (std::size_t s = 0; s < samplers.size(); ++s) {
            const std::string here = elementName(where + ".samplers", s);
            if (!samplers[s].is_object()) {
                throw FormatError(here + " is not an object");
            }
            indexMember(samplers[s], "input", here, accessors);
            indexMember(samplers[s], "output", here, accessors);
        }
    }
}

/// The scene graph, which other tools follow.
void checkScenes(const Json& document) {
    const Json& scenes = arrayMember(document, "scenes", "");
    const Json& nodes = arrayMember(document, "nodes", "");
    optionalIndexMember(document, "scene", "", scenes.size());
    for (std::size_t i = 0; i < scenes.size(); ++i) {
        const std::string where = elementName("scenes", i) + ".nodes";
        for (const Json& node : arrayMember(scenes[i], "nodes", elementName("scenes", i))) {
            indexValue(node, where, nodes.size());
        }
    }
    const std::size_t meshes = arrayMember(document, "meshes", "").size();
    std::vector<bool> hasParent(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const std::string where = elementName("nodes", i);
        optionalIndexMember(nodes[i], "mesh", where, meshes);
        for (const Json& child : arrayMember(nodes[i], "children", where)) {
            const std::size_t index = indexValue(child, where + ".children", nodes.size());
            if (hasParent[index]) {
                throw FormatError(elementName("nodes", index) + " has more than one parent");
            }
            hasParent[index] = true;
        }
    }
    // With one parent at most, a node that no root leads to lies on a cycle or hangs below one.
    std::vector<std::size_t> reached;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (!hasParent[i]) {
            reached.push_back(i);
        }
    }
    for (std::size_t i = 0; i < reached.size(); ++i) {
        for (const Json& child : arrayMember(nodes[reached[i]], "children", "")) {
            reached.push_back(child.get<std::size_t>());
        }
    }
    if (reached.size() != nodes.size()) {
        throw FormatError("nodes are children of themselves");
    }
}

} // namespace

std::size_t componentCount(const std::string& type) {
    constexpr std::array<std::pair<std::string_view, std::size_t>, 7> types{
        {{"SCALAR", 1}, {"VEC2", 2}, {"VEC3", 3}, {"VEC4", 4}, {"MAT2", 4}, {"MAT3", 9}, {"MAT4", 16}}};
    const auto* const found =
        std::find_if(types.begin(), types.end(), [&](const auto& entry) { return entry.first == type; });
    return found == types.end() ? 0 : found->second;
}

std::size_t elementSize(std::uint64_t componentType, const std::string& type) {
    if (componentType > mesh::FLOAT || componentType == mesh::INT) {
        return 0;
    }
    const std::size_t component = mesh::getComponentSizeInBytes(static_cast<mesh::ComponentType>(componentType));
    const std::size_t count = componentCount(type);
    if (type.starts_with("MAT")) {
        const std::size_t rows = count == 4 ? 2 : count == 9 ? 3 : 4;
        return rows * ((rows * component + 3) / 4 * 4);
    }
    return count * component;
}

void checkDocument(const Json& document, MeshCheck check) {
    checkAsset(document);
    checkExtensions(document);
    checkArrays(document);
    checkBufferViews(document);
    checkAccessors(document);
    checkMeshes(document, check);
    checkOtherReferences(document);
    checkScenes(document);
}

} // namespace vexa::tool
