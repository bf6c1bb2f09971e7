// Moves the interleaved vertices of an engine in place, by a matrix that scales unevenly and mirrors.
// usage: placeInterleaved MODEL.stl

#include "readStl.h"

#include <vexa/mesh.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <glm/geometric.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <iostream>
#include <limits>

using namespace vexa::mesh;

namespace {

struct Vertex {
    glm::vec3 position;
    glm::vec3 normal;
    glm::vec4 tangent;
    glm::vec2 texcoord;
};

// Unit normals, tangents with their handedness, and the winding where the matrix mirrors.
MeshPtr place(std::span<const Vertex> vertices, std::span<const unsigned int> triangles, const glm::mat4& matrix) {
    const std::array layout{attributeAt<glm::vec3>("position", offsetof(Vertex, position)),
                            attributeAt<glm::vec3>("normal", offsetof(Vertex, normal)),
                            attributeAt<glm::vec4>("tangent", offsetof(Vertex, tangent)),
                            attributeAt<glm::vec2>("TEXCOORD_0", offsetof(Vertex, texcoord))};
    const MeshPtr mesh =
        makeMesh(TRIANGLES, triangles, makeInterleaved(std::as_bytes(vertices), sizeof(Vertex), layout));
    placeMesh(*mesh, matrix, {.normals = NormalLength::Unit});
    return mesh;
}

float lowest(const Mesh& mesh) {
    float y = std::numeric_limits<float>::max();
    for (const glm::vec3& p : stridedElementsOf<glm::vec3>(mesh, "position")) {
        y = std::min(y, p.y);
    }
    return y;
}

// The largest deviation of a normal's length from 1.
float largestDeviation(const Mesh& mesh) {
    float deviation = 0;
    for (const glm::vec3& n : stridedElementsOf<glm::vec3>(mesh, "normal")) {
        deviation = std::max(deviation, std::abs(glm::length(n) - 1));
    }
    return deviation;
}

} // namespace

int main(int, char** argv) {
    const std::vector<glm::vec3> corners = readStl(argv[1]);
    const MeshPtr model =
        computeNormals(*weld(*makeMesh(TRIANGLES, nullptr, {makeAttribute("position", corners)})).mesh);
    const auto positions = elementsOf<glm::vec3>(*model, "position");
    const auto normals = elementsOf<glm::vec3>(*model, "normal");
    std::vector<Vertex> vertices;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        vertices.push_back({positions[i], normals[i], glm::vec4(1, 0, 0, 1), glm::vec2(0)});
    }
    const auto triangles = toTriangles(*model);
    const MeshPtr placed = place(vertices, triangles, glm::scale(glm::mat4(1.0F), glm::vec3(1e-3F, -2e-3F, 1e-3F)));
    std::cout << "lowest at " << lowest(*placed) << '\n'
              << "normals of length 1: " << (largestDeviation(*placed) < 1e-6F ? "yes" : "no") << '\n'
              << "handedness of the tangents " << stridedElementsOf<glm::vec4>(*placed, "tangent")[0].w << '\n'
              << "winding " << (toTriangles(*placed)[1] == triangles[2] ? "flipped" : "kept") << '\n';
}
