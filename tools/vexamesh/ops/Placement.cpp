#include "ops/Placement.h"

#include "base/Errors.h"
#include "io/gltf/GltfExtensions.h"
#include "ops/MeshConversion.h"

#include <charconv>
#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/quaternion.hpp>
#include <map>
#include <numbers>
#include <string_view>

namespace vexa::tool {

namespace {

std::vector<std::string_view> splitAtCommas(std::string_view text) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t comma = text.find(',');
        parts.push_back(text.substr(0, comma));
        if (comma == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(comma + 1);
    }
}

double parseNumber(std::string_view text, const std::string& option, const std::string& all) {
    double value = 0;
    const std::string_view digits = text.substr(text.starts_with('+') ? 1 : 0);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value)) {
        throw UsageError(option + " " + all + ": a number is missing");
    }
    return value;
}

std::vector<double> parseNumbers(const std::string& text, const std::string& option) {
    std::vector<double> numbers;
    for (const std::string_view part : splitAtCommas(text)) {
        numbers.push_back(parseNumber(part, option, text));
    }
    return numbers;
}

/// A member of a node as numbers; empty when it is absent.
std::vector<double> nodeNumbers(const Json& node, const char* key, std::size_t count, const std::string& where) {
    std::vector<double> numbers;
    for (const Json& value : arrayMember(node, key, where)) {
        if (!value.is_number()) {
            throw FormatError(where + "." + key + " holds something that is not a number");
        }
        numbers.push_back(value.get<double>());
    }
    if (node.contains(key) && numbers.size() != count) {
        throw FormatError(where + "." + key + " does not hold " + std::to_string(count) + " numbers");
    }
    return numbers;
}

glm::dmat4 nodeMatrix(const Json& node, const std::string& where) {
    if (const auto m = nodeNumbers(node, "matrix", 16, where); !m.empty()) {
        glm::dmat4 matrix;
        for (int i = 0; i < 16; ++i) {
            matrix[i / 4][i % 4] = m[static_cast<std::size_t>(i)];
        }
        return matrix;
    }
    glm::dmat4 matrix(1);
    if (const auto t = nodeNumbers(node, "translation", 3, where); !t.empty()) {
        matrix = glm::translate(matrix, glm::dvec3(t[0], t[1], t[2]));
    }
    if (const auto r = nodeNumbers(node, "rotation", 4, where); !r.empty()) {
        matrix *= glm::mat4_cast(glm::dquat(r[3], r[0], r[1], r[2]));
    }
    if (const auto s = nodeNumbers(node, "scale", 3, where); !s.empty()) {
        matrix = glm::scale(matrix, glm::dvec3(s[0], s[1], s[2]));
    }
    return matrix;
}

std::vector<std::size_t> rootNodes(const Json& json) {
    const Json& scenes = arrayMember(json, "scenes", "");
    std::vector<std::size_t> roots;
    if (!scenes.empty()) {
        const Json& scene = scenes[json.value("scene", std::size_t{0})];
        for (const Json& node : arrayMember(scene, "nodes", "scenes")) {
            roots.push_back(node.get<std::size_t>());
        }
        return roots;
    }
    const Json& nodes = arrayMember(json, "nodes", "");
    std::vector<bool> isChild(nodes.size());
    for (const Json& node : nodes) {
        for (const Json& child : arrayMember(node, "children", "nodes")) {
            isChild[child.get<std::size_t>()] = true;
        }
    }
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (!isChild[i]) {
            roots.push_back(i);
        }
    }
    return roots;
}

/// The transformations of the instances of a node, which are placed in the node's coordinates.
std::vector<glm::dmat4> instanceMatrices(const Document& document, const Json& instancing, const std::string& where) {
    const Json& accessors = arrayMember(document.asset.json, "accessors", "");
    std::optional<std::size_t> count;
    std::map<std::string, AccessorData> members;
    for (const auto& [name, accessor] : objectMember(instancing, "attributes", where).items()) {
        AccessorData values = readAccessor(document.asset, indexValue(accessor, where + "." + name, accessors.size()));
        if (values.count != count.value_or(values.count)) {
            throw FormatError(where + " has attributes of different lengths");
        }
        count = values.count;
        const std::size_t wanted = name == "ROTATION" ? 4 : 3;
        if (name == "TRANSLATION" || name == "ROTATION" || name == "SCALE") {
            if (values.components != wanted) {
                throw FormatError(where + "." + name + " is not VEC" + std::to_string(wanted));
            }
            members[name] = toFloats(values);
        }
    }
    std::vector<glm::dmat4> matrices(count.value_or(1), glm::dmat4(1));
    const auto numbers = [&](const char* name, std::size_t i, glm::dvec4 value) {
        if (const auto found = members.find(name); found != members.end()) {
            for (std::size_t c = 0; c < found->second.components; ++c) {
                value[static_cast<int>(c)] = found->second.component(i, c);
            }
        }
        return value;
    };
    for (std::size_t i = 0; i < matrices.size(); ++i) {
        const glm::dvec4 turn = numbers("ROTATION", i, {0, 0, 0, 1});
        matrices[i] = glm::translate(matrices[i], glm::dvec3(numbers("TRANSLATION", i, {})));
        matrices[i] *= glm::mat4_cast(glm::normalize(glm::dquat(turn.w, turn.x, turn.y, turn.z)));
        matrices[i] = glm::scale(matrices[i], glm::dvec3(numbers("SCALE", i, glm::dvec4(1))));
    }
    return matrices;
}

} // namespace

glm::dmat4 parseTranslation(const std::string& text) {
    const std::vector<double> n = parseNumbers(text, "--translate");
    if (n.size() != 3) {
        throw UsageError("--translate " + text + ": three numbers are needed, as 1,2,3");
    }
    return glm::translate(glm::dmat4(1), glm::dvec3(n[0], n[1], n[2]));
}

glm::dmat4 parseScale(const std::string& text) {
    const std::vector<double> n = parseNumbers(text, "--scale");
    if (n.size() != 1 && n.size() != 3) {
        throw UsageError("--scale " + text + ": one or three numbers are needed, as 2 or 1,1,-1");
    }
    const glm::dvec3 factors = n.size() == 1 ? glm::dvec3(n[0]) : glm::dvec3(n[0], n[1], n[2]);
    if (factors.x * factors.y * factors.z == 0) {
        throw UsageError("--scale " + text + ": a factor is 0");
    }
    return glm::scale(glm::dmat4(1), factors);
}

glm::dmat4 parseRotation(const std::string& text) {
    const std::vector<std::string_view> parts = splitAtCommas(text);
    glm::dvec3 axis(0);
    double degrees = 0;
    if (parts.size() == 2 && parts[0].size() == 1 && parts[0][0] >= 'x' && parts[0][0] <= 'z') {
        axis[parts[0][0] - 'x'] = 1;
        degrees = parseNumber(parts[1], "--rotate", text);
    } else {
        const std::vector<double> n = parts.size() == 4 ? parseNumbers(text, "--rotate") : std::vector<double>();
        if (n.empty() || std::hypot(n[0], n[1], n[2]) == 0) {
            throw UsageError("--rotate " + text + ": an axis and degrees are needed, as y,90 or 1,1,0,90");
        }
        axis = glm::dvec3(n[0], n[1], n[2]);
        degrees = n[3];
    }
    return glm::rotate(glm::dmat4(1), degrees * std::numbers::pi / 180, glm::normalize(axis));
}

std::vector<PlacedNode> placedNodes(const Document& document) {
    const Json& json = document.asset.json;
    const Json& nodes = arrayMember(json, "nodes", "");
    std::vector<PlacedNode> placed;
    for (const std::size_t root : nodes.empty() ? std::vector<std::size_t>() : rootNodes(json)) {
        placed.push_back({root, glm::dmat4(1)});
    }
    // Breadth first; the hierarchy was checked for cycles when the file was read.
    for (std::size_t i = 0; i < placed.size(); ++i) {
        const Json& node = nodes[placed[i].node];
        const std::string where = elementName("nodes", placed[i].node);
        const glm::dmat4 matrix = placed[i].matrix * nodeMatrix(node, where);
        placed[i].matrix = matrix;
        for (const Json& child : arrayMember(node, "children", where)) {
            placed.push_back({child.get<std::size_t>(), matrix});
        }
    }
    return placed;
}

std::vector<MeshInstance> meshInstances(const Document& document) {
    const Json& nodes = arrayMember(document.asset.json, "nodes", "");
    std::vector<MeshInstance> instances;
    if (nodes.empty()) {
        for (std::size_t m = 0; m < document.meshes.size(); ++m) {
            instances.push_back({m, glm::dmat4(1)});
        }
        return instances;
    }
    for (const PlacedNode& placed : placedNodes(document)) {
        const Json& node = nodes[placed.node];
        if (!node.contains("mesh")) {
            continue;
        }
        const auto mesh = node["mesh"].get<std::size_t>();
        const Json* const instancing = findExtension(node, instancingExtension);
        if (instancing == nullptr) {
            instances.push_back({mesh, placed.matrix});
            continue;
        }
        const std::string where = elementName("nodes", placed.node) + ".extensions." + instancingExtension;
        for (const glm::dmat4& matrix : instanceMatrices(document, *instancing, where)) {
            instances.push_back({mesh, placed.matrix * matrix});
        }
    }
    return instances;
}

} // namespace vexa::tool
