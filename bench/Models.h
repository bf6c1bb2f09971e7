#pragma once

#include <cstddef>
#include <filesystem>
#include <glm/vec3.hpp>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// A triangle mesh to measure on.
struct Model {
    std::string name;
    std::vector<float> positions;        ///< x, y, z per vertex
    std::vector<unsigned int> triangles; ///< three vertex indices each
    bool real = false;                   ///< scanned or modelled, not generated

    [[nodiscard]] std::size_t vertexCount() const { return positions.size() / 3; }
    [[nodiscard]] std::size_t triangleCount() const { return triangles.size() / 3; }
};

using ModelPtr = std::shared_ptr<const Model>;

/// Reads a text OFF file; polygons are cut into triangles around their first corner.
///
/// \throw std::runtime_error the file cannot be read or is not an OFF file
ModelPtr loadOff(const std::filesystem::path& file);

/// Loads every OFF file of a directory, largest first.
///
/// \throw std::runtime_error there is none
std::vector<ModelPtr> loadModels(const std::filesystem::path& directory);

/// A flat square of `side` by `side` quads, two triangles each, row by row.
ModelPtr makeGrid(const std::string& name, unsigned int side);
/// The same square with every quad cut along one diagonal or the other at random, so that vertices differ in degree.
ModelPtr makeIrregularGrid(const std::string& name, unsigned int side);
/// A sphere of rings with a fan of `slices` triangles at each pole.
ModelPtr makeSphere(const std::string& name, unsigned int slices, unsigned int stacks);
/// A closed fan of `count` triangles around one vertex.
ModelPtr makeHub(const std::string& name, unsigned int count);
/// Two fans of `count` / 2 triangles around a vertex each, which share their rim.
ModelPtr makeTwoHubs(const std::string& name, unsigned int count);
/// Fans of `count` / 3 triangles around two vertices and as many on the edge between these.
ModelPtr makeCrowdedEdge(const std::string& name, unsigned int count);
/// `count` / 2 collapsed triangles on an edge, and then as many others on it.
ModelPtr makeCollapsedEdge(const std::string& name, unsigned int count);
/// `count` triangles that share no vertex.
ModelPtr makeSoup(const std::string& name, unsigned int count);
/// The position of each corner of each triangle, in order.
std::vector<glm::vec3> looseCorners(const Model& model);
/// The same triangles in random order; the vertices keep theirs.
ModelPtr makeShuffled(const std::string& name, const Model& model);

} // namespace bench
