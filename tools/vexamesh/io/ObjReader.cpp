#include "io/ObjReader.h"

#include "Errors.h"
#include "io/AssetBuilder.h"
#include "io/Files.h"
#include "io/ImageType.h"
#include "io/ObjText.h"
#include "io/Polygon.h"

#include <algorithm>
#include <cmath>
#include <istream>
#include <map>
#include <numeric>
#include <span>
#include <sstream>
#include <streambuf>
#include <tiny_obj_loader.h>
#include <unordered_map>

namespace vexa::tool {

namespace {

namespace fs = std::filesystem;

/// Reads all material libraries when the loader asks for the one that stands for them.
class LibraryReader : public tinyobj::MaterialReader {
public:
    LibraryReader(const ObjText& text, fs::path directory) : text_(text), directory_(std::move(directory)) {}

    bool operator()(const std::string&, std::vector<tinyobj::material_t>* materials, std::map<std::string, int>* names,
                    std::string*, std::string*) override {
        for (const std::vector<std::string>& candidates : text_.materialLibraries) {
            // A name may hold spaces; otherwise it is a list of names.
            std::error_code error;
            const bool whole = fs::exists(pathOf(candidates.front()), error);
            for (std::size_t i = whole ? 0 : 1; i < (whole ? 1 : candidates.size()); ++i) {
                read(candidates[i], *materials, *names);
            }
        }
        return true;
    }

    [[nodiscard]] fs::path pathOf(std::string name) const {
        std::replace(name.begin(), name.end(), '\\', '/');
        return directory_ / name;
    }

    std::vector<std::string> warnings;

private:
    void read(const std::string& name, std::vector<tinyobj::material_t>& materials, std::map<std::string, int>& names) {
        try {
            const Bytes content = readFile(pathOf(name));
            std::istringstream stream(std::string(content.begin(), content.end()));
            std::map<std::string, int> found;
            std::string warning;
            std::string error;
            tinyobj::LoadMtl(&found, &materials, &stream, &warning, &error);
            for (const auto& [material, index] : found) {
                names.emplace(joinWords(trim(material)), index);
            }
        } catch (const FileError& error) {
            warnings.push_back(std::string("no materials: ") + error.what());
        }
    }

    const ObjText& text_;
    fs::path directory_;
};

struct VertexKey {
    int position;
    int texcoord;
    int normal;

    bool operator==(const VertexKey&) const = default;
};

struct VertexHash {
    std::size_t operator()(const VertexKey& key) const {
        std::uint64_t hash = 0;
        for (const int index : {key.position, key.texcoord, key.normal}) {
            hash = (hash ^ static_cast<std::uint32_t>(index)) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 29;
        }
        return hash;
    }
};

/// The faces of a shape that become one primitive.
struct FaceGroup {
    int material;
    bool hasNormals;
    bool hasTexcoords;
    std::vector<tinyobj::index_t> corners;
};

/// Length 0 stands for a normal that gives no direction.
float normalLength(const tinyobj::attrib_t& attributes, int index) {
    if (index < 0) {
        return 0;
    }
    const float* n = attributes.normals.data() + 3 * static_cast<std::size_t>(index);
    const float length = std::hypot(n[0], n[1], n[2]);
    return std::isfinite(length) ? length : 0;
}

void appendTriangles(std::span<const tinyobj::index_t> face, const tinyobj::attrib_t& attributes,
                     std::vector<tinyobj::index_t>& corners) {
    std::vector<Point> points;
    for (const tinyobj::index_t& corner : face) {
        const float* position = attributes.vertices.data() + 3 * static_cast<std::size_t>(corner.vertex_index);
        points.push_back({position[0], position[1], position[2]});
    }
    for (const auto& triangle : triangulatePolygon(points)) {
        for (const std::size_t corner : triangle) {
            corners.push_back(face[corner]);
        }
    }
}

/// \param sizes corners of the faces, from the shape's first on
std::vector<FaceGroup> groupFaces(const tinyobj::shape_t& shape, const tinyobj::attrib_t& attributes,
                                  std::span<const std::size_t> sizes) {
    std::vector<FaceGroup> groups;
    std::size_t begin = 0;
    for (std::size_t f = 0; f < shape.mesh.material_ids.size(); ++f) {
        const std::span<const tinyobj::index_t> face(shape.mesh.indices.data() + begin, sizes[f]);
        begin += sizes[f];
        const int material = shape.mesh.material_ids[f];
        const bool normals = std::all_of(face.begin(), face.end(), [&](const tinyobj::index_t& corner) {
            return normalLength(attributes, corner.normal_index) > 0;
        });
        const bool texcoords = std::all_of(face.begin(), face.end(),
                                           [](const tinyobj::index_t& corner) { return corner.texcoord_index >= 0; });
        auto group = std::find_if(groups.begin(), groups.end(), [&](const FaceGroup& other) {
            return other.material == material && other.hasNormals == normals && other.hasTexcoords == texcoords;
        });
        if (group == groups.end()) {
            groups.push_back({material, normals, texcoords, {}});
            group = std::prev(groups.end());
        }
        appendTriangles(face, attributes, group->corners);
    }
    return groups;
}

/// Collects vertices, each only once.
class VertexTable {
public:
    VertexTable(const tinyobj::attrib_t& attributes, bool hasNormals, bool hasTexcoords)
        : attributes_(attributes), hasNormals_(hasNormals), hasTexcoords_(hasTexcoords),
          hasColors_(!attributes.colors.empty() && attributes.colors.size() == attributes.vertices.size()) {}

    unsigned int indexOf(const VertexKey& key) {
        const auto [entry, isNew] = indices_.try_emplace(key, static_cast<unsigned int>(indices_.size()));
        if (isNew) {
            append(key);
        }
        return entry->second;
    }

    [[nodiscard]] std::vector<NewAttribute> attributes() const {
        std::vector<NewAttribute> result{{"POSITION", floatValues("VEC3", positions_)}};
        if (hasNormals_) {
            result.push_back({"NORMAL", floatValues("VEC3", normals_)});
        }
        if (hasTexcoords_) {
            result.push_back({"TEXCOORD_0", floatValues("VEC2", texcoords_)});
        }
        if (hasColors_) {
            result.push_back({"COLOR_0", floatValues("VEC3", colors_)});
        }
        return result;
    }

private:
    void append(const VertexKey& key) {
        const std::size_t at = 3 * static_cast<std::size_t>(key.position);
        for (std::size_t i = at; i < at + 3; ++i) {
            positions_.push_back(attributes_.vertices[i]);
            if (hasColors_) {
                colors_.push_back(std::clamp(attributes_.colors[i], 0.0F, 1.0F));
            }
        }
        if (hasNormals_) {
            const float length = normalLength(attributes_, key.normal);
            for (std::size_t i = 0; i < 3; ++i) {
                normals_.push_back(attributes_.normals[3 * static_cast<std::size_t>(key.normal) + i] / length);
            }
        }
        if (hasTexcoords_) {
            const float* uv = attributes_.texcoords.data() + 2 * static_cast<std::size_t>(key.texcoord);
            texcoords_.push_back(uv[0]);
            texcoords_.push_back(1 - uv[1]);
        }
    }

    const tinyobj::attrib_t& attributes_;
    bool hasNormals_;
    bool hasTexcoords_;
    bool hasColors_;
    std::unordered_map<VertexKey, unsigned int, VertexHash> indices_;
    std::vector<float> positions_, normals_, texcoords_, colors_;
};

class ObjConverter {
public:
    ObjConverter(const ObjText& text, const fs::path& directory) : text_(text), libraries_(text, directory) {}

    Asset convert() {
        load();
        collectShapes();
        collectElements();
        if (meshes_.empty() && text_.vertices > 0) {
            addCloud();
        }
        for (const auto& [name, primitives] : meshes_) {
            builder_.addMesh(name, primitives);
        }
        if (meshes_.empty()) {
            throw FormatError("holds no vertices, faces, lines or points");
        }
        Asset asset = builder_.finish();
        asset.warnings = std::move(libraries_.warnings);
        return asset;
    }

private:
    void load() {
        std::istringstream stream("mtllib all\n" + text_.loaderText);
        std::string warning;
        std::string error;
        if (!tinyobj::LoadObj(&attributes_, &shapes_, &materials_, &warning, &error, &stream, &libraries_,
                              /*triangulate*/ false, /*default_vcols_fallback*/ false)) {
            throw FormatError(error.substr(0, error.find('\n')));
        }
        std::size_t faces = 0;
        std::size_t corners = 0;
        for (const tinyobj::shape_t& shape : shapes_) {
            faces += shape.mesh.material_ids.size();
            corners += shape.mesh.indices.size();
        }
        if (faces != text_.faces.size() ||
            corners != std::accumulate(text_.faces.begin(), text_.faces.end(), std::size_t{0})) {
            throw FormatError("the faces are not understood");
        }
        if (text_.skippedFaces > 0) {
            libraries_.warnings.push_back("faces of fewer than three corners are left out: " +
                                          std::to_string(text_.skippedFaces));
        }
    }

    void collectShapes() {
        std::span<const std::size_t> sizes(text_.faces);
        for (const tinyobj::shape_t& shape : shapes_) {
            std::vector<NewPrimitive> primitives;
            const std::vector<FaceGroup> groups = groupFaces(shape, attributes_, sizes);
            // The loader's face sizes are bytes: those of the text are not cut to 255 corners.
            sizes = sizes.subspan(shape.mesh.material_ids.size());
            for (const FaceGroup& group : groups) {
                VertexTable table(attributes_, group.hasNormals, group.hasTexcoords);
                NewPrimitive primitive;
                for (const tinyobj::index_t& corner : group.corners) {
                    primitive.indices.push_back(
                        table.indexOf({corner.vertex_index, group.hasTexcoords ? corner.texcoord_index : -1,
                                       group.hasNormals ? corner.normal_index : -1}));
                }
                primitive.attributes = table.attributes();
                primitive.material = materialOf(group.material, group.hasTexcoords);
                primitives.push_back(std::move(primitive));
            }
            if (!primitives.empty()) {
                meshes_.emplace_back(shape.name, std::move(primitives));
            }
        }
    }

    /// Lines and points: a primitive of either kind per group that has some.
    void collectElements() {
        for (const bool isLine : {true, false}) {
            std::map<std::string, std::vector<std::pair<std::size_t, std::size_t>>> groups;
            for (const ObjElement& element : text_.elements) {
                if (element.isLine != isLine) {
                    continue;
                }
                auto& pairs = groups[element.group];
                for (std::size_t i = isLine ? 1 : 0; i < element.vertices.size(); ++i) {
                    pairs.emplace_back(element.vertices[isLine ? i - 1 : i], element.vertices[i]);
                }
            }
            for (const auto& [name, pairs] : groups) {
                addElements(name, isLine, pairs);
            }
        }
    }

    void addElements(const std::string& name, bool isLine,
                     const std::vector<std::pair<std::size_t, std::size_t>>& pairs) {
        VertexTable table(attributes_, false, false);
        NewPrimitive primitive;
        primitive.type = isLine ? mesh::LINES : mesh::POINTS;
        for (const auto& [from, to] : pairs) {
            primitive.indices.push_back(table.indexOf({static_cast<int>(from), -1, -1}));
            if (isLine) {
                primitive.indices.push_back(table.indexOf({static_cast<int>(to), -1, -1}));
            }
        }
        primitive.attributes = table.attributes();
        const auto mesh =
            std::find_if(meshes_.begin(), meshes_.end(), [&](const auto& entry) { return entry.first == name; });
        auto& primitives =
            mesh == meshes_.end() ? meshes_.emplace_back(name, std::vector<NewPrimitive>()).second : mesh->second;
        primitives.push_back(std::move(primitive));
    }

    void addCloud() {
        std::vector<std::pair<std::size_t, std::size_t>> points(text_.vertices);
        for (std::size_t i = 0; i < points.size(); ++i) {
            points[i] = {i, i};
        }
        addElements("points", false, points);
    }

    std::optional<std::size_t> materialOf(int index, bool hasTexcoords) {
        if (index < 0) {
            return std::nullopt;
        }
        const tinyobj::material_t& material = materials_.at(static_cast<std::size_t>(index));
        const auto texture = hasTexcoords ? textureOf(material) : std::nullopt;
        const auto [entry, isNew] = materialIndices_.try_emplace({index, texture.has_value()}, 0);
        if (isNew) {
            entry->second = builder_.addMaterial(describe(material, texture));
        }
        return entry->second;
    }

    static Json describe(const tinyobj::material_t& material, std::optional<std::size_t> texture) {
        const auto unit = [](float value) { return std::isfinite(value) ? std::clamp(value, 0.0F, 1.0F) : 1.0F; };
        const float alpha = unit(material.dissolve);
        Json surface = {{"baseColorFactor", Json::array()}};
        for (const float value : material.diffuse) {
            surface["baseColorFactor"].push_back(unit(value));
        }
        surface["baseColorFactor"].push_back(alpha);
        if (texture) {
            surface["baseColorTexture"] = {{"index", *texture}};
        }
        surface["metallicFactor"] = unit(material.metallic);
        surface["roughnessFactor"] = material.roughness > 0 ? unit(material.roughness) : 1.0F;
        Json result = {{"name", trim(material.name)}, {"pbrMetallicRoughness", std::move(surface)}};
        if (alpha < 1) {
            result["alphaMode"] = "BLEND";
        }
        return result;
    }

    std::optional<std::size_t> textureOf(const tinyobj::material_t& material) {
        const std::string& name = material.diffuse_texname;
        if (name.empty()) {
            return std::nullopt;
        }
        const auto [entry, isNew] = textures_.try_emplace(name, std::nullopt);
        if (isNew) {
            try {
                const Bytes image = readFile(libraries_.pathOf(name));
                const std::string type = imageType(image);
                if (type != "image/png" && type != "image/jpeg") {
                    throw FileError(name, "is no PNG or JPEG image");
                }
                entry->second = builder_.addTexture(image, type);
            } catch (const FileError& error) {
                libraries_.warnings.push_back(std::string("no texture: ") + error.what());
            }
        }
        return entry->second;
    }

    const ObjText& text_;
    LibraryReader libraries_;
    tinyobj::attrib_t attributes_;
    std::vector<tinyobj::shape_t> shapes_;
    std::vector<tinyobj::material_t> materials_;
    std::vector<std::pair<std::string, std::vector<NewPrimitive>>> meshes_;
    std::map<std::pair<int, bool>, std::size_t> materialIndices_;
    std::map<std::string, std::optional<std::size_t>> textures_;
    AssetBuilder builder_;
};

} // namespace

Asset readObj(const Bytes& content, const fs::path& file) {
    const ObjText text = readObjText({reinterpret_cast<const char*>(content.data()), content.size()});
    return ObjConverter(text, file.parent_path()).convert();
}

} // namespace vexa::tool
