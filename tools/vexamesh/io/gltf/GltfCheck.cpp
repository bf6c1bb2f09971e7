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

/// Calls `visit(element, name)` for each element of an array that need not be there.
///
/// \param where the object's name in messages; "" for the document
template <typename Visit>
void forEachElement(const Json& object, const char* array, const std::string& where, const Visit& visit) {
    const Json& elements = arrayMember(object, array, where);
    const std::string name = where.empty() ? array : where + "." + array;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        visit(elements[i], elementName(name, i));
    }
}

void requireObject(const Json& value, const std::string& where) {
    if (!value.is_object()) {
        throw FormatError(where + " is not an object");
    }
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
        forEachElement(document, name, "", requireObject);
    }
}

void checkBufferViews(const Json& document) {
    forEachElement(document, "buffers", "", [](const Json& buffer, const std::string& where) {
        requireOne(sizeMember(buffer, "byteLength", where), where + ".byteLength");
    });
    const Json& buffers = arrayMember(document, "buffers", "");
    forEachElement(document, "bufferViews", "", [&](const Json& view, const std::string& where) {
        const std::size_t buffer = indexMember(view, "buffer", where, buffers.size());
        const std::uint64_t offset = sizeMember(view, "byteOffset", where, 0);
        const std::uint64_t length = sizeMember(view, "byteLength", where);
        requireOne(length, where + ".byteLength");
        const std::uint64_t stride = sizeMember(view, "byteStride", where, 4);
        if (stride < 4 || stride > 252 || stride % 4 != 0) {
            throw FormatError(where + ".byteStride is " + std::to_string(stride));
        }
        const auto available = buffers[buffer]["byteLength"].get<std::uint64_t>();
        if (offset + length > available) {
            throw FormatError(where + " reaches to byte " + std::to_string(offset + length) + " of buffers[" +
                              std::to_string(buffer) + "], which has " + std::to_string(available));
        }
    });
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
    forEachElement(document, "accessors", "", [&](const Json& accessor, const std::string& where) {
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
    });
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
    requireObject(primitive, where);
    if (unsignedMember(primitive, "mode", where, mesh::TRIANGLES) > mesh::TRIANGLE_FAN) {
        throw FormatError(where + ".mode is " + primitive["mode"].dump());
    }
    if (const auto indices = optionalIndexMember(primitive, "indices", where, accessors.size())) {
        checkIndices(accessors[*indices], where);
    }
    checkAttributes(primitive, where, accessors, check);
    forEachElement(primitive, "targets", where, [&](const Json& target, const std::string& here) {
        requireObject(target, here);
        for (const auto& [name, value] : target.items()) {
            indexValue(value, here + "." + name, accessors.size());
        }
    });
}

void checkMeshes(const Json& document, MeshCheck check) {
    const Json& accessors = arrayMember(document, "accessors", "");
    forEachElement(document, "meshes", "", [&](const Json& mesh, const std::string& where) {
        if (arrayMember(mesh, "primitives", where).empty()) {
            throw FormatError(where + ".primitives is missing");
        }
        forEachElement(mesh, "primitives", where, [&](const Json& primitive, const std::string& here) {
            checkPrimitive(primitive, here, accessors, check);
        });
    });
}

/// The references of what is only carried along, to arrays that may change.
void checkOtherReferences(const Json& document) {
    const std::size_t accessors = arrayMember(document, "accessors", "").size();
    const std::size_t views = arrayMember(document, "bufferViews", "").size();
    forEachElement(document, "images", "", [&](const Json& image, const std::string& where) {
        optionalIndexMember(image, "bufferView", where, views);
    });
    forEachElement(document, "skins", "", [&](const Json& skin, const std::string& where) {
        optionalIndexMember(skin, "inverseBindMatrices", where, accessors);
    });
    forEachElement(document, "animations", "", [&](const Json& animation, const std::string& where) {
        forEachElement(animation, "samplers", where, [&](const Json& sampler, const std::string& here) {
            requireObject(sampler, here);
            indexMember(sampler, "input", here, accessors);
            indexMember(sampler, "output", here, accessors);
        });
    });
}

/// The scene graph, which other tools follow.
void checkScenes(const Json& document) {
    const Json& nodes = arrayMember(document, "nodes", "");
    optionalIndexMember(document, "scene", "", arrayMember(document, "scenes", "").size());
    forEachElement(document, "scenes", "", [&](const Json& scene, const std::string& where) {
        for (const Json& node : arrayMember(scene, "nodes", where)) {
            indexValue(node, where + ".nodes", nodes.size());
        }
    });
    const std::size_t meshes = arrayMember(document, "meshes", "").size();
    std::vector<bool> hasParent(nodes.size());
    forEachElement(document, "nodes", "", [&](const Json& node, const std::string& where) {
        optionalIndexMember(node, "mesh", where, meshes);
        for (const Json& child : arrayMember(node, "children", where)) {
            const std::size_t index = indexValue(child, where + ".children", nodes.size());
            if (hasParent[index]) {
                throw FormatError(elementName("nodes", index) + " has more than one parent");
            }
            hasParent[index] = true;
        }
    });
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
