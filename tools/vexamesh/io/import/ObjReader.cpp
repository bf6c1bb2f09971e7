#include "io/import/ObjReader.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "io/AssetBuilder.h"
#include "io/import/ObjMaterials.h"
#include "io/import/ObjText.h"
#include "io/import/Polygon.h"
#include "io/import/RowTable.h"
#include "io/import/TextLines.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <istream>
#include <map>
#include <numeric>
#include <span>
#include <sstream>
#include <tiny_obj_loader.h>

namespace vexa::tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t positionSize = 3;
constexpr std::size_t normalSize = 3;
constexpr std::size_t texcoordSize = 2;
constexpr std::size_t colorSize = 3;

/// The arrays of an OBJ file, as the loader has read them.
class ObjArrays {
public:
    tinyobj::attrib_t loaded;

    [[nodiscard]] bool hasColors() const {
        return !loaded.colors.empty() && loaded.colors.size() == loaded.vertices.size();
    }

    [[nodiscard]] const float* position(int index) const { return element(loaded.vertices, index, positionSize); }
    [[nodiscard]] const float* color(int index) const { return element(loaded.colors, index, colorSize); }

    /// \return null if there is none of this index
    [[nodiscard]] const float* texcoord(int index) const { return element(loaded.texcoords, index, texcoordSize); }
    [[nodiscard]] const float* normal(int index) const { return element(loaded.normals, index, normalSize); }

    /// Length 0 stands for a normal that is missing or has no direction.
    [[nodiscard]] float normalLength(int index) const {
        const float* const n = normal(index);
        const float length = n == nullptr ? 0 : std::hypot(n[0], n[1], n[2]);
        return std::isfinite(length) ? length : 0;
    }

private:
    static const float* element(const std::vector<float>& values, int index, std::size_t size) {
        const std::size_t at = static_cast<std::size_t>(std::max(index, 0)) * size;
        return index < 0 || at + size > values.size() ? nullptr : values.data() + at;
    }
};

/// The faces of a shape that become one primitive.
struct FaceGroup {
    int material;
    bool hasNormals;
    bool hasTexcoords;
    std::vector<tinyobj::index_t> corners;
};

void appendTriangles(std::span<const tinyobj::index_t> face, const ObjArrays& arrays,
                     std::vector<tinyobj::index_t>& corners) {
    std::vector<Point> points;
    for (const tinyobj::index_t& corner : face) {
        const float* position = arrays.position(corner.vertex_index);
        points.push_back({position[0], position[1], position[2]});
    }
    for (const auto& triangle : triangulatePolygon(points)) {
        for (const std::size_t corner : triangle) {
            corners.push_back(face[corner]);
        }
    }
}

/// Collects vertices. Corners of one position that agree in all other values are one; positions that the file tells
/// apart stay apart even where they are equal, so that triangles without area, which close cracks, keep their place.
class VertexTable {
public:
    VertexTable(const ObjArrays& arrays, bool hasNormals, bool hasTexcoords)
        : arrays_(arrays), hasNormals_(hasNormals), hasTexcoords_(hasTexcoords), rowSize_(rowSize()),
          table_(rowSize_ * sizeof(float)) {}

    unsigned int indexOf(const tinyobj::index_t& corner) {
        row_.clear();
        const auto append = [&](const float* values, std::size_t size) {
            row_.insert(row_.end(), values, values + size);
        };
        append(arrays_.position(corner.vertex_index), positionSize);
        if (hasNormals_) {
            append(arrays_.normal(corner.normal_index), normalSize);
            const float length = arrays_.normalLength(corner.normal_index);
            std::for_each(row_.end() - normalSize, row_.end(), [&](float& value) { value /= length; });
        }
        if (hasTexcoords_) {
            const float* const uv = arrays_.texcoord(corner.texcoord_index);
            row_.insert(row_.end(), {uv[0], 1 - uv[1]});
        }
        if (arrays_.hasColors()) {
            append(arrays_.color(corner.vertex_index), colorSize);
            std::for_each(row_.end() - colorSize, row_.end(),
                          [](float& value) { value = std::clamp(value, 0.0F, 1.0F); });
        }
        row_.push_back(std::bit_cast<float>(corner.vertex_index));
        return table_.indexOf(reinterpret_cast<const unsigned char*>(row_.data()));
    }

    [[nodiscard]] std::vector<NewAttribute> attributes() const {
        std::size_t at = 0;
        std::vector<NewAttribute> result{{"POSITION", column("VEC3", at, positionSize)}};
        at += positionSize;
        if (hasNormals_) {
            result.push_back({"NORMAL", column("VEC3", at, normalSize)});
            at += normalSize;
        }
        if (hasTexcoords_) {
            result.push_back({"TEXCOORD_0", column("VEC2", at, texcoordSize)});
            at += texcoordSize;
        }
        if (arrays_.hasColors()) {
            result.push_back({"COLOR_0", column("VEC3", at, colorSize)});
        }
        return result;
    }

private:
    /// Numbers of a row, the last of which is the position's.
    [[nodiscard]] std::size_t rowSize() const {
        return 1 + positionSize + (hasNormals_ ? normalSize : 0) + (hasTexcoords_ ? texcoordSize : 0) +
               (arrays_.hasColors() ? colorSize : 0);
    }

    /// `size` numbers of each row, from the number at `begin` on.
    [[nodiscard]] AccessorData column(const char* type, std::size_t begin, std::size_t size) const {
        std::vector<float> values(table_.size() * size);
        for (std::size_t row = 0; row < table_.size(); ++row) {
            std::memcpy(values.data() + row * size, table_.rows().data() + (row * rowSize_ + begin) * sizeof(float),
                        size * sizeof(float));
        }
        return floatValues(type, values);
    }

    const ObjArrays& arrays_;
    bool hasNormals_;
    bool hasTexcoords_;
    std::size_t rowSize_; ///< numbers
    RowTable table_;
    std::vector<float> row_;
};

class ObjConverter {
public:
    ObjConverter(const ObjText& text, const fs::path& directory)
        : text_(text), leftOut_(text.leftOut), materials_(text, directory, builder_, leftOut_) {}

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
        reportRest();
        return builder_.finish(std::move(leftOut_));
    }

private:
    void load() {
        std::istringstream stream("mtllib all\n" + text_.loaderText);
        std::string warning;
        std::string error;
        std::vector<tinyobj::material_t> materials;
        if (!tinyobj::LoadObj(&arrays_.loaded, &shapes_, &materials, &warning, &error, &stream, &materials_,
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
        isUsed_.resize(text_.vertices);
    }

    /// \param sizes corners of the faces, from the shape's first on
    std::vector<FaceGroup> groupFaces(const tinyobj::shape_t& shape, std::span<const std::size_t> sizes) {
        std::vector<FaceGroup> groups;
        std::size_t begin = 0;
        for (std::size_t f = 0; f < shape.mesh.material_ids.size(); ++f) {
            const std::span<const tinyobj::index_t> face(shape.mesh.indices.data() + begin, sizes[f]);
            begin += sizes[f];
            const int material = shape.mesh.material_ids[f];
            const bool normals = std::all_of(face.begin(), face.end(), [&](const tinyobj::index_t& corner) {
                return arrays_.normalLength(corner.normal_index) > 0;
            });
            const bool texcoords = std::all_of(face.begin(), face.end(), [&](const tinyobj::index_t& corner) {
                return arrays_.texcoord(corner.texcoord_index) != nullptr;
            });
            countLosses(face, normals, texcoords);
            auto group = std::find_if(groups.begin(), groups.end(), [&](const FaceGroup& other) {
                return other.material == material && other.hasNormals == normals && other.hasTexcoords == texcoords;
            });
            if (group == groups.end()) {
                groups.push_back({material, normals, texcoords, {}});
                group = std::prev(groups.end());
            }
            appendTriangles(face, arrays_, group->corners);
        }
        return groups;
    }

    /// Counts the faces that lose normals or texture coordinates because some of their corners have none of use.
    void countLosses(std::span<const tinyobj::index_t> face, bool normals, bool texcoords) {
        const auto any = [&](const auto& has) { return std::any_of(face.begin(), face.end(), has); };
        const auto hasNormal = [&](const tinyobj::index_t& c) { return arrays_.normal(c.normal_index) != nullptr; };
        const auto hasTexcoord = [&](const tinyobj::index_t& c) {
            return arrays_.texcoord(c.texcoord_index) != nullptr;
        };
        lostNormals_ += !normals && any(hasNormal) ? 1 : 0;
        lostTexcoords_ += !texcoords && any(hasTexcoord) ? 1 : 0;
    }

    void collectShapes() {
        std::span<const std::size_t> sizes(text_.faces);
        for (const tinyobj::shape_t& shape : shapes_) {
            std::vector<NewPrimitive> primitives;
            const std::vector<FaceGroup> groups = groupFaces(shape, sizes);
            // The loader's face sizes are bytes: those of the text are not cut to 255 corners.
            sizes = sizes.subspan(shape.mesh.material_ids.size());
            for (const FaceGroup& group : groups) {
                VertexTable table(arrays_, group.hasNormals, group.hasTexcoords);
                NewPrimitive& primitive = primitives.emplace_back();
                for (const tinyobj::index_t& corner : group.corners) {
                    primitive.indices.push_back(table.indexOf(corner));
                    isUsed_[static_cast<std::size_t>(corner.vertex_index)] = true;
                }
                primitive.attributes = table.attributes();
                primitive.material = materials_.add(group.material, group.hasTexcoords);
            }
            if (!primitives.empty()) {
                meshes_.emplace_back(shape.name, std::move(primitives));
            }
        }
    }

    /// Lines and points: a primitive of either kind per group and material that has some.
    void collectElements() {
        for (const bool isLine : {true, false}) {
            std::map<std::pair<std::string, int>, std::vector<std::size_t>> groups;
            for (const ObjElement& element : text_.elements) {
                if (element.isLine != isLine) {
                    continue;
                }
                auto& vertices = groups[{element.group, materials_.find(element.material)}];
                for (std::size_t i = isLine ? 1 : 0; i < element.vertices.size(); ++i) {
                    if (isLine) {
                        vertices.push_back(element.vertices[i - 1]);
                    }
                    vertices.push_back(element.vertices[i]);
                }
            }
            for (const auto& [key, vertices] : groups) {
                addElements(key.first, isLine, vertices, key.second);
            }
        }
    }

    void addElements(const std::string& name, bool isLine, const std::vector<std::size_t>& vertices, int material) {
        VertexTable table(arrays_, false, false);
        NewPrimitive primitive;
        primitive.type = isLine ? mesh::LINES : mesh::POINTS;
        for (const std::size_t vertex : vertices) {
            primitive.indices.push_back(table.indexOf({static_cast<int>(vertex), -1, -1}));
            isUsed_[vertex] = true;
        }
        primitive.attributes = table.attributes();
        primitive.material = materials_.add(material, false);
        const auto mesh =
            std::find_if(meshes_.begin(), meshes_.end(), [&](const auto& entry) { return entry.first == name; });
        auto& primitives =
            mesh == meshes_.end() ? meshes_.emplace_back(name, std::vector<NewPrimitive>()).second : mesh->second;
        primitives.push_back(std::move(primitive));
    }

    void addCloud() {
        std::vector<std::size_t> vertices(text_.vertices);
        std::iota(vertices.begin(), vertices.end(), std::size_t{0});
        addElements("points", false, vertices, -1);
    }

    void reportRest() {
        if (lostNormals_ > 0) {
            leftOut_.push_back("normals of " + counted(lostNormals_, "face") +
                               ": some of them are missing or have no direction");
        }
        if (lostTexcoords_ > 0) {
            leftOut_.push_back("texture coordinates of " + counted(lostTexcoords_, "face") +
                               ": some of them are missing");
        }
        const auto isOutside = [](float value) { return value < 0 || value > 1; };
        if (arrays_.hasColors() && std::any_of(arrays_.loaded.colors.begin(), arrays_.loaded.colors.end(), isOutside)) {
            leftOut_.emplace_back("colour components below 0 or above 1: they are clamped");
        }
        if (const auto unused = std::count(isUsed_.begin(), isUsed_.end(), false); unused > 0) {
            leftOut_.push_back("vertices that no face uses: " + std::to_string(unused));
        }
        materials_.reportRest();
    }

    const ObjText& text_;
    std::vector<std::string> leftOut_;
    AssetBuilder builder_;
    ObjMaterials materials_;
    ObjArrays arrays_;
    std::vector<tinyobj::shape_t> shapes_;
    std::vector<std::pair<std::string, std::vector<NewPrimitive>>> meshes_;
    std::vector<bool> isUsed_; ///< for each vertex
    std::size_t lostNormals_ = 0;
    std::size_t lostTexcoords_ = 0;
};

} // namespace

Asset readObj(const Bytes& content, const fs::path& file) {
    const ObjText text = readObjText(textOf(content));
    return ObjConverter(text, file.parent_path()).convert();
}

} // namespace vexa::tool
