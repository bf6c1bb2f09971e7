#pragma once

#include "io/AssetBuilder.h"
#include "io/import/ObjText.h"
#include "io/import/Textures.h"

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tiny_obj_loader.h>
#include <vector>

namespace vexa::tool {

/// The materials of an OBJ file, from its libraries to those of the document.
///
/// Colours, opacity, metalness, roughness and emission carry over, and the pictures that glTF has a place for: map_Kd,
/// map_Ke, norm, map_d if it is the picture of map_Kd, map_Pr and map_Pm if glTF's single picture can stand for both.
/// Their options -o, -s and -clamp do, too. Everything else is left out by name.
class ObjMaterials : public tinyobj::MaterialReader {
public:
    /// \param directory where the libraries and pictures are looked for
    ObjMaterials(const ObjText& text, const std::filesystem::path& directory, AssetBuilder& builder,
                 std::vector<std::string>& leftOut);

    /// Reads all libraries when the loader asks for the one that stands for them.
    bool operator()(const std::string&, std::vector<tinyobj::material_t>* materials, std::map<std::string, int>* names,
                    std::string*, std::string*) override;

    /// The number of a material by its name as one word; -1 if there is none.
    [[nodiscard]] int find(const std::string& name) const;

    /// The document's material for one of the libraries; nothing for -1.
    ///
    /// \param hasTexcoords whether the faces can show pictures
    std::optional<std::size_t> add(int number, bool hasTexcoords);

    /// Names the rest, once all materials have been added.
    void reportRest();

private:
    using Material = tinyobj::material_t;
    using Options = tinyobj::texture_option_t;

    void readLibrary(const std::string& name);
    Json describe(const Material& material, bool hasTexcoords);
    void addEmission(const Material& material, bool hasTexcoords, Json& result);
    void addMetalness(const Material& material, bool hasTexcoords, Json& surface);
    std::optional<Json> textureInfo(const std::string& keyword, const std::string& name, const Options& options,
                                    bool hasTexcoords);
    void checkValues(const Material& material);
    void checkMaps(const Material& material);

    const ObjText& text_;
    std::filesystem::path directory_;
    AssetBuilder& builder_;
    std::vector<std::string>& leftOut_;
    TextureLoader textures_;
    std::vector<Material> materials_;
    std::map<std::string, int> names_;
    std::map<std::pair<int, bool>, std::size_t> added_; ///< with and without pictures
    std::set<std::string> values_;                      ///< keywords of values that glTF has no place for
    std::set<std::string> maps_;                        ///< the same of pictures, with their names
};

} // namespace vexa::tool
