#pragma once

#include <cstdint>
#include <cstring>
#include <fstream>
#include <glm/vec3.hpp>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

/// The triangles of a binary STL file, three corners each.
inline std::vector<glm::vec3> readStl(const std::string& file) {
    constexpr std::size_t headerSize = 84;
    constexpr std::size_t facetSize = 50; // a normal, three corners, two bytes
    constexpr std::size_t normalSize = 12;
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::uint32_t count = 0;
    if (bytes.size() >= headerSize) {
        std::memcpy(&count, &bytes[headerSize - sizeof count], sizeof count);
    }
    if (!in || bytes.size() < headerSize + facetSize * count) {
        throw std::runtime_error(file + " is not a binary STL file");
    }
    std::vector<glm::vec3> corners(3 * std::size_t{count});
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(&corners[3 * i], &bytes[headerSize + facetSize * i + normalSize], 3 * sizeof(glm::vec3));
    }
    return corners;
}
