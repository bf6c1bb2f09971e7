#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <tiny_gltf.h>
#include <vector>

namespace tool_test {

using Position = std::array<double, 3>;
using OrientedTriangle = std::array<Position, 3>;

/// Loads with TinyGLTF without decoding images; fails the test if it cannot.
tinygltf::Model loadModel(const std::filesystem::path& file);

/// The indices of a primitive; 0, 1, 2, ... if it has none.
std::vector<std::size_t> indicesOf(const tinygltf::Model& model, const tinygltf::Primitive& primitive);

/// The oriented triangles of a mesh by the stored positions of their corners, each starting at its smallest corner,
/// sorted; those with two equal indices are left out.
std::vector<OrientedTriangle> trianglesOf(const tinygltf::Model& model, const tinygltf::Mesh& mesh);

/// Fails the test unless both files have the same meshes, with the same nodes that show them, and in each the same
/// oriented triangles.
void expectSameTriangles(const std::filesystem::path& before, const std::filesystem::path& after);

/// The JSON text of a .glb file.
std::string glbJson(const std::filesystem::path& file);

} // namespace tool_test
