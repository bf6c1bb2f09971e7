#include "support/ReadBack.h"

#include "support/ToolProcess.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

namespace tool_test {

namespace {

double componentAt(const unsigned char* data, int type) {
    const auto read = [data](auto value) {
        std::memcpy(&value, data, sizeof value);
        return static_cast<double>(value);
    };
    switch (type) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
        return read(std::int8_t{});
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        return read(std::uint8_t{});
    case TINYGLTF_COMPONENT_TYPE_SHORT:
        return read(std::int16_t{});
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        return read(std::uint16_t{});
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        return read(std::uint32_t{});
    default:
        return read(float{});
    }
}

double valueAt(const tinygltf::Model& model, int accessorIndex, std::size_t element, std::size_t component) {
    const auto& accessor = model.accessors.at(static_cast<std::size_t>(accessorIndex));
    const auto& view = model.bufferViews.at(static_cast<std::size_t>(accessor.bufferView));
    const auto stride = static_cast<std::size_t>(accessor.ByteStride(view));
    const auto size =
        static_cast<std::size_t>(tinygltf::GetComponentSizeInBytes(static_cast<std::uint32_t>(accessor.componentType)));
    const auto& data = model.buffers.at(static_cast<std::size_t>(view.buffer)).data;
    const std::size_t at = view.byteOffset + accessor.byteOffset + element * stride + component * size;
    return at + size <= data.size() ? componentAt(data.data() + at, accessor.componentType) : 0;
}

Position positionAt(const tinygltf::Model& model, int accessor, std::size_t index) {
    return {valueAt(model, accessor, index, 0), valueAt(model, accessor, index, 1), valueAt(model, accessor, index, 2)};
}

void addTriangle(const tinygltf::Model& model, int positions, std::array<std::size_t, 3> corners,
                 std::vector<OrientedTriangle>& triangles) {
    if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0]) {
        return;
    }
    OrientedTriangle triangle;
    for (std::size_t i = 0; i < 3; ++i) {
        triangle[i] = positionAt(model, positions, corners[i]);
    }
    std::array<OrientedTriangle, 3> turns{triangle, triangle, triangle};
    std::rotate(turns[1].begin(), turns[1].begin() + 1, turns[1].end());
    std::rotate(turns[2].begin(), turns[2].begin() + 2, turns[2].end());
    triangles.push_back(*std::min_element(turns.begin(), turns.end()));
}

} // namespace

tinygltf::Model loadModel(const std::filesystem::path& file) {
    tinygltf::TinyGLTF loader;
    loader.SetImageLoader([](tinygltf::Image*, int, std::string*, std::string*, int, int, const unsigned char*, int,
                             void*) { return true; },
                          nullptr);
    tinygltf::Model model;
    std::string error;
    std::string warning;
    const bool isBinary = file.extension() == ".glb";
    const bool loaded = isBinary ? loader.LoadBinaryFromFile(&model, &error, &warning, file.string())
                                 : loader.LoadASCIIFromFile(&model, &error, &warning, file.string());
    EXPECT_TRUE(loaded) << file << ": " << error;
    return model;
}

std::vector<std::size_t> indicesOf(const tinygltf::Model& model, const tinygltf::Primitive& primitive) {
    const bool hasIndices = primitive.indices >= 0;
    const int source = hasIndices ? primitive.indices : primitive.attributes.begin()->second;
    std::vector<std::size_t> indices(model.accessors.at(static_cast<std::size_t>(source)).count);
    for (std::size_t i = 0; i < indices.size(); ++i) {
        indices[i] = hasIndices ? static_cast<std::size_t>(valueAt(model, source, i, 0)) : i;
    }
    return indices;
}

std::vector<OrientedTriangle> trianglesOf(const tinygltf::Model& model, const tinygltf::Mesh& mesh) {
    std::vector<OrientedTriangle> triangles;
    for (const tinygltf::Primitive& primitive : mesh.primitives) {
        const std::vector<std::size_t> list = indicesOf(model, primitive);
        const int positions = primitive.attributes.at("POSITION");
        const auto add = [&](std::size_t a, std::size_t b, std::size_t c) {
            addTriangle(model, positions, {list[a], list[b], list[c]}, triangles);
        };
        for (std::size_t i = 0; i + 2 < list.size(); ++i) {
            if (primitive.mode == TINYGLTF_MODE_TRIANGLES && i % 3 == 0) {
                add(i, i + 1, i + 2);
            } else if (primitive.mode == TINYGLTF_MODE_TRIANGLE_STRIP) {
                i % 2 == 0 ? add(i, i + 1, i + 2) : add(i + 1, i, i + 2);
            } else if (primitive.mode == TINYGLTF_MODE_TRIANGLE_FAN) {
                add(0, i + 1, i + 2);
            }
        }
    }
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

void expectSameTriangles(const std::filesystem::path& before, const std::filesystem::path& after) {
    const tinygltf::Model source = loadModel(before);
    const tinygltf::Model result = loadModel(after);
    ASSERT_EQ(result.meshes.size(), source.meshes.size()) << before;
    ASSERT_EQ(result.nodes.size(), source.nodes.size()) << before;
    for (std::size_t i = 0; i < source.nodes.size(); ++i) {
        EXPECT_EQ(result.nodes[i].mesh, source.nodes[i].mesh) << before << " node " << i;
    }
    for (std::size_t i = 0; i < source.meshes.size(); ++i) {
        EXPECT_EQ(trianglesOf(result, result.meshes[i]), trianglesOf(source, source.meshes[i]))
            << before << " mesh " << i;
    }
}

std::string glbJson(const std::filesystem::path& file) {
    const std::string bytes = readText(file);
    std::uint32_t length = 0;
    std::memcpy(&length, bytes.data() + 12, sizeof length);
    return bytes.substr(20, length);
}

} // namespace tool_test
