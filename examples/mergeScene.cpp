// Merges a scene of one model in three places, one of them mirrored, and takes an instance out again.
// usage: mergeScene MODEL.stl

#include "readStl.h"

#include <vexa/mesh.h>

#include <glm/geometric.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <iostream>

using namespace vexa::mesh;

namespace {

struct Node {
    MeshPtr mesh;
    glm::mat4 world;
};

struct Batch {
    MeshPtr mesh;
    std::vector<MeshRange> ranges; // one per node, for culling and picking
};

// Mirrored nodes come out with their winding flipped; a node without texture coordinates gets zeros.
Batch mergeScene(std::span<const Node> nodes) {
    std::vector<MeshInstance> instances;
    for (const Node& node : nodes) {
        instances.push_back({.mesh = node.mesh, .placement = node.world});
    }
    const MergeOptions options{.missing = MissingAttribute::FillWithZeros};
    return {mergeMeshes(instances, options), mergedRanges(instances, options)};
}

// Positive if most triangles wind counter-clockwise, seen from outside.
double signedVolume(const Mesh& mesh) {
    const auto positions = elementsOf<glm::vec3>(mesh, "position");
    double volume = 0;
    for (const auto [a, b, c] : trianglesOf(mesh)) {
        volume += static_cast<double>(glm::dot(positions[a], glm::cross(positions[b], positions[c]))) / 6;
    }
    return volume;
}

} // namespace

int main(int, char** argv) {
    const MeshPtr model =
        computeNormals(*weld(*makeMesh(TRIANGLES, nullptr, {makeAttribute("position", readStl(argv[1]))})).mesh);
    const glm::mat4 moved = glm::translate(glm::mat4(1.0F), glm::vec3(10, 0, 0));
    const glm::mat4 mirrored = glm::scale(glm::mat4(1.0F), glm::vec3(-1, 1, 1));
    const Batch batch = mergeScene(std::vector<Node>{{model, glm::mat4(1.0F)}, {model, moved}, {model, mirrored}});
    for (const MeshRange& range : batch.ranges) {
        std::cout << "vertices " << range.firstVertex << " + " << range.vertexCount << ", indices " << range.firstIndex
                  << " + " << range.indexCount << '\n';
    }
    std::cout << "indices of type " << getStringForComponentType(batch.mesh->getIndexBuffer()->getComponentType())
              << '\n';
    const MeshPtr image = extractRange(*batch.mesh, batch.ranges[2]);
    std::cout << "the mirror image is " << (signedVolume(*model) * signedVolume(*image) > 0 ? "not " : "")
              << "turned inside out\n";
}
