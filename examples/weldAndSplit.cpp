// Turns the loose triangles of an STL file into strips with 8-bit indices.
// usage: weldAndSplit MODEL.stl

#include "readStl.h"

#include <vexa/mesh.h>

#include <iostream>

using namespace vexa::mesh;

namespace {

std::vector<MeshPtr> prepare(std::span<const glm::vec3> corners) {
    const MeshPtr soup = makeMesh(TRIANGLES, nullptr, {makeAttribute("position", corners)});
    const auto [mesh, remap] = weld(*soup, {.tolerance = 1e-6});
    std::cout << remap.size() << " corners, " << elementsOf<glm::vec3>(*mesh, "position").size() << " vertices\n";
    std::vector<MeshPtr> parts = splitMesh(*mesh, {.indexWidth = IndexWidth::Bits8});
    for (MeshPtr& part : parts) {
        const auto strip = buildStripBuffer(toTriangles(*part));
        part = makeMesh(TRIANGLE_STRIP, strip, attributesOf(*part), {.indexWidth = IndexWidth::Bits8});
    }
    return parts;
}

} // namespace

int main(int, char** argv) {
    std::size_t triangles = 0;
    for (const MeshPtr& part : prepare(readStl(argv[1]))) {
        triangles += toTriangles(*part).size() / 3;
        std::cout << "part of " << elementsOf<glm::vec3>(*part, "position").size() << " vertices and "
                  << toTriangles(*part).size() / 3 << " triangles\n";
    }
    std::cout << triangles << " triangles in all\n";
}
