#pragma once

#include <array>
#include <fstream>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

/// The arrays of an OBJ file: one vertex for each combination of position, texture coordinates and normal that a corner
/// names, and the faces as triangles. Just enough for the models of the examples.
struct ObjFile {
    std::vector<glm::vec3> positions;
    std::vector<glm::vec3> normals;   ///< (0, 0, 1) where a corner names none
    std::vector<glm::vec2> texcoords; ///< zero where a corner names none
    std::vector<unsigned int> triangles;

    explicit ObjFile(const std::string& path) {
        std::ifstream file(path);
        if (!file) {
            throw std::runtime_error(path + " cannot be read");
        }
        std::string line;
        while (std::getline(file, line)) {
            std::istringstream words(line);
            std::string keyword;
            words >> keyword;
            if (keyword == "v" || keyword == "vn") {
                glm::vec3 v(0.0F);
                words >> v.x >> v.y >> v.z;
                (keyword == "v" ? filePositions_ : fileNormals_).push_back(v);
            } else if (keyword == "vt") {
                glm::vec2 v(0.0F);
                words >> v.x >> v.y;
                fileTexcoords_.push_back(v);
            } else if (keyword == "f") {
                addFace(words);
            }
        }
    }

private:
    using Corner = std::array<std::size_t, 3>; // position, texture coordinates, normal; from 1, 0 for none

    void addFace(std::istream& words) {
        std::vector<unsigned int> face;
        std::string word;
        while (words >> word) {
            Corner corner{};
            std::istringstream numbers(word);
            std::string number;
            for (std::size_t i = 0; i < 3 && std::getline(numbers, number, '/'); ++i) {
                corner[i] = number.empty() ? 0 : std::stoul(number);
            }
            face.push_back(vertexOf(corner));
        }
        for (std::size_t i = 2; i < face.size(); ++i) {
            triangles.insert(triangles.end(), {face[0], face[i - 1], face[i]});
        }
    }

    unsigned int vertexOf(const Corner& corner) {
        const auto [entry, isNew] = vertices_.try_emplace(corner, static_cast<unsigned int>(positions.size()));
        if (isNew) {
            positions.push_back(filePositions_.at(corner[0] - 1));
            texcoords.push_back(corner[1] == 0 ? glm::vec2(0.0F) : fileTexcoords_.at(corner[1] - 1));
            normals.push_back(corner[2] == 0 ? glm::vec3(0.0F, 0.0F, 1.0F) : fileNormals_.at(corner[2] - 1));
        }
        return entry->second;
    }

    std::vector<glm::vec3> filePositions_;
    std::vector<glm::vec3> fileNormals_;
    std::vector<glm::vec2> fileTexcoords_;
    std::map<Corner, unsigned int> vertices_;
};
