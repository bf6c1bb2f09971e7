#include "io/import/ObjMaterials.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "io/Files.h"
#include "io/ModelDirectory.h"
#include "io/import/TextLines.h"

#include <algorithm>
#include <cmath>
#include <istream>
#include <sstream>

namespace vexa::tool {

namespace {

namespace fs = std::filesystem;

fs::path withSlashes(std::string name) {
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

float unit(float value) {
    return std::isfinite(value) ? std::clamp(value, 0.0F, 1.0F) : 1.0F;
}

bool isAll(const float* color, float value) {
    return std::all_of(color, color + 3, [&](float component) { return component == value; });
}

Json unitColor(const float* color) {
    return Json::array({unit(color[0]), unit(color[1]), unit(color[2])});
}

/// -s scales texture coordinates and -o shifts them. Both count from the bottom of the picture, glTF from its top:
/// v' = 1 - (s (1 - v) + o) = s v + (1 - s - o).
std::optional<Json> transformOf(const tinyobj::texture_option_t& options) {
    const float* const s = options.scale;
    const float* const o = options.origin_offset;
    if (s[0] == 1 && s[1] == 1 && o[0] == 0 && o[1] == 0) {
        return std::nullopt;
    }
    return Json{{"offset", Json::array({o[0], 1 - s[1] - o[1]})}, {"scale", Json::array({s[0], s[1]})}};
}

/// The options of a picture that glTF cannot express.
std::string unheldOptions(const tinyobj::texture_option_t& options, bool isNormalMap) {
    std::string names;
    const auto check = [&](bool isUnheld, const char* name) { names += isUnheld ? std::string(" ") + name : ""; };
    const float* const t = options.turbulence;
    check(options.sharpness != 1, "-boost");
    check(options.brightness != 0 || options.contrast != 1, "-mm");
    check(t[0] != 0 || t[1] != 0 || t[2] != 0, "-t");
    check(options.texture_resolution != -1, "-texres");
    check(!options.blendu, "-blendu");
    check(!options.blendv, "-blendv");
    check(options.imfchan != 'm' && options.imfchan != 'l', "-imfchan");
    check(options.type != tinyobj::TEXTURE_TYPE_NONE, "-type");
    check(options.bump_multiplier != 1 && !isNormalMap, "-bm");
    check(options.scale[2] != 1 && options.scale[2] != 0, "-s (third number)");
    check(options.origin_offset[2] != 0, "-o (third number)");
    return names;
}

bool isFinite(const tinyobj::texture_option_t& options) {
    const auto all = [](const float* numbers) {
        return std::all_of(numbers, numbers + 2, [](float n) { return std::isfinite(n); });
    };
    return all(options.scale) && all(options.origin_offset) && std::isfinite(options.bump_multiplier);
}

} // namespace

ObjMaterials::ObjMaterials(const ObjText& text, const fs::path& directory, AssetBuilder& builder,
                           std::vector<std::string>& leftOut)
    : text_(text), directory_(directory), builder_(builder), leftOut_(leftOut), textures_(builder, directory, leftOut) {
}

bool ObjMaterials::operator()(const std::string&, std::vector<Material>* materials, std::map<std::string, int>* names,
                              std::string*, std::string*) {
    for (const std::vector<std::string>& candidates : text_.materialLibraries) {
        // A name may hold spaces; otherwise it is a list of names.
        const bool whole = ModelDirectory(directory_).contains(withSlashes(candidates.front()));
        for (std::size_t i = whole ? 0 : 1; i < (whole ? 1 : candidates.size()); ++i) {
            readLibrary(candidates[i]);
        }
    }
    *materials = materials_;
    *names = names_;
    return true;
}

void ObjMaterials::readLibrary(const std::string& name) {
    try {
        const Bytes content = readFile(ModelDirectory(directory_).resolve(withSlashes(name)));
        std::istringstream stream{std::string(textOf(content))};
        std::map<std::string, int> found;
        std::string warning;
        std::string error;
        tinyobj::LoadMtl(&found, &materials_, &stream, &warning, &error);
        for (const auto& [material, index] : found) {
            names_.emplace(joinWords(trim(material)), index);
        }
    } catch (const FileError& error) {
        leftOut_.push_back(std::string("material library ") + error.what());
    } catch (const FormatError& error) {
        leftOut_.push_back("material library " + name + ": " + error.what());
    }
}

int ObjMaterials::find(const std::string& name) const {
    const auto found = names_.find(name);
    return found == names_.end() ? -1 : found->second;
}

std::optional<std::size_t> ObjMaterials::add(int number, bool hasTexcoords) {
    if (number < 0) {
        return std::nullopt;
    }
    const Material& material = materials_.at(static_cast<std::size_t>(number));
    const auto [entry, isNew] = added_.try_emplace({number, hasTexcoords}, 0);
    if (isNew) {
        entry->second = builder_.addMaterial(describe(material, hasTexcoords));
        checkValues(material);
        checkMaps(material);
    }
    return entry->second;
}

Json ObjMaterials::describe(const Material& material, bool hasTexcoords) {
    const float alpha = unit(material.dissolve);
    Json surface = {{"baseColorFactor", unitColor(material.diffuse)}};
    surface["baseColorFactor"].push_back(alpha);
    bool isTranslucent = alpha < 1;
    if (const auto texture = textureInfo("map_Kd", material.diffuse_texname, material.diffuse_texopt, hasTexcoords)) {
        surface["baseColorTexture"] = *texture;
        isTranslucent = isTranslucent || material.alpha_texname == material.diffuse_texname;
    }
    addMetalness(material, hasTexcoords, surface);
    Json result = {{"name", trim(material.name)}, {"pbrMetallicRoughness", std::move(surface)}};
    if (const auto texture = textureInfo("norm", material.normal_texname, material.normal_texopt, hasTexcoords)) {
        result["normalTexture"] = *texture;
        if (material.normal_texopt.bump_multiplier != 1) {
            result["normalTexture"]["scale"] = material.normal_texopt.bump_multiplier;
        }
    }
    addEmission(material, hasTexcoords, result);
    if (isTranslucent) {
        result["alphaMode"] = "BLEND";
    }
    return result;
}

void ObjMaterials::addEmission(const Material& material, bool hasTexcoords, Json& result) {
    if (const auto texture = textureInfo("map_Ke", material.emissive_texname, material.emissive_texopt, hasTexcoords)) {
        result["emissiveTexture"] = *texture;
        // The picture alone is meant where no Ke stands beside it.
        result["emissiveFactor"] = isAll(material.emission, 0) ? Json::array({1, 1, 1}) : unitColor(material.emission);
    } else if (!isAll(material.emission, 0)) {
        result["emissiveFactor"] = unitColor(material.emission);
    }
}

/// A single picture holds roughness in green and metalness in blue. A grey one for roughness alone is one of these where
/// metalness is 0.
void ObjMaterials::addMetalness(const Material& material, bool hasTexcoords, Json& surface) {
    const std::string& roughness = material.roughness_texname;
    const std::string& metalness = material.metallic_texname;
    surface["metallicFactor"] = metalness.empty() ? unit(material.metallic) : 1.0F;
    surface["roughnessFactor"] = material.roughness > 0 ? unit(material.roughness) : 1.0F;
    const bool fitsOne = roughness == metalness || (metalness.empty() && material.metallic == 0);
    if (roughness.empty() && metalness.empty()) {
        return;
    }
    if (!fitsOne) {
        surface["metallicFactor"] = unit(material.metallic);
        maps_.insert("map_Pr and map_Pm of different pictures: glTF takes one for both");
    } else if (const auto texture = textureInfo("map_Pr", roughness, material.roughness_texopt, hasTexcoords)) {
        surface["metallicRoughnessTexture"] = *texture;
    }
}

std::optional<Json> ObjMaterials::textureInfo(const std::string& keyword, const std::string& name,
                                              const Options& options, bool hasTexcoords) {
    if (name.empty() || !hasTexcoords) {
        return std::nullopt;
    }
    const auto texture = textures_.load(name, options.clamp ? TextureWrap::Clamp : TextureWrap::Repeat);
    if (!texture) {
        return std::nullopt;
    }
    Json info = {{"index", *texture}};
    const std::string unheld = isFinite(options) ? unheldOptions(options, keyword == "norm") : " that are not finite";
    if (!unheld.empty()) {
        maps_.insert("options of " + keyword + " " + name + ":" + unheld);
    }
    if (const auto transform = isFinite(options) ? transformOf(options) : std::nullopt) {
        info["extensions"]["KHR_texture_transform"] = *transform;
        builder_.useExtension("KHR_texture_transform");
    }
    return info;
}

void ObjMaterials::checkValues(const Material& material) {
    const auto check = [&](bool isUnheld, const std::string& keyword) {
        if (isUnheld) {
            values_.insert(keyword);
        }
    };
    constexpr int highlights = 2; // the illumination models up to this one are plain shading
    const bool isShiny = !isAll(material.specular, 0);
    check(!isAll(material.ambient, 0) && !isAll(material.ambient, 1), "Ka");
    check(isShiny, "Ks");
    check(isShiny && material.shininess != 1, "Ns");
    check(!isAll(material.transmittance, 0) && !isAll(material.transmittance, 1), "Tf");
    check(material.illum > highlights, "illum");
    check(material.illum > highlights && material.ior != 1, "Ni");
    check(material.sheen != 0, "Ps");
    check(material.clearcoat_thickness != 0, "Pc");
    check(material.clearcoat_roughness != 0, "Pcr");
    check(material.anisotropy != 0, "aniso");
    check(material.anisotropy_rotation != 0, "anisor");
    check(std::any_of(material.emission, material.emission + 3, [](float value) { return value > 1; }), "Ke above 1");
    for (const auto& [keyword, value] : material.unknown_parameter) {
        check(true, keyword.substr(0, 40));
    }
}

void ObjMaterials::checkMaps(const Material& material) {
    const auto check = [&](const char* keyword, const std::string& name, const char* reason = "") {
        if (!name.empty()) {
            maps_.insert(std::string(keyword) + " " + name + reason);
        }
    };
    check("map_Ka", material.ambient_texname);
    check("map_Ks", material.specular_texname);
    check("map_Ns", material.specular_highlight_texname);
    check("map_Bump", material.bump_texname, ": glTF has normal maps (norm), not heights");
    check("disp", material.displacement_texname);
    check("refl", material.reflection_texname);
    check("map_Ps", material.sheen_texname);
    if (material.alpha_texname != material.diffuse_texname) {
        check("map_d", material.alpha_texname, ": glTF takes opacity from the picture of map_Kd");
    }
}

void ObjMaterials::reportRest() {
    std::string keywords;
    for (const std::string& keyword : values_) {
        keywords += (keywords.empty() ? "" : ", ") + keyword;
    }
    if (!keywords.empty()) {
        leftOut_.push_back("values of materials: " + keywords);
    }
    leftOut_.insert(leftOut_.end(), maps_.begin(), maps_.end());
    std::set<int> used;
    std::set<int> shown;
    for (const auto& [key, entry] : added_) {
        used.insert(key.first);
        shown.insert(key.second ? key.first : -1);
    }
    for (const int number : used) {
        const std::string& picture = materials_[static_cast<std::size_t>(number)].diffuse_texname;
        if (!shown.contains(number) && !picture.empty()) {
            leftOut_.push_back("map_Kd " + picture + ": its faces have no texture coordinates");
        }
    }
    if (used.size() < materials_.size()) {
        leftOut_.push_back(counted(materials_.size() - used.size(), "material") + " that no face uses");
    }
}

} // namespace vexa::tool
