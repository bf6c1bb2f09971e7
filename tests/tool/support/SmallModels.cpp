#include "support/SmallModels.h"

#include "support/ToolProcess.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace tool_test {

namespace {

void append32(std::string& bytes, std::size_t value) {
    const auto word = static_cast<std::uint32_t>(value);
    bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
}

void appendChunk(std::string& file, const char* type, std::string content, char fill) {
    content.resize((content.size() + 3) / 4 * 4, fill);
    append32(file, content.size());
    file.append(type, 4);
    file += content;
}

} // namespace

GltfModel::GltfModel() {
    json["asset"] = {{"version", "2.0"}};
    json["scene"] = 0;
    json["scenes"] = Json::array({{{"nodes", Json::array()}}});
}

int GltfModel::addView(const std::string& bytes, int target) {
    binary.resize((binary.size() + 3) / 4 * 4);
    Json view = {{"buffer", 0}, {"byteOffset", binary.size()}, {"byteLength", bytes.size()}};
    if (target != 0) {
        view["target"] = target;
    }
    binary += bytes;
    json["bufferViews"].push_back(view);
    return static_cast<int>(json["bufferViews"].size()) - 1;
}

int GltfModel::addPositions(const std::vector<float>& values) {
    const int index = addAccessor(values, 5126, "VEC3", 34962);
    Json least = {values[0], values[1], values[2]};
    Json largest = least;
    for (std::size_t i = 0; i < values.size(); ++i) {
        least[i % 3] = std::min(least[i % 3].get<float>(), values[i]);
        largest[i % 3] = std::max(largest[i % 3].get<float>(), values[i]);
    }
    json["accessors"].back()["min"] = least;
    json["accessors"].back()["max"] = largest;
    return index;
}

int GltfModel::addIndices(const std::vector<std::uint16_t>& values) {
    return addAccessor(values, 5123, "SCALAR", 34963);
}

int GltfModel::addMesh(int positions, int indices, int mode) {
    Json entry = {{"attributes", {{"POSITION", positions}}}, {"mode", mode}};
    if (indices >= 0) {
        entry["indices"] = indices;
    }
    json["meshes"].push_back({{"primitives", Json::array({entry})}});
    const auto mesh = json["meshes"].size() - 1;
    json["nodes"].push_back({{"mesh", mesh}});
    json["scenes"][0]["nodes"].push_back(json["nodes"].size() - 1);
    return static_cast<int>(mesh);
}

std::string GltfModel::glb() const {
    Json complete = json;
    if (!complete.contains("buffers") && !binary.empty()) {
        complete["buffers"] = Json::array({{{"byteLength", binary.size()}}});
    }
    return makeGlb(complete.dump(), binary);
}

void GltfModel::writeGlb(const std::filesystem::path& file) const {
    writeText(file, glb());
}

void GltfModel::writeGltf(const std::filesystem::path& file, const std::string& bufferName) const {
    Json complete = json;
    complete["buffers"] = Json::array({{{"uri", bufferName}, {"byteLength", binary.size()}}});
    writeText(file, complete.dump());
    writeText(file.parent_path() / bufferName, binary);
}

std::string makeGlb(const std::string& json, const std::string& binary) {
    std::string chunks;
    appendChunk(chunks, "JSON", json, ' ');
    if (!binary.empty()) {
        appendChunk(chunks, std::string("BIN\0", 4).data(), binary, '\0');
    }
    std::string file = "glTF";
    append32(file, 2);
    append32(file, 12 + chunks.size());
    return file + chunks;
}

Grid makeGrid(int columns, int rows) {
    Grid grid;
    for (int y = 0; y <= rows; ++y) {
        for (int x = 0; x <= columns; ++x) {
            grid.positions.insert(grid.positions.end(), {static_cast<float>(x), static_cast<float>(y), 0});
        }
    }
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            const auto corner = static_cast<std::uint16_t>(y * (columns + 1) + x);
            const auto above = static_cast<std::uint16_t>(corner + columns + 1);
            const auto right = static_cast<std::uint16_t>(corner + 1);
            const auto across = static_cast<std::uint16_t>(above + 1);
            grid.indices.insert(grid.indices.end(), {corner, right, above, right, across, above});
        }
    }
    return grid;
}

GltfModel gridModel(int columns, int rows) {
    const Grid grid = makeGrid(columns, rows);
    GltfModel model;
    const int positions = model.addPositions(grid.positions);
    model.addMesh(positions, model.addIndices(grid.indices));
    return model;
}

std::vector<unsigned int> randomTriangles(unsigned int vertices, std::size_t count) {
    std::mt19937 random(5);
    std::vector<unsigned int> triangles;
    for (std::size_t i = 0; i < count; ++i) {
        const auto first = static_cast<unsigned int>(random() % vertices);
        const auto step = static_cast<unsigned int>(1 + random() % (vertices / 2 - 1));
        triangles.insert(triangles.end(), {first, (first + step) % vertices, (first + 2 * step) % vertices});
    }
    return triangles;
}

} // namespace tool_test
