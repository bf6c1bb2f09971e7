#include "io/import/PlyAttributes.h"

#include "base/Errors.h"
#include "io/import/ImportedAttributes.h"

#include <algorithm>
#include <cmath>

namespace vexa::tool {

namespace {

using Names = std::vector<std::string>;

bool isFloat(PlyType type) {
    return type == PlyType::Float32 || type == PlyType::Float64;
}

/// The number that stands for full intensity in a colour of this type.
float fullColor(PlyType type) {
    constexpr float fullByte = 255;
    constexpr float fullShort = 65535;
    return isFloat(type) ? 1 : type == PlyType::Uint16 || type == PlyType::Int16 ? fullShort : fullByte;
}

/// The name of an attribute that glTF gives no meaning.
std::string ownName(const std::string& property) {
    std::string name = "_" + property;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c); });
    return name;
}

/// An integer of a type that glTF has for attributes.
std::optional<mesh::ComponentType> smallIntegerType(PlyType type) {
    switch (type) {
    case PlyType::Int8:
        return mesh::BYTE;
    case PlyType::Uint8:
        return mesh::UNSIGNED_BYTE;
    case PlyType::Int16:
        return mesh::SHORT;
    case PlyType::Uint16:
        return mesh::UNSIGNED_SHORT;
    default:
        return std::nullopt;
    }
}

/// Elements of integers as they are stored, one from each property.
AccessorData integerValues(const std::vector<const PlyProperty*>& properties, std::size_t count) {
    const PlyType type = properties.front()->type;
    const std::size_t size = sizeOf(type);
    AccessorData data;
    data.componentType = *smallIntegerType(type);
    data.components = properties.size();
    data.type = data.components == 1 ? "SCALAR" : data.components == 3 ? "VEC3" : "VEC4";
    data.count = count;
    data.bytes.reserve(count * size * properties.size());
    for (std::size_t i = 0; i < count; ++i) {
        for (const PlyProperty* property : properties) {
            const auto begin = property->values.begin() + static_cast<std::ptrdiff_t>(i * size);
            data.bytes.insert(data.bytes.end(), begin, begin + static_cast<std::ptrdiff_t>(size));
        }
    }
    return data;
}

} // namespace

/// \return all of the properties, or none
PlyAttributes::Properties PlyAttributes::take(const Names& names) {
    Properties properties;
    for (const std::string& name : names) {
        const PlyProperty* const property = element_.findScalar(name);
        if (property == nullptr) {
            return {};
        }
        properties.push_back(property);
    }
    used_.insert(properties.begin(), properties.end());
    return properties;
}

std::vector<float> PlyAttributes::valuesOf(const Properties& properties, bool areColors) const {
    std::vector<float> values;
    values.reserve(static_cast<std::size_t>(element_.count) * properties.size());
    for (std::size_t i = 0; i < element_.count; ++i) {
        for (const PlyProperty* property : properties) {
            const auto value = static_cast<float>(property->value(i));
            values.push_back(areColors ? value / fullColor(property->type) : value);
        }
    }
    return values;
}

NewAttribute PlyAttributes::positions() {
    const Properties properties = take({"x", "y", "z"});
    if (properties.empty()) {
        throw FormatError("its vertices have no properties x, y and z");
    }
    return positionAttribute(valuesOf(properties));
}

std::vector<NewAttribute> PlyAttributes::normalsAndTexcoords() {
    std::vector<NewAttribute> attributes;
    if (const Properties normals = take({"nx", "ny", "nz"}); !normals.empty()) {
        addNormals(attributes, valuesOf(normals), leftOut_);
    }
    for (const Names& names : {Names{"u", "v"}, Names{"s", "t"}, Names{"texture_u", "texture_v"},
                               Names{"texture_s", "texture_t"}, Names{"tx", "ty"}}) {
        if (const Properties texcoords = take(names); !texcoords.empty()) {
            addTexcoords(attributes, valuesOf(texcoords), leftOut_);
            break;
        }
    }
    return attributes;
}

std::vector<NewAttribute> PlyAttributes::colors() {
    Properties properties;
    for (const Names& names :
         {Names{"red", "green", "blue", "alpha"}, Names{"red", "green", "blue"},
          Names{"diffuse_red", "diffuse_green", "diffuse_blue", "diffuse_alpha"},
          Names{"diffuse_red", "diffuse_green", "diffuse_blue"}, Names{"r", "g", "b", "a"}, Names{"r", "g", "b"}}) {
        properties = properties.empty() ? take(names) : properties;
    }
    if (properties.empty()) {
        return {};
    }
    const PlyType type = properties.front()->type;
    const bool isUniform = std::all_of(properties.begin(), properties.end(),
                                       [&](const PlyProperty* property) { return property->type == type; });
    if (isUniform && (type == PlyType::Uint8 || type == PlyType::Uint16)) {
        NewAttribute attribute{"COLOR_0", integerValues(properties, static_cast<std::size_t>(element_.count))};
        attribute.values.normalized = true;
        return {attribute};
    }
    std::vector<NewAttribute> attributes;
    addColors(attributes, valuesOf(properties, true), properties.size(), leftOut_);
    return attributes;
}

std::vector<NewAttribute> PlyAttributes::others() {
    std::vector<NewAttribute> attributes;
    std::set<std::string> names;
    for (const PlyProperty& property : element_.properties) {
        if (property.isList || used_.contains(&property) || property.name.empty()) {
            continue;
        }
        std::string name = ownName(property.name);
        if (names.contains(name)) {
            name = "_" + property.name;
        }
        if (!names.insert(name).second) {
            continue;
        }
        used_.insert(&property);
        if (smallIntegerType(property.type)) {
            attributes.push_back({name, integerValues({&property}, static_cast<std::size_t>(element_.count))});
            continue;
        }
        const std::vector<float> values = valuesOf({&property});
        bool isHeld = true;
        for (std::size_t i = 0; i < values.size() && isHeld; ++i) {
            isHeld = std::isfinite(values[i]) &&
                     (isFloat(property.type) || static_cast<double>(values[i]) == property.value(i));
        }
        if (isHeld) {
            attributes.push_back({name, floatValues("SCALAR", values)});
        } else {
            leftOut_.push_back("property " + property.name + " of the element " + element_.name +
                               (isFloat(property.type) ? ": some of its values are not finite"
                                                       : ": some of its integers are too large for glTF's attributes"));
        }
    }
    return attributes;
}

void PlyAttributes::reportUnused() const {
    for (const PlyProperty& property : element_.properties) {
        if (!used_.contains(&property) && element_.count > 0) {
            leftOut_.push_back("property " + property.name + " of the element " + element_.name);
        }
    }
}

} // namespace vexa::tool
