#pragma once

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tool_test {

using Json = nlohmann::ordered_json;

/// Builds glTF files member by member, invalid ones too.
class GltfModel {
public:
    GltfModel();

    /// Adds bytes as a buffer view.
    ///
    /// \return its index
    int addView(const std::string& bytes, int target = 0);

    /// Adds values as an accessor with a buffer view of its own.
    ///
    /// \param shape "SCALAR", "VEC3", ...
    /// \return its index
    template <typename T>
    int addAccessor(const std::vector<T>& values, int componentType, const std::string& shape, int target = 0) {
        const std::string bytes(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
        const std::size_t components = shape == "SCALAR" ? 1U : static_cast<std::size_t>(shape.back() - '0');
        const int view = addView(bytes, target);
        json["accessors"].push_back({{"bufferView", view},
                                     {"componentType", componentType},
                                     {"count", values.size() / components},
                                     {"type", shape}});
        return static_cast<int>(json["accessors"].size()) - 1;
    }

    /// Positions, with the bounds that glTF requires.
    int addPositions(const std::vector<float>& values);
    int addIndices(const std::vector<std::uint16_t>& values);

    /// Adds a mesh of one primitive, and a node that shows it.
    ///
    /// \param indices -1 for none
    /// \return its index
    int addMesh(int positions, int indices, int mode = 4);

    [[nodiscard]] Json& primitive(int mesh, int index = 0) {
        return json["meshes"][static_cast<std::size_t>(mesh)]["primitives"][static_cast<std::size_t>(index)];
    }

    /// The file as .glb; the buffer's length is filled in if it is missing.
    [[nodiscard]] std::string glb() const;
    void writeGlb(const std::filesystem::path& file) const;

    /// The same as .gltf with its buffer in a separate file.
    void writeGltf(const std::filesystem::path& file, const std::string& bufferName) const;

    Json json;
    std::string binary;
};

/// A .glb file of any two chunks.
std::string makeGlb(const std::string& json, const std::string& binary);

/// A flat grid of `columns` x `rows` squares, two triangles each.
struct Grid {
    std::vector<float> positions;
    std::vector<std::uint16_t> indices;
};
Grid makeGrid(int columns, int rows);

/// The grid as a model of one mesh with indices of 16 bits.
GltfModel gridModel(int columns, int rows);

/// Triangles among few vertices, so that edges have any number of them.
std::vector<unsigned int> randomTriangles(unsigned int vertices, std::size_t count);

} // namespace tool_test
